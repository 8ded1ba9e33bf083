// The list of exchanges, and the details of one.
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { readFile } from 'node:fs/promises';
import { after, before, test } from 'node:test';
import { promisify } from 'node:util';
import { oauthHeader } from './oauth.mjs';
import { newPublisher } from './story.mjs';
import { openPage, photo, startBrowser, startSandbox, viaProxy } from './support.mjs';

let sandbox, browser, page, publisher;

before(async () => {
  sandbox = await startSandbox();
  browser = await startBrowser();
  publisher = await newPublisher(sandbox);
  const permissions = ['clipboard-read', 'clipboard-write'];
  page = await openPage(browser, `${sandbox.control}/#exchanges`, { permissions });
  await publisher.facebook('photo', '--message', 'A gradient', '--privacy', 'SELF', photo);
  await publisher.facebook('post', '--message', 'Hello', '--privacy', 'EVERYONE');
  await publisher.facebook('me');
  await viaProxy(sandbox, 'GET', 'https://api.twitter.com/2/nothing');
});
after(async () => {
  assert.deepEqual(page.errors, []);
  await publisher.end();
  await browser.close();
  await sandbox.stop();
});

const rows = () => page.locator('.windowed .row');
const open = async (text) => {
  await rows().filter({ hasText: text }).first().click();
  await page.locator('.details h2').filter({ hasText: text.split(' ')[0] }).waitFor();
  return page.locator('.details');
};

test('search and filters leave what fits', async () => {
  await rows().filter({ hasText: '/2/nothing' }).waitFor(); // the last one
  const all = await rows().count();
  await page.fill('.filter input', 'feed');
  await page.waitForFunction(() => document.querySelectorAll('.windowed .row').length === 1);
  await page.fill('.filter input', '');
  await page.selectOption('[aria-label=Outcome]', 'refused');
  await page.waitForFunction(() => document.querySelectorAll('.windowed .row').length === 1);
  assert.match(await rows().first().innerText(), /\/2\/nothing/);
  await page.selectOption('[aria-label=Outcome]', '');
  await page.selectOption('[aria-label=Service]', 'facebook');
  await page.waitForFunction((count) => document.querySelectorAll('.windowed .row').length === count, all - 1);
  await page.selectOption('[aria-label=Service]', '');
});

