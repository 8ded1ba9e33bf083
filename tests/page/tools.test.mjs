// Faults by button, scripts, the reset, sign-in by hand, and what the control URL refuses.
import assert from 'node:assert/strict';
import { once } from 'node:events';
import { readFile } from 'node:fs/promises';
import { createServer, request } from 'node:http';
import { after, afterEach, before, test } from 'node:test';
import { oauthHeader } from './oauth.mjs';
import { newPublisher } from './story.mjs';
import { openPage, photo, startBrowser, startSandbox, viaProxy } from './support.mjs';

let sandbox, browser, page, publisher;

before(async () => {
  sandbox = await startSandbox();
  browser = await startBrowser();
  publisher = await newPublisher(sandbox);
  page = await openPage(browser, sandbox.control);
});
afterEach(async () => {
  assert.deepEqual(page.errors, []);
  await sandbox.post('/reset');
});
after(async () => {
  await publisher.end();
  await browser.close();
  await sandbox.stop();
});

const press = (service, name) =>
  page.locator(`#faults .panel[data-service=${service}]`).getByText(name, { exact: true }).click();
const script = () => page.locator('.script');

// Each fault, what the library makes of it, and what the list of scripts states then.
const kFaults = [
  ['Expired token', 'VELK_TOKEN_REJECTED', 'matched 1×'],
  ['Server error', 'VELK_UNEXPECTED_REPLY', 'matched 1×'],
  ['Rate limit', 'VELK_UNEXPECTED_REPLY', 'matched 1×'],
  ['Reset', 'VELK_TRANSFER_FAILED', 'reset 1×'],
  ['Cut reply', 'VELK_NO_IDENTIFIER', 'cutAfter 1×'],
];

test('a fault by button hits the next request of the library', async () => {
  await page.click('[data-view=faults]');
  for (const [name, code, fired] of kFaults) {
    await press('facebook', name);
    await script().waitFor();
    const { output } = await publisher.facebook('post', '--message', 'x', { fails: true });
    assert.ok(output.includes(code), `${name}: ${output}`);
    await script().filter({ hasText: fired }).filter({ hasText: 'used up' }).waitFor();
    await publisher.facebook('post', '--message', `after ${name}`);
    await page.getByLabel(/^Remove script/).click();
    await script().waitFor({ state: 'detached' });
  }
});

test('a slow network, a stall and processing media are prepared too', async () => {
  await page.click('[data-view=faults]');
  await press('youtube', 'Slow network');
  await press('twitter', 'Stall');
  await press('twitter', 'Media still processing');
  await script().nth(2).waitFor();
  const scripts = await sandbox.get('/scripts');
  const { services } = await sandbox.get('/about');
  assert.deepEqual(scripts.map(({ script: { host, readSlowly, neverAnswer } }) => [host, readSlowly, neverAnswer]), [
    [services.youtube.join(', '), 50000, undefined],
    [services.twitter.join(', '), undefined, true],
  ]);
  assert.equal((await sandbox.get('/switches')).twitter.processingSteps, 3);
  await page.click('text=Remove all');
  await script().first().waitFor({ state: 'detached' });
  assert.deepEqual(await sandbox.get('/scripts'), []);
  assert.equal((await sandbox.get('/switches')).twitter.processingSteps, null);
});

test('with a slow network, the upload itself is slow, not only what comes before it', async () => {
  await page.click('[data-view=faults]');
  await press('youtube', 'Slow network');
  await script().waitFor();
  await publisher.youtube('upload', '--title', 'Slow', '--description', 'd', '--privacy', 'private', photo);
  const upload = (await sandbox.get('/requests?brief=1')).find(({ method }) => method === 'PUT');
  assert.deepEqual(upload.faults, ['readSlowly']);
  assert.ok(upload.duration > 100, String(upload.duration));
});

test('reset asks first, and then removes everything', async () => {
  await publisher.facebook('post', '--message', 'gone');
  await page.click('[data-view=published]');
  await page.locator('.card').waitFor();
  await page.click('#reset');
  await page.click('#confirm-no');
  assert.equal(await page.locator('.card').count(), 1);
  await page.click('#reset');
  await page.click('#confirm-yes');
  await page.locator('.card').waitFor({ state: 'detached' });
  assert.equal((await sandbox.get('/totals')).requests, 0);
  // Numbers start anew, and the page shows what comes then.
  await publisher.facebook('post', '--message', 'anew');
  await page.locator('.card').filter({ hasText: 'anew' }).waitFor();
});

