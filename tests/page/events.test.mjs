// The events, for any reader: a script, or one that is slow or comes back.
import assert from 'node:assert/strict';
import { connect } from 'node:net';
import { after, before, test } from 'node:test';
import { startSandbox } from './support.mjs';

let sandbox;

before(async () => (sandbox = await startSandbox()));
after(() => sandbox.stop());

/** Starts to read the events. next(pattern) resolves with the first text that fits and was not returned before. */
function read(lastId = '') {
  const { hostname, port } = new URL(sandbox.control);
  const socket = connect(Number(port), hostname);
  let text = '';
  let check = () => undefined;
  socket.setEncoding('utf8');
  socket.on('data', (piece) => {
    text += piece;
    check();
  });
  const header = lastId && `Last-Event-ID: ${lastId}\r\n`;
  socket.write(`GET /events HTTP/1.1\r\nHost: 127.0.0.1:${port}\r\n${header}\r\n`);
  const next = (pattern) =>
    new Promise((resolve) => {
      check = () => {
        const match = pattern.exec(text);
        if (!match) return;
        text = text.slice(match.index + match[0].length);
        check = () => undefined;
        resolve(match);
      };
      check();
    });
  return { socket, next, text: () => text };
}

const request = async (query) => {
  const { hostname, port } = new URL(sandbox.proxy);
  const socket = connect(Number(port), hostname);
  socket.write(`GET http://graph.facebook.com/me?${query} HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n`);
  for await (const _ of socket);
};

test('a new reader is asked to fetch everything, and then gets what happens', async () => {
  const { socket, next } = read();
  await next(/event: resync\n/);
  await request('access_token=first');
  assert.equal(JSON.parse((await next(/event: exchange\ndata: (.*first.*)\n/))[1]).ended, false);
  const ended = JSON.parse((await next(/event: exchange\ndata: (.*"ended":true.*)\n/))[1]);
  assert.equal(ended.status, 200);
  await sandbox.post('/scripts', { status: 500 });
  assert.equal(JSON.parse((await next(/event: script\ndata: (.*)\n/))[1]).script.status, 500);
  await sandbox.post('/switches', { twitter: { rateLimit: 3 } });
  assert.equal(JSON.parse((await next(/event: switches\ndata: (.*)\n/))[1]).twitter.rateLimit, 3);
  await sandbox.post('/reset');
  await next(/event: resync\n/);
  socket.destroy();
});

test('one that comes back goes on where it was, and one of another run starts anew', async () => {
  const watching = read();
  await watching.next(/event: resync\n/);
  await request('access_token=a');
  const [, id] = await watching.next(/id: (.*)\nevent: exchange\ndata: .*"ended":true/);
  await request('access_token=b');
  await watching.next(/=b.*"ended":true/);
  const back = read(id);
  const [text] = await back.next(/id: [^]*access_token=b/);
  assert.doesNotMatch(text, /resync|access_token=a/);
  for (const other of ['otherrun.1', `${id}0`]) {
    const anew = read(other);
    await anew.next(/event: resync\n/);
    anew.socket.destroy();
  }
  back.socket.destroy();
  watching.socket.destroy();
});

test('a slow reader misses events, and nobody waits for it', async () => {
  const slow = read();
  await slow.next(/event: resync\n/);
  slow.socket.pause();
  const long = 'x'.repeat(30000);
  const start = Date.now();
  // Two events each: twice what is kept, and what the sockets hold.
  for (let i = 0; i < 10; ++i) await Promise.all(Array.from({ length: 50 }, () => request(`access_token=t&a=${long}`)));
  assert.ok(Date.now() - start < 20000);
  assert.equal((await sandbox.get('/totals')).requests >= 500, true);
  slow.socket.resume();
  await slow.next(/event: resync\n/);
  await slow.next(/\n:\n/); // a sign of life: there is nothing more to send
  await request('access_token=later');
  await slow.next(/access_token=later/);
  slow.socket.destroy();
});
