// How fast the page loads, how soon an event is on it, and how it behaves with 10,000 exchanges.
import assert from 'node:assert/strict';
import { connect } from 'node:net';
import { after, before, test } from 'node:test';
import { openPage, startBrowser, startSandbox } from './support.mjs';

let sandbox, browser;

before(async () => {
  sandbox = await startSandbox();
  browser = await startBrowser();
});
after(async () => {
  await browser.close();
  await sandbox.stop();
});

// Sends posts over plain connections, without waiting for a reply before the next one. Resolves with the last reply.
async function post(messages) {
  const { hostname, port } = new URL(sandbox.proxy);
  const socket = connect(Number(port), hostname);
  let replies = 0;
  const done = new Promise((resolve, reject) => {
    socket.on('error', reject);
    socket.on('data', (data) => {
      replies += data.toString('latin1').split('HTTP/1.1 200').length - 1;
      if (replies >= messages.length) resolve();
    });
  });
  for (const message of messages) {
    const body = `message=${message}`;
    socket.write(
      'POST http://graph.facebook.com/me/feed?access_token=t HTTP/1.1\r\nHost: graph.facebook.com\r\n' +
        `Content-Type: application/x-www-form-urlencoded\r\nContent-Length: ${body.length}\r\n\r\n${body}`,
    );
  }
  await done;
  socket.destroy();
}

test('it loads at once', async (t) => {
  const times = [];
  for (let i = 0; i < 5; ++i) {
    const page = await openPage(browser, sandbox.control);
    times.push(await page.evaluate(() => performance.getEntriesByType('navigation')[0].loadEventEnd));
    await page.context().close();
  }
  times.sort((a, b) => a - b);
  t.diagnostic(`loaded within ${times.map(Math.round)} ms`);
  // The figure is 100 ms. This machine may be busy.
  assert.ok(times[0] < 1000, `${times}`);
});

test('no module waits for another one that imports it', async () => {
  const page = await openPage(browser, sandbox.control);
  const late = await page.evaluate(() => {
    const preloaded = [...document.querySelectorAll('[rel=modulepreload]')].map((link) => link.href);
    const modules = performance.getEntriesByType('resource').map(({ name }) => name);
    return modules.filter((name) => name.endsWith('.js') && !preloaded.includes(name));
  });
  assert.deepEqual(late, [`${sandbox.control}/main.js`]);
  await page.context().close();
});

test('an event is on the page soon', async (t) => {
  const page = await openPage(browser, sandbox.control);
  const delays = [];
  for (let i = 0; i < 10; ++i) {
    const seen = page.evaluate(
      (text) =>
        new Promise((resolve) => {
          const look = () => document.body.textContent.includes(text) && resolve(Date.now());
          new MutationObserver(look).observe(document.body, { childList: true, subtree: true });
          look(); // the event may be there already
        }),
      `event-${i}.`,
    );
    await post([`event-${i}.`]);
    const sent = Date.now();
    delays.push((await seen) - sent);
  }
  delays.sort((a, b) => a - b);
  t.diagnostic(`on the page within ${delays} ms after the reply`);
  // The figure is 200 ms. This machine may be busy.
  assert.ok(delays[5] < 400, `${delays}`);
  await page.context().close();
});

test('10,000 exchanges are shown, and scrolled smoothly', async (t) => {
  const page = await openPage(browser, `${sandbox.control}/#exchanges`);
  const start = Date.now();
  const sender = (_, number) => post(Array.from({ length: 2500 }, (__, i) => `n${number * 2500 + i}`));
  await Promise.all(Array.from({ length: 4 }, sender));
  t.diagnostic(`published in ${Date.now() - start} ms, while the page was open`);
  await page.waitForFunction(() => Number(document.querySelector('#count-exchanges').textContent) >= 10000);
  t.diagnostic(`all on the page after ${Date.now() - start} ms`);

  const figures = await page.evaluate(async () => {
    const list = document.querySelector('.windowed');
    const frames = [];
    let last = performance.now();
    for (let i = 0; i < 60; ++i) {
      list.scrollTop = (list.scrollHeight / 60) * i;
      await new Promise(requestAnimationFrame);
      frames.push(performance.now() - last);
      last = performance.now();
    }
    frames.sort((a, b) => a - b);
    return { rows: document.querySelectorAll('.windowed .row').length, median: frames[30], slowest: frames[59],
      memory: performance.memory?.usedJSHeapSize };
  });
  t.diagnostic(JSON.stringify(figures));
  assert.ok(figures.rows < 80, 'only rows in sight are elements');
  assert.ok(figures.median < 50, JSON.stringify(figures));
  assert.match(await page.locator('.windowed .row').last().innerText(), /\/me\/feed/);

  const searching = Date.now();
  await page.fill('.filter input', '/me/feed?access 200');
  await page.waitForFunction(() => document.querySelector('.filter .small').textContent !== '');
  t.diagnostic(`searched within ${Date.now() - searching} ms`);

  const again = Date.now();
  await page.reload();
  await page.waitForFunction(() => Number(document.querySelector('#count-exchanges').textContent) >= 10000);
  t.diagnostic(`reloaded with all after ${Date.now() - again} ms`);
  assert.deepEqual(page.errors, []);
});
