// Each kind of failure, with its code and advice.
import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import { facebook, results, twitter, VelkError, youtube } from 'velk-upload';
import { addScript, clipFile, consumer, fileOf, film, photo, reset, user, video } from './support.mjs';

beforeEach(reset);

const large = fileOf('too large.png', Buffer.alloc(5_242_881));
const rows = [
  {
    what: 'privacy after a photo',
    scripts: [
      { path: '/104000000000001/photos', passThrough: true },
      { method: 'POST', status: 400 },
    ],
    call: () => facebook.uploadPhoto('token', photo),
    name: 'VELK_PRIVACY_NOT_UPDATED',
  },
  {
    what: 'description',
    call: () => facebook.update('token', '1', { description: 'a' }),
    name: 'VELK_TEXT_NOT_UPDATED',
  },
  {
    what: 'message',
    call: () => facebook.update('token', '1', { message: 'a' }),
    name: 'VELK_MESSAGE_NOT_UPDATED',
  },
  { what: 'no such URL', call: () => facebook.videoEmbedUrl('token', '1'), name: 'VELK_UNSUPPORTED_GET' },
  {
    what: 'an unexpected reply',
    scripts: [{ status: 500 }],
    call: () => facebook.user('token'),
    name: 'VELK_UNEXPECTED_REPLY',
  },
  {
    what: 'no title',
    call: () => youtube.upload('token', { file: clipFile }),
    name: 'VELK_MISSING_ARGUMENT',
  },
  {
    what: 'a broken connection',
    scripts: [{ reset: true }],
    call: () => facebook.user('token'),
    name: 'VELK_TRANSFER_FAILED',
  },
  {
    what: 'no identifier',
    scripts: [{ body: '{}' }],
    call: () => facebook.post('token', { message: 'a' }),
    name: 'VELK_NO_IDENTIFIER',
  },
  {
    what: 'no exchanged token',
    scripts: [{ body: '{}' }],
    call: () => facebook.exchangeToken('app', 'secret', 'token'),
    name: 'VELK_NO_IDENTIFIER',
  },
  { what: 'an expired token', call: () => facebook.user('expired'), name: 'VELK_TOKEN_REJECTED' },
  {
    what: 'a long list of pages',
    scripts: [{ body: '{"data":[]}', bodySize: 11_000 }],
    call: () => facebook.pages('token'),
    name: 'VELK_BUFFER_TOO_SMALL',
  },
  { what: 'a forbidden upload', call: () => youtube.upload('forbidden', film), name: 'VELK_FORBIDDEN' },
  {
    what: 'a wrong secret',
    call: () => twitter.tweet({ key: 'ck', secret: 'wrong' }, user, 'a'),
    name: 'VELK_CREDENTIALS_REFUSED',
  },
  {
    what: 'a repeated tweet',
    call: async () => {
      await twitter.tweet(consumer, user, 'twice');
      await twitter.tweet(consumer, user, 'twice');
    },
    name: 'VELK_DUPLICATE_STATUS',
  },
  {
    what: 'a photo that is too large',
    call: () => twitter.uploadPhoto(consumer, user, { file: large, text: 'a' }),
    name: 'VELK_TOO_LARGE',
  },
  {
    what: 'an error of the video host',
    scripts: [{ times: 0, status: 500 }],
    call: () => facebook.uploadVideo('token', video),
    name: 'VELK_SERVER_ERROR',
  },
  {
    what: 'another status of the PUT',
    scripts: [{ method: 'PUT', status: 418 }],
    call: () => youtube.upload('token', film),
    name: 'VELK_NO_HANDLE',
  },
  {
    what: 'no such file',
    call: () => youtube.upload('token', { ...film, file: 'no/such/file' }),
    name: 'VELK_FILE_NOT_OPENED',
  },
];

for (const { what, scripts = [], call, name } of rows)
  test(`rejects with its code and advice: ${what}`, async () => {
    for (const script of scripts) await addScript(script);
    const { code, meaning, advice } = results.find((result) => result.name === name);
    await assert.rejects(call, (error) => {
      assert.ok(error instanceof VelkError && error instanceof Error, error);
      assert.deepEqual(
        [error.name, error.code, error.meaning, error.advice, error.partial],
        [name, code, meaning, advice, code > 0],
      );
      assert.equal(error.message, `${name} (${code}): ${meaning}`);
      return true;
    });
  });

test('names unknown codes', () => {
  const { name, code, partial } = new VelkError(-99);
  assert.deepEqual([name, code, partial], ['VELK_UNKNOWN', -99, false]);
});