test('the details show the heads, the form with its picture, the reply and the times', async () => {
  const details = await open('/me/photos');
  const fields = details.locator('table', { hasText: 'Multipart form' });
  assert.match(await fields.innerText(), /message\s+A gradient/);
  assert.match(await fields.innerText(), /photo\.jpg[^]*17\.9 kB/);
  await page.waitForFunction(() => document.querySelector('.details img.preview')?.naturalWidth === 640);
  assert.match(await details.locator('pre.body').last().innerText(), /\{\n {2}"id": "\d+",?\n/);
  assert.match(await details.locator('.legend').innerText(), /tunnel[^]*TLS[^]*service[^]*reply/);
  await details.getByText(/^Head \(/).click();
  assert.match(await details.locator('pre').first().innerText(), /^POST \/me\/photos/);
});

test('a form is a table, and a refusal has its reason', async () => {
  const form = await (await open('/me/feed')).locator('table', { hasText: 'Form' }).last().innerText();
  assert.match(form, /message\s+Hello/);
  assert.match(form, /privacy\s+\{'value': ?'EVERYONE'\}/);
  assert.match(await (await open('/2/nothing')).locator('.reason').innerText(), /has no call with the path/);
});

test('the line for curl repeats the request', async () => {
  const details = await open('/me/feed');
  await details.getByText('Copy as curl').click();
  await page.locator('#toast.shown').waitFor();
  const line = await page.evaluate(() => navigator.clipboard.readText());
  const before = (await sandbox.get('/totals')).requests;
  const { stdout } = await promisify(execFile)('/bin/sh', ['-c', `${line} --silent`]);
  assert.match(stdout, /^\{"id":"\d+_\d+"\}$/);
  const repeated = await sandbox.get(`/requests/${before + 1}`);
  assert.match(repeated.body, /^message=Hello/);
});

// What curl would read as its own syntax, or change.
const kMe = 'https://graph.facebook.com/me';
const kOdd = [
  ['--globoff', 'https://graph.facebook.com/me?access_token=t&fields=posts{message},id&x[0]=1'],
  ['--path-as-is', 'https://graph.facebook.com/a/../me?access_token=t'],
  ['--header', 'X-Empty;', '--header', `X-Quote: it's "q" $HOME \`x\` \\ !`, `${kMe}?access_token=t`],
  ['--header', 'Content-Type:', '--header', 'Accept:', '--data-raw', '{"message":"j"}', `${kMe}/feed`],
  ['--data-binary', '@-', 'https://graph.facebook.com/me/feed?access_token=t'],
  ['--form', `source=@${photo}`, '--form', 'message=x;type=text/plain', `${kMe}/photos?access_token=t`],
];

test('the line for curl repeats what is odd, byte for byte', async () => {
  const line = (exchange, about) =>
    page.evaluate(async (values) => (await import('/curl.js')).curlLine(...values).line, [exchange, about]);
  const about = await sandbox.get('/about');
  const run = (program, words, input = '') =>
    new Promise((resolve) => execFile(program, words, resolve).stdin.end(input));
  for (const words of kOdd) {
    await run('curl', ['--silent', '--insecure', '--proxy', sandbox.proxy, ...words], Buffer.from([0, 255, 10, 39]));
    const { requests } = await sandbox.get('/totals');
    const sent = await sandbox.get(`/requests/${requests}`);
    await run('/bin/sh', ['-c', `${await line(sent, about)} --silent`]);
    const again = await sandbox.get(`/requests/${requests + 1}`);
    const essence = ({ target, headers, bodySha256 }) => [target, [...headers].sort(), bodySha256];
    assert.deepEqual(essence(again), essence(sent));
  }
});

test('JSON is indented, and otherwise as it was sent', async () => {
  const body = '{"id":710511363345354753,"a":[],"b":[{}],"c":"\\u00e9 [","c":1.0}';
  await sandbox.post('/scripts', { path: '/odd', body });
  await viaProxy(sandbox, 'GET', 'https://graph.facebook.com/odd');
  const details = await open('/odd');
  assert.equal(await details.locator('pre.body').last().innerText(),
    '{\n  "id": 710511363345354753,\n  "a": [],\n  "b": [\n    {}\n  ],\n  "c": "\\u00e9 [",\n  "c": 1.0\n}');
});

test('a wrong signature shows both base strings, with the first difference marked', async () => {
  const url = 'https://api.twitter.com/1.1/statuses/update.json';
  const form = { status: 'a b' };
  // The client signed http instead of https.
  const Authorization = oauthHeader('POST', url.replace('https', 'http'), { oauth_token: '7505382-t' }, form,
    'velk-secret&7505382-t-secret');
  await viaProxy(sandbox, 'POST', url, new URLSearchParams(form), { Authorization });
  const details = await open('/1.1/statuses/update.json');
  const sides = details.locator('.sides figure');
  assert.equal(await sides.count(), 2);
  for (const [index, mark] of [[0, 's'], [1, '%']]) {
    assert.equal(await sides.nth(index).locator('.same').innerText(), 'POST&http');
    assert.equal(await sides.nth(index).locator('mark').innerText(), mark);
  }
});

test('what is folded out stays so while a request is in progress', async () => {
  await sandbox.post('/scripts', { path: '/me/photos', passThrough: true, readSlowly: 8000 });
  const done = publisher.facebook('photo', '--message', 'Slow', '--privacy', 'SELF', photo);
  await rows().filter({ hasText: '…' }).click();
  const details = page.locator('.details');
  await details.getByText('which is not all').waitFor();
  await details.getByText(/^Head \(/).click();
  await done;
  await details.locator('h3', { hasText: 'Reply' }).waitFor();
  await details.getByText('HTTP/1.1 200 OK').first().waitFor();
  assert.equal(await details.locator('details').first().getAttribute('open'), '');
  assert.equal(await page.evaluate(() => document.activeElement.tagName), 'SUMMARY');
});

test('a question mark in a parameter is part of its value', async () => {
  await viaProxy(sandbox, 'GET', 'https://graph.facebook.com/me?access_token=t&redirect=https://x.example/?a=1');
  await rows().filter({ hasText: 'redirect=' }).click();
  await page.locator('.details td').filter({ hasText: /^https:\/\/x\.example\/\?a=1$/ }).waitFor();
});

test('HAR is a download', async () => {
  const [download] = await Promise.all([page.waitForEvent('download'), page.click('text=Export HAR')]);
  const { log } = JSON.parse(await readFile(await download.path(), 'utf8'));
  assert.equal(log.entries.length, (await sandbox.get('/totals')).requests);
});
