// What is published while the page is open: cards, pictures, progress, changes and deletions.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { after, afterEach, before, test } from 'node:test';
import { kPage, newPublisher, story } from './story.mjs';
import { clip, openPage, photo, startBrowser, startSandbox, viaProxy } from './support.mjs';

let sandbox, browser, page, publisher;

before(async () => {
  sandbox = await startSandbox();
  browser = await startBrowser();
  publisher = await newPublisher(sandbox);
  page = await openPage(browser, sandbox.control);
});
afterEach(async () => {
  assert.deepEqual(page.errors, []);
  assert.deepEqual(page.foreign, []);
  await sandbox.post('/reset');
  await page.locator('.card').first().waitFor({ state: 'detached' });
});
after(async () => {
  await publisher.end();
  await browser.close();
  await sandbox.stop();
});

const card = (service, text) => page.locator(`.card[data-service=${service}]`).filter({ hasText: text });

// The colors of a picture at a few places, as a canvas draws it.
const pixels = (locator) =>
  locator.evaluate(async (element) => {
    if (element instanceof HTMLVideoElement) {
      element.currentTime = 1;
      await new Promise((resolve) => element.addEventListener('seeked', resolve, { once: true }));
    } else {
      await element.decode();
    }
    const width = element.naturalWidth || element.videoWidth;
    const height = element.naturalHeight || element.videoHeight;
    const canvas = Object.assign(document.createElement('canvas'), { width, height });
    const context = canvas.getContext('2d');
    context.drawImage(element, 0, 0);
    const at = (x) => [...context.getImageData(Math.floor(width * x), height / 2, 1, 1).data].slice(0, 3);
    return { width, height, colors: [0.1, 0.5, 0.9].map(at) };
  });

test('the story of the demo appears while it is published', async () => {
  await story(sandbox, publisher);

  const video = card('youtube', 'Colour bars, again');
  await video.waitFor();
  const words = await video.innerText();
  for (const text of ["It's a better title", 'bars', 'Education (27)', 'public', 'unlisted → public'])
    assert.ok(words.includes(text), `${text} is not in: ${words}`);
  // The bars of the clip, from its second second.
  const bars = await pixels(video.locator('video'));
  assert.ok(bars.width > 0 && new Set(bars.colors.map(String)).size === 3, JSON.stringify(bars));

  const inFacebook = await card('facebook', 'Colour bars').innerText();
  for (const text of ['Video · Velk News', 'everyone', 'Five seconds of test picture'])
    assert.ok(inFacebook.includes(text), `${text} is not in: ${inFacebook}`);
  const post = await card('facebook', 'Hello everyone').innerText();
  for (const text of ['Post · Vera Velk', 'https://example.org', 'message: Hello → Hello everyone'])
    assert.ok(post.includes(text), `${text} is not in: ${post}`);

  assert.equal(await page.locator('.card[data-service=twitter]').count(), 2);
  assert.match(await page.locator('.card[data-service=twitter]').first().innerText(), /Hello & good morning/);
  for (const service of ['facebook', 'twitter']) {
    const { width, height, colors } = await pixels(card(service, 'A gradient').locator('img'));
    assert.deepEqual([width, height, new Set(colors.map(String)).size > 1], [640, 480, true]);
  }
});

test('the picture on a card is the one that was sent', async () => {
  await publisher.facebook('photo', '--message', 'Pixels', '--privacy', 'SELF', photo);
  await card('facebook', 'Pixels').locator('img').waitFor();
  const shown = await pixels(card('facebook', 'Pixels').locator('img'));
  const original = await page.context().newPage();
  await original.setContent(`<img src="data:image/jpeg;base64,${(await readFile(photo)).toString('base64')}">`);
  assert.deepEqual(shown, await pixels(original.locator('img')));
  await original.close();
});

test('a bar moves while an upload arrives, and the card takes its place', async () => {
  await sandbox.post('/scripts', { method: 'PUT', passThrough: true, readSlowly: 300000 });
  const done = publisher.youtube('upload', '--title', 'Slow', '--description', 'd', '--privacy', 'private', clip);
  const bar = page.locator('.card[data-service=youtube] progress');
  await bar.waitFor();
  const values = [];
  for (let i = 0; i < 60 && values.length < 3; ++i) {
    const value = await bar.evaluate(({ value: now, max }) => now / max).catch(() => 1);
    if (value > (values.at(-1) ?? 0) && value < 1) values.push(value);
    await page.waitForTimeout(40);
  }
  assert.equal(values.length, 3, `the bar was at ${values}`);
  await done;
  await card('youtube', 'Slow').locator('video').waitFor();
  await bar.waitFor({ state: 'detached' });
  assert.equal(await page.locator('.card').count(), 1);
});