test('a sign-in by hand shows the PIN, with which the application goes on', async () => {
  await page.click('[data-view=sign-in]');
  let enter;
  const pin = new Promise((resolve) => (enter = resolve));
  const done = publisher.signIn(pin);
  const link = page.getByText("Open Twitter's page");
  const [authorize] = await Promise.all([page.context().waitForEvent('page'), link.click()]);
  const shown = await authorize.locator('code').innerText();
  assert.match(shown, /^\d{7}$/);
  await page.locator('.sign-ins li').filter({ hasText: 'the user has agreed' }).waitFor();
  await authorize.close();
  enter(`${shown}\n`);
  await done;
  await page.locator('.sign-ins li').filter({ hasText: 'completed' }).waitFor();
});

const kTokenUrl = 'https://api.twitter.com/oauth/request_token';

async function requestToken(callback) {
  const reply = await viaProxy(sandbox, 'POST', kTokenUrl, undefined, {
    Authorization: oauthHeader('POST', kTokenUrl, { oauth_callback: callback }, {}, 'velk-secret&'),
  });
  return new URLSearchParams(reply).get('oauth_token');
}

test('a sign-in returns to a callback on this computer, and to no other', async (t) => {
  const application = createServer((_, reply) => reply.end('back'));
  t.after(() => application.close());
  application.listen(0, '127.0.0.1');
  await once(application, 'listening');
  const callback = `http://127.0.0.1:${application.address().port}/back`;
  const authorize = await page.context().newPage();
  const open = async (target) =>
    authorize.goto(`${sandbox.control}/oauth/authorize?oauth_token=${await requestToken(target)}`);
  await open(callback);
  assert.match(authorize.url(), /\/back\?oauth_token=.+&oauth_verifier=.+/);
  for (const other of ['https://example.com/back', `http://127.0.0.1:1@example.com/`, 'javascript://%0aalert(1)']) {
    const reply = await open(other);
    assert.equal(reply.status(), 200);
    assert.match(authorize.url(), /\/oauth\/authorize\?/);
    assert.ok((await authorize.innerText('code')).startsWith(other));
  }
  await authorize.close();
});

const send = (path, headers) =>
  new Promise((resolve, reject) => {
    const sent = request(sandbox.control + path, { headers }, (reply) => resolve(reply.resume().statusCode));
    sent.on('error', reject).end();
  });

test('nothing is served to a page of another origin, and no name leaves the store', async () => {
  const paths = ['/', '/main.js', '/events', '/objects', '/media/x', '/requests/1/body', '/oauth/authorize', '/about'];
  for (const path of paths) {
    assert.equal(await send(path, { Host: 'evil.example' }), 403, path);
    assert.equal(await send(path, { Origin: 'http://evil.example' }), 403, path);
  }
  const names = ['../../etc/passwd', '..%2F..%2Fetc%2Fpasswd', '%2Fetc%2Fpasswd', 'spool'];
  for (const path of names.map((name) => `/media/${name}`))
    assert.equal(await send(path, {}), 404, path);
});

test('media are served in ranges', async () => {
  await publisher.facebook('photo', '--message', 'm', photo);
  const original = await readFile(photo);
  const { file } = (await sandbox.get('/state')).facebook.objects[0];
  const url = `${sandbox.control}/media/${file.split('/').pop()}`;
  const rows = [
    [undefined, 200, 0, original.length],
    ['bytes=0-', 206, 0, original.length],
    ['bytes=10-19', 206, 10, 20],
    ['bytes=-5', 206, original.length - 5, original.length],
    ['bytes=17000-999999', 206, 17000, original.length],
    ['bytes=5-1', 200, 0, original.length],
    ['bytes=99999999-', 416, 0, 0],
  ];
  for (const [range, status, first, end] of rows) {
    const reply = await fetch(url, range ? { headers: { Range: range } } : {});
    assert.equal(reply.status, status, range);
    assert.deepEqual(Buffer.from(await reply.arrayBuffer()), original.subarray(first, end), range);
  }
});
