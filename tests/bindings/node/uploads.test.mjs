// Uploads: progress, cancelling, several at once, and what stays alive after them.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { getEventListeners, once } from 'node:events';
import { openSync } from 'node:fs';
import { readFile } from 'node:fs/promises';
import { beforeEach, test } from 'node:test';
import { setFlagsFromString } from 'node:v8';
import { runInNewContext } from 'node:vm';

import { facebook, twitter, youtube } from 'velk-upload';
import { addScript, fileOf, largeFile, pictureFile, requests, reset, stored } from './support.mjs';

const isWindows = process.platform === 'win32';

beforeEach(reset);

// The three uploads with a handle.
const consumer = { key: 'ck', secret: 'ck-secret' };
const user = { token: 'tk', tokenSecret: 'tk-secret', id: '7', screenName: 'velk' };
const texts = { title: 'Bars', description: 'A test' };
const services = [
  (file, options) => youtube.upload('token', { ...texts, file }, options),
  (file, options) => facebook.uploadVideo('token', { ...texts, file }, options),
  (file, options) => twitter.uploadPhoto(consumer, user, { file, text: 'look' }, options),
];

test('reports rising progress', async () => {
  const size = isWindows ? 4_000_000 : 20_000_000; // Wine's TLS is slow
  const file = fileOf('video.mp4', Buffer.alloc(size));
  await addScript({ method: 'PUT', passThrough: true, readSlowly: 2 * size });
  const reports = [];
  await services[0](file, { onProgress: (...report) => reports.push(report) });
  assert.ok(reports.length > 5, `${reports.length} reports`);
  const sent = reports.map(([bytes]) => bytes);
  assert.deepEqual(
    sent,
    [...sent].sort((a, b) => a - b),
  );
  assert.deepEqual(reports.at(-1), [size, size]);
});

test('cancels when the callback throws', async () => {
  await addScript({ method: 'PUT', passThrough: true, readSlowly: 500_000 });
  const onProgress = () => {
    throw new TypeError('enough');
  };
  await assert.rejects(services[0](largeFile, { onProgress }), new TypeError('enough'));
  assert.deepEqual(await stored('youtube', 'videos'), []);
});

// A function of its own, so that no variable of the test refers to the callback.
async function uploadAndForget(upload, signal) {
  const onProgress = Object.assign(() => {}, { large: new Array(1000) });
  await upload(pictureFile, { signal, onProgress });
  return new WeakRef(onProgress);
}

test('keeps nothing of the caller', async () => {
  setFlagsFromString('--expose-gc');
  const collect = runInNewContext('gc');
  const { signal } = new AbortController();
  const used = [];
  for (const upload of services) used.push(await uploadAndForget(upload, signal));
  assert.deepEqual(getEventListeners(signal, 'abort'), []);
  for (let round = 0; round < 20 && used.some((reference) => reference.deref()); ++round) {
    await new Promise((resolve) => setTimeout(resolve, 10));
    collect();
  }
  assert.deepEqual(
    used.map((reference) => reference.deref()),
    [undefined, undefined, undefined],
  );
});

// Starts two of Twitter's, two of Facebook's and four of YouTube's.
const startEight = () =>
  Array.from({ length: 8 }, (_, index) => {
    if (index % 2 === 0) return services[0](pictureFile);
    if (index % 4 === 1) return services[1](pictureFile);
    return twitter.uploadPhoto(consumer, user, { file: pictureFile, text: `look ${index}` });
  });

test('runs eight at once', async () => {
  await Promise.all(startEight());
  assert.equal((await stored('youtube', 'videos')).length, 4);
  assert.equal((await stored('facebook', 'objects')).length, 2);
  assert.equal((await stored('twitter', 'tweets')).length, 2);
});

test('delays nobody else', async () => {
  await addScript({ times: 0, neverAnswer: true });
  const uploads = Promise.allSettled(startEight());
  while ((await requests()).length < 8) await new Promise((resolve) => setTimeout(resolve, 5));
  const start = performance.now();
  await readFile(pictureFile);
  const took = performance.now() - start;
  await reset(); // ends the connections
  await uploads;
  assert.ok(took < 250, `readFile took ${took} ms`);
});

// Under Wine each thread takes half a second to start.
test('makes more calls than there are threads', { skip: isWindows }, async () => {
  const names = await Promise.all(Array.from({ length: 40 }, () => facebook.user('token')));
  assert.ok(names.every(({ name }) => name === 'Vera Velk'));
});

test('cancels an upload that waits for a thread', { skip: isWindows }, async () => {
  await addScript({ times: 0, neverAnswer: true });
  const running = Promise.allSettled(Array.from({ length: 16 }, () => services[1](pictureFile)));
  const controller = new AbortController();
  const waiting = services.map((upload) => upload(pictureFile, { signal: controller.signal }));
  setImmediate(() => controller.abort(new Error('enough')));
  for (const upload of waiting)
    await assert.rejects(upload, (error) => error.code === -10 && error.cause.message === 'enough');
  while ((await requests()).length < 16) await new Promise((resolve) => setTimeout(resolve, 5));
  await reset(); // ends the connections
  await running;
});

// The thread of an upload would keep the process alive until the upload ends.
test('ends with the process', { skip: isWindows }, async () => {
  await addScript({ method: 'PUT', passThrough: true, readSlowly: 100_000 });
  const program = `
    import { setProxy, youtube } from 'velk-upload';
    setProxy(process.env.VELK_SANDBOX_PROXY);
    const film = { file: ${JSON.stringify(largeFile)}, title: 'Bars', description: 'A test' };
    const onProgress = () => process.exit(7);
    await youtube.upload('token', film, { onProgress });`;
  const output = openSync(fileOf('exits.log', ''), 'w');
  const child = spawn(process.execPath, ['--input-type=module', '--eval', program], {
    stdio: ['ignore', output, output],
  });
  const start = performance.now();
  const [code] = await once(child, 'exit');
  assert.equal(code, 7);
  assert.ok(performance.now() - start < 10_000);
  assert.deepEqual(await stored('youtube', 'videos'), []);
});