test('after a reset or a new start, what has the same id is shown anew', async () => {
  const first = await startSandbox();
  const own = await newPublisher(first);
  const watching = await openPage(browser, first.control);
  const shown = watching.locator('.card img');
  await own.facebook('photo', '--message', 'First run', '--privacy', 'SELF', photo);
  await shown.waitFor();
  await first.post('/reset');
  const form = { message: 'After the reset', published: 'true' };
  await viaProxy(first, 'POST', 'https://graph.facebook.com/me/feed?access_token=t', new URLSearchParams(form));
  await watching.locator('.card').filter({ hasText: 'After the reset' }).waitFor();
  await first.stop();
  const ports = ['--port', new URL(first.proxy).port, '--control-port', new URL(first.control).port];
  const second = await startSandbox(...ports);
  await own.facebook('photo', '--message', 'Second run', '--privacy', 'SELF', photo);
  await watching.locator('.card').filter({ hasText: 'Second run' }).waitFor();
  await own.end();
  await watching.context().close();
  await second.stop();
});

test('a change and a deletion appear in place', async () => {
  await publisher.facebook('post', '--message', 'First', '--privacy', 'EVERYONE', '--target', kPage);
  await publisher.facebook('post', '--message', 'Second', '--privacy', 'EVERYONE');
  const id = (await sandbox.get('/state')).facebook.objects[0].id;
  await card('facebook', 'First').waitFor();
  await publisher.facebook('update', '--message', 'Changed', id);
  const changed = card('facebook', 'Changed');
  await changed.waitFor();
  assert.match(await changed.innerText(), /message: First → Changed/);
  await viaProxy(sandbox, 'DELETE', `https://graph.facebook.com/${id}?access_token=t`);
  await page.locator('.card.deleted').filter({ hasText: 'Changed' }).waitFor();
  // The older one is still the second.
  assert.match(await page.locator('.card').nth(1).innerText(), /Changed/);
  assert.match(await page.locator('.card').nth(1).innerText(), /was deleted/);
});

test('comments on a comment, and on the post of a photo, are on the card', async () => {
  const comment = async (node, message) =>
    JSON.parse(await viaProxy(sandbox, 'POST', `https://graph.facebook.com/${node}/comments?access_token=t`,
      new URLSearchParams({ message }))).id;
  await publisher.facebook('photo', '--message', 'Commented', '--privacy', 'SELF', photo);
  const [{ id }, post] = (await sandbox.get('/state')).facebook.objects;
  await comment(post.id, 'on the post');
  await comment(await comment(id, 'on the photo'), 'a reply');
  for (const text of ['on the post', 'on the photo', 'a reply']) {
    await card('facebook', 'Commented').filter({ hasText: text }).waitFor();
  }
  assert.equal(await page.locator('.card').count(), 1);
});

test('a refused request is a card with the reason', async () => {
  await publisher.facebook('post', '--message', 'No', { env: { VELK_FACEBOOK_TOKEN: 'expired' }, fails: true });
  const refused = page.locator('.card[data-type=refused]');
  await refused.waitFor();
  assert.match(await refused.innerText(), /Refused · 400[^]*POST \/me\/feed[^]*expired/);
});

test('hostile texts stay texts', async () => {
  const hostile = '<img src=x onerror="window.hit=1"><script>window.hit=1</script>';
  await viaProxy(sandbox, 'POST', 'https://graph.facebook.com/me/feed?access_token=t', new URLSearchParams({
    message: hostile,
    link: 'javascript:window.hit=1',
  }));
  await viaProxy(sandbox, 'POST', `https://graph.facebook.com/${encodeURIComponent(hostile)}/feed`, hostile);
  await viaProxy(sandbox, 'POST', 'https://www.googleapis.com/upload/youtube/v3/videos?uploadType=media&part=snippet',
    '<html><script>window.hit=1</script>', { Authorization: 'Bearer t', 'Content-Type': 'video/mp4' });
  await card('facebook', hostile).first().waitFor();
  assert.equal(await page.locator('.card-body img, .card script').count(), 0);
  assert.equal(await page.locator('a[href^="javascript:"]').count(), 0);
  await page.goto(`${sandbox.control}/#exchanges/2`);
  await page.locator('.details h2').filter({ hasText: 'POST' }).waitFor();
  assert.equal(await page.evaluate(() => window.hit), undefined);
  // Nor is a medium that is no medium shown as a page.
  const { file } = (await sandbox.get('/state')).youtube.videos[0];
  const reply = await fetch(`${sandbox.control}/media/${file.split('/').pop()}`);
  assert.equal(reply.headers.get('content-type'), 'application/octet-stream');
  assert.equal(reply.headers.get('x-content-type-options'), 'nosniff');
  assert.match(reply.headers.get('content-security-policy'), /default-src 'none'/);
  await page.goto(`${sandbox.control}/#published`);
  await page.locator('.placeholder').filter({ hasText: 'this browser does not show' }).waitFor();
});

test('with --count-only, a placeholder is in the place of the media', async () => {
  const counting = await startSandbox('--count-only');
  const other = await newPublisher(counting);
  const counted = await openPage(browser, counting.control);
  await other.youtube('upload', '--title', 'Counted', '--description', 'd', '--privacy', 'private', clip);
  const placeholder = counted.locator('.card[data-service=youtube] .placeholder');
  await placeholder.waitFor();
  assert.match(await placeholder.innerText(), /330 kB were counted, not stored/);
  assert.deepEqual(counted.errors, []);
  await other.end();
  await counted.context().close();
  await counting.stop();
});
