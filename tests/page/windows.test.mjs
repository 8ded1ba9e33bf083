// The page of the Windows program, under Wine, in the browser of this system.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { newPublisher } from './story.mjs';
import { openPage, photo, startBrowser, startSandbox } from './support.mjs';

const program = process.env.VELK_WINDOWS_SANDBOX;

test('the page of velk-sandbox.exe shows what is published', { skip: !program && 'it is not built' }, async () => {
  const sandbox = await startSandbox({ command: [process.env.VELK_WINE, program] });
  const browser = await startBrowser();
  try {
    const page = await openPage(browser, sandbox.control);
    const publisher = await newPublisher(sandbox);
    await publisher.facebook('photo', '--message', 'From Wine', '--privacy', 'SELF', photo);
    const picture = page.locator('.card').filter({ hasText: 'From Wine' }).locator('img');
    await picture.waitFor();
    assert.equal(await picture.evaluate((element) => element.decode().then(() => element.naturalWidth)), 640);
    await page.click('[data-view=exchanges]');
    await page.locator('.windowed .row').filter({ hasText: '/me/photos' }).click();
    await page.locator('.details img.preview').waitFor();
    assert.deepEqual(page.errors, []);
    await publisher.end();
  } finally {
    await browser.close();
    await sandbox.stop();
  }
});
