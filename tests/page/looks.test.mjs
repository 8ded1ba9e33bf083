// The keyboard alone, narrow and wide, light and dark, and the contrast of every text.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { newPublisher, story } from './story.mjs';
import { openPage, startBrowser, startSandbox } from './support.mjs';

let sandbox, browser, publisher;
const kViews = ['published', 'exchanges', 'exchanges/1', 'faults', 'sign-in'];

before(async () => {
  sandbox = await startSandbox();
  browser = await startBrowser();
  publisher = await newPublisher(sandbox);
  await story(sandbox, publisher);
  await publisher.facebook('post', '--message', 'No', { env: { VELK_FACEBOOK_TOKEN: 'expired' }, fails: true });
  await sandbox.post('/scripts', { host: '*.twitter.com', status: 500 });
});
after(async () => {
  await publisher.end();
  await browser.close();
  await sandbox.stop();
});

const show = async (page, view) => {
  await page.goto(`${sandbox.control}/#${view}`);
  await page.waitForTimeout(100);
};

test('the keyboard alone reaches everything, and the focus is visible', async () => {
  const page = await openPage(browser, sandbox.control);
  const focused = () =>
    page.evaluate(() => {
      const element = document.activeElement;
      const { outlineStyle, outlineWidth } = getComputedStyle(element);
      const outline = outlineStyle !== 'none' && parseFloat(outlineWidth) >= 2;
      // After the last element, the focus is on the browser's own controls.
      return element === document.body ? { text: '', outline: true } : { text: element.textContent.trim(), outline };
    });
  const tabTo = async (text) => {
    for (let i = 0; i < 40; ++i) {
      await page.keyboard.press('Tab');
      const { text: shown, outline } = await focused();
      assert.ok(outline, `${shown} has no visible focus`);
      if (shown.startsWith(text)) return;
    }
    assert.fail(`Tab does not lead to ${text}`);
  };
  await tabTo('Exchanges');
  await page.keyboard.press('Enter');
  await page.locator('.windowed .row').first().waitFor();
  assert.equal(await page.locator('[aria-current=page]').getAttribute('data-view'), 'exchanges');
  await page.keyboard.press('/');
  await page.keyboard.type('photos');
  await page.waitForFunction(() => document.querySelectorAll('.windowed .row').length === 1);
  await tabTo('Export HAR');
  await page.keyboard.press('Tab'); // to the list
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('Enter');
  await page.locator('.details h2').filter({ hasText: '/me/photos' }).waitFor();
  await page.keyboard.press('Escape');
  await page.locator('.details .empty').waitFor();
  await tabTo('Skip to the content');
  await page.keyboard.press('Enter');
  assert.equal(await page.evaluate(() => document.activeElement.id), 'content');
  await page.locator('.windowed .row').first().waitFor();
  await page.reload();
  await tabTo('Faults');
  await page.keyboard.press('Enter');
  await tabTo('Server error');
  await page.keyboard.press('Space');
  await page.locator('.script').nth(1).waitFor();
  await page.locator('.script button').first().focus();
  await page.keyboard.press('Enter');
  await page.waitForFunction(() => document.querySelectorAll('.script').length === 1);
  assert.match(await page.evaluate(() => document.activeElement.ariaLabel), /^Remove script/);
  await page.keyboard.press('Enter');
  await page.waitForFunction(() => document.querySelectorAll('.script').length === 0);
  await page.context().close();
  await sandbox.post('/scripts', { host: '*.twitter.com', status: 500 });
});

// Texts whose contrast is below 4.5. Transparent grounds let the color below them through.
const faintTexts = () => {
  const parse = (color) => color.match(/[\d.]+/g).map(Number);
  const light = ([r, g, b]) => {
    const linear = [r, g, b].map((v) => (v / 255 <= 0.04045 ? v / 255 / 12.92 : ((v / 255 + 0.055) / 1.055) ** 2.4));
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2];
  };
  const groundOf = (element) => {
    for (let at = element; at; at = at.parentElement) {
      const color = parse(getComputedStyle(at).backgroundColor);
      if ((color[3] ?? 1) > 0.99) return color;
    }
    return [255, 255, 255];
  };
  const faint = [];
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  while (walker.nextNode()) {
    const element = walker.currentNode.parentElement;
    if (!walker.currentNode.data.trim() || !element.checkVisibility({ opacityProperty: true })) continue;
    const [a, b] = [light(parse(getComputedStyle(element).color)), light(groundOf(element))].sort((x, y) => y - x);
    if ((a + 0.05) / (b + 0.05) < 4.5) faint.push(`${walker.currentNode.data.trim()} ${(a + 0.05) / (b + 0.05)}`);
  }
  return faint;
};

for (const colorScheme of ['light', 'dark']) {
  test(`every text has contrast, and nothing is wider than the window: ${colorScheme}`, async () => {
    const page = await openPage(browser, sandbox.control, { colorScheme });
    for (const width of [360, 768, 1920]) {
      await page.setViewportSize({ width, height: 800 });
      for (const view of kViews) {
        await show(page, view);
        assert.deepEqual(await page.evaluate(faintTexts), [], `${view} at ${width}`);
        const wide = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
        assert.ok(wide <= 0, `${view} at ${width} is ${wide} px too wide`);
        const isCut = (all) => all.filter((each) => each.scrollWidth > each.clientWidth).length;
        assert.equal(await page.locator('.row .time').evaluateAll(isCut), 0, `${view} at ${width}`);
      }
    }
    const ground = await page.evaluate(() => getComputedStyle(document.body).backgroundColor);
    assert.equal(parseInt(ground.match(/\d+/)[0], 10) < 60, colorScheme === 'dark');
    assert.deepEqual(page.errors, []);
    await page.context().close();
  });
}

test('what one looks at does not move when more arrives', async () => {
  const page = await openPage(browser, sandbox.control);
  await page.setViewportSize({ width: 1280, height: 500 });
  const lane = page.locator('.lane[data-service=facebook] .scroller');
  await lane.evaluate((element) => (element.scrollTop = 400));
  const card = page.locator('.card[data-service=facebook]').filter({ hasText: 'Five seconds' });
  const place = async (locator) => (await locator.boundingBox()).y;
  const before = await place(card);
  await publisher.facebook('post', '--message', 'Newest');
  await page.locator('.card').filter({ hasText: 'Newest' }).waitFor({ state: 'attached' });
  assert.ok(Math.abs((await place(card)) - before) < 1);
  await page.locator('.lane[data-service=facebook] .newer').filter({ hasText: '1 new' }).click();
  assert.equal(await lane.evaluate((element) => element.scrollTop), 0);

  await page.click('[data-view=exchanges]');
  const row = page.locator('.windowed .row').nth(2);
  const path = await row.innerText();
  await page.locator('.windowed').evaluate((element) => (element.scrollTop = 40));
  const same = page.locator('.windowed .row').filter({ hasText: path.split('\n')[0] });
  const rowBefore = await place(same);
  await publisher.facebook('me');
  await page.locator('#exchanges .newer').waitFor();
  assert.ok(Math.abs((await place(same)) - rowBefore) < 1);
  await page.click('#exchanges .newer');
  assert.equal(await page.locator('.windowed').evaluate((element) => element.scrollTop), 0);
  await page.context().close();
});
