// What the tests share: the sandbox's control URL, and what they publish.
import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
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

export const sha256 = (content) => createHash('sha256').update(content).digest('hex');

const folder = mkdtempSync(join(tmpdir(), 'velk-upload-'));
process.on('exit', () => rmSync(folder, { recursive: true, force: true }));

/** A file with this name and content. Returns its path. */
export function fileOf(name, content) {
  const path = join(folder, name);
  writeFileSync(path, content);
  return path;
}

export const picture = Buffer.concat([
  Buffer.from('89504e470d0a1a0a', 'hex'),
  Buffer.from('not much of a picture'),
]);
export const pictureFile = fileOf('photo.png', picture);
export const clip = Buffer.from('not much of a video');
export const clipFile = fileOf('clip.mp4', clip);
export const largeFile = fileOf('large.png', Buffer.concat([picture, Buffer.alloc(3_000_000, 'abc')]));

export const page = '104000000000001';
export const consumer = { key: 'ck', secret: 'ck-secret' };
export const user = { token: '7-tk', tokenSecret: '7-tk-secret', id: '7', screenName: 'velk' };
export const video = { file: clipFile, title: 'Bars', description: 'A test', privacy: 'SELF', target: page };
export const photo = { file: pictureFile, message: 'A gradient', privacy: 'SELF', target: page };
export const film = { file: clipFile, title: 'Bars', description: 'A test', tags: ['bars', 'test'] };
