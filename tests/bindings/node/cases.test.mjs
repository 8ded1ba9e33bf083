// The cases that all bindings share, and what else a call refuses in JavaScript.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, beforeEach, describe, test } from 'node:test';

import { facebook, getProxy, setProxy, twitter, ValueError, VelkError, youtube } from 'velk-upload';
import { addScript, arrived, clipFile, folder, requests, reset, stored } from './support.mjs';

const read = (file) => JSON.parse(readFileSync(join(process.env.VELK_SOURCE, file)));
const results = read('docs/result_codes.json');
const { cases, defaults, strings } = read('tests/bindings/cases.json');

const consumer = ({ key, secret }) => ({ key, secret });
const user = ({ userToken: token, userSecret: tokenSecret }) => ({
  token,
  tokenSecret,
  id: '7',
  screenName: 'velk',
});

const functions = {
  getProxy,
  setProxy: ({ url }) => setProxy(url),
  requests,
  stored: ({ kind }) => stored(...kind.split('.')),
  'facebook.exchangeToken': async ({ appId, appSecret, token }) => {
    const { expiresIn: seconds, ...rest } = await facebook.exchangeToken(appId, appSecret, token);
    return { seconds, ...rest };
  },
  'facebook.checkToken': ({ appId, token }) => facebook.checkToken(appId, token),
  'facebook.user': ({ token }) => facebook.user(token),
  'facebook.pages': ({ token }) => facebook.pages(token),
  'facebook.uploadVideo': ({ token, ...video }, options) => facebook.uploadVideo(token, video, options),
  'facebook.uploadPhoto': ({ token, ...photo }, options) => facebook.uploadPhoto(token, photo, options),
  'facebook.post': ({ token, ...post }) => facebook.post(token, post),
  'facebook.update': ({ token, id, ...change }) => facebook.update(token, id, change),
  'facebook.photoUrl': ({ token, id }) => facebook.photoUrl(token, id),
  'facebook.videoUrl': ({ id }) => facebook.videoUrl(id),
  'facebook.videoEmbedUrl': ({ token, id }) => facebook.videoEmbedUrl(token, id),
  'twitter.signIn': (values) => twitter.signIn(consumer(values)),
  'twitter.finishSignIn': ({ requestToken, pin, ...keys }) =>
    twitter.finishSignIn(consumer(keys), requestToken, pin),
  'twitter.tweet': ({ text, mediaIds, ...keys }) => twitter.tweet(consumer(keys), user(keys), text, mediaIds),
  'twitter.uploadPhoto': ({ file, text, ...keys }, options) =>
    twitter.uploadPhoto(consumer(keys), user(keys), { file, text }, options),
  'youtube.upload': ({ token, ...video }, options) => youtube.upload(token, video, options),
  'youtube.update': ({ token, id, ...video }) => youtube.update(token, id, video),
};

/** Replaces each variable, and writes out what is repeated. */
function expand(value, variables) {
  if (typeof value === 'string') return value.replace(/\$\{([\w.]+)\}/g, (_, name) => variables[name]);
  if (value === null || typeof value !== 'object') return value;
  if ('times' in value && 'of' in value)
    return (value.before ?? '') + value.of.repeat(value.times) + (value.then ?? '');
  const entries = Object.entries(value).map(([name, member]) => [name, expand(member, variables)]);
  return Array.isArray(value) ? entries.map(([, member]) => member) : Object.fromEntries(entries);
}

/** Sets the variable of a value, and those of its members. */
function save(name, value, variables) {
  variables[name] = value;
  if (value !== null && typeof value === 'object')
    for (const [key, member] of Object.entries(value)) save(`${name}.${key}`, member, variables);
}

/** An object may have more members than expected. */
function check(actual, expected, where) {
  if (expected === null || typeof expected !== 'object')
    return assert.deepEqual(actual, expected, `${where} is ${JSON.stringify(actual)}`);
  if (Array.isArray(expected)) assert.equal(actual.length, expected.length, where);
  for (const [key, member] of Object.entries(expected)) check(actual[key], member, `${where}.${key}`);
}

function hasFailed(error, name, cancel) {
  const { code, meaning, advice } = results.find((result) => result.name === name);
  const expected = [name, code, meaning, advice, code > 0, `${name} (${code}): ${meaning}`, cancel];
  assert.ok(error instanceof VelkError && error instanceof Error, error);
  assert.deepEqual(
    [error.name, error.code, error.meaning, error.advice, error.partial, error.message, error.cause],
    expected,
  );
}

async function call(name, values, cancel) {
  const controller = new AbortController();
  const abort = () => controller.abort(cancel);
  const options = { signal: controller.signal };
  if (cancel === 'before') abort();
  if (cancel === 'sent') options.onProgress = (sent) => sent > 0 && abort();
  const [result] = await Promise.all([
    functions[name](values, cancel && options),
    cancel?.startsWith('/') && arrived(cancel).then(abort),
  ]);
  if (cancel === 'after') abort();
  return result;
}

async function run(step, variables) {
  const values = expand({ ...defaults[step.call], ...step.with }, variables);
  for (const script of step.scripts ?? []) await addScript(expand(script, variables));
  const error = await call(step.call, values, step.cancel).then(
    (result) => save(step.as ?? 'result', result, variables),
    (thrown) => thrown,
  );
  if (step.fails) hasFailed(error, step.fails, step.cancel);
  else if (step.refused) {
    assert.ok(error instanceof ValueError, error);
    assert.ok(error.message.includes(step.refused), error.message);
  } else if (error) throw error;
  if ('returns' in step) check(variables[step.as ?? 'result'], expand(step.returns, variables), step.call);
  if ('requests' in step) assert.equal((await requests()).length, step.requests, 'requests');
}

beforeEach(reset);

describe('cases', () => {
  const start = process.cwd();
  before(() => process.chdir(folder));
  after(() => process.chdir(start));

  for (const { name, each, steps, ...step } of cases)
    for (const row of each ? strings : [{}])
      test(each ? `${name}: ${row.name}` : name, async () => {
        const variables = { ...row, folder, proxy: process.env.VELK_SANDBOX_PROXY };
        for (const one of steps ?? [step]) await run(one, variables);
      });
});

test('checks of a token at the same time share one request', async () => {
  const check = () => facebook.checkToken('app', 'shared');
  assert.deepEqual(await Promise.all([check(), check()]), [true, true]);
  assert.equal((await requests()).length, 1);
});

test('refuses what is no string of whole characters', async () => {
  const upload = (change) =>
    youtube.upload('token', { file: clipFile, title: 'T', description: 'D', ...change });
  const half = '🎉'.slice(0, 1);
  const refused = (message) => ({ constructor: ValueError, message });
  await assert.rejects(upload({ title: 7 }), refused('title is no string'));
  await assert.rejects(
    upload({ description: half }),
    refused('description contains half of a surrogate pair'),
  );
});

test('names unknown codes', () => {
  const { name, code, partial } = new VelkError(-99);
  assert.deepEqual([name, code, partial], ['VELK_UNKNOWN', -99, false]);
});
