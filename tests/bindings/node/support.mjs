// What the tests share: the sandbox's control URL, and files to upload.
import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { request } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import { setProxy } from 'velk-upload';

setProxy(process.env.VELK_SANDBOX_PROXY);

async function control(method, path, value) {
  const { status, text } = await new Promise((resolve, reject) => {
    const sent = request(process.env.VELK_SANDBOX_CONTROL + path, { method }, (reply) => {
      const pieces = [];
      reply.on('data', (piece) => pieces.push(piece));
      reply.on('end', () => resolve({ status: reply.statusCode, text: Buffer.concat(pieces).toString() }));
    });
    sent.on('error', reject);
    sent.end(value && JSON.stringify(value));
  });
  assert.equal(status, 200, `${method} ${path}: ${text}`);
  return JSON.parse(text);
}

export const reset = () => control('POST', '/reset');
export const addScript = (script) => control('POST', '/scripts', script);
export const requests = () => control('GET', '/requests');
export const stored = async (service, kind) => (await control('GET', '/state'))[service][kind];

/** Waits for a request to a path. */
export async function arrived(path) {
  for (const end = Date.now() + 10_000; Date.now() < end; ) {
    if ((await requests()).some((one) => one.target.split('?')[0] === path)) return;
    await new Promise((resolve) => setTimeout(resolve, 5));
  }
  assert.fail(`no request to ${path}`);
}

const temporary = mkdtempSync(join(tmpdir(), 'velk-upload-'));
export const folder = join(temporary, '我的 & пр 😀');
mkdirSync(folder);
process.on('exit', () => rmSync(temporary, { recursive: true, force: true }));

/** A file with this name and content. Returns its path. */
export function fileOf(name, content) {
  const path = join(folder, name);
  writeFileSync(path, content);
  return path;
}

// The files of the cases.
const media = (name) => readFileSync(join(process.env.VELK_SOURCE, 'examples/media', name));
const photo = media('photo.jpg');
export const pictureFile = fileOf('photo.jpg', photo);
export const clipFile = fileOf('clip.mp4', media('clip.mp4'));
export const largeFile = fileOf('large.jpg', Buffer.concat([photo, Buffer.alloc(3_000_000, 'abc')]));
fileOf("it's.jpg", photo);
fileOf('too large.jpg', Buffer.alloc(5_242_881));
