// Every call of @googleapis/youtube that publishes videos, and the uploads in pieces that Google describes.
import assert from 'node:assert/strict';
import { createReadStream } from 'node:fs';
import { Readable } from 'node:stream';
import { beforeEach, test } from 'node:test';

import {
  addScript,
  agent,
  bytes,
  clip,
  clipPath,
  png,
  raw,
  require,
  reset,
  setSwitches,
  sha256,
  state,
} from './support.mjs';

const { youtube, auth } = require('@googleapis/youtube');

const clientFor = (token, more = {}) => {
  const oauth = new auth.OAuth2({ clientId: 'id', clientSecret: 'secret', transporterOptions: { agent } });
  oauth.setCredentials({ access_token: token });
  return youtube({ version: 'v3', auth: oauth, agent, retry: false, ...more });
};
const client = clientFor('token');

const videos = async () => (await state('youtube')).videos;
const metadata = (title, more = {}) => ({
  snippet: { title, description: 'about it', tags: ['x', 'y z'], categoryId: '22', ...more },
  status: { privacyStatus: 'unlisted' },
});
const insert = (requestBody, more = {}) =>
  client.videos.insert({
    part: ['snippet', 'status'],
    requestBody,
    media: { body: createReadStream(clipPath) },
    ...more,
  });
const reason = (name, status) => (error) => {
  assert.equal(error.response.status, status);
  assert.equal(error.response.data.error.code, status);
  assert.equal(error.response.data.error.errors[0].reason, name);
  return true;
};

beforeEach(reset);

test('uploads a video with its metadata, and reads it', async () => {
  const { data } = await insert(metadata('Multipart'));
  assert.equal(data.snippet.title, 'Multipart');
  assert.equal(data.status.privacyStatus, 'unlisted');
  const [video] = await videos();
  assert.deepEqual([video.id, video.title, video.sha256], [data.id, 'Multipart', sha256(clip)]);
  assert.deepEqual([video.description, video.tags, video.categoryId], ['about it', ['x', 'y z'], '22']);

  const { data: list } = await client.videos.list({
    part: ['snippet', 'status', 'contentDetails'],
    id: [data.id, 'none'],
  });
  assert.equal(list.pageInfo.totalResults, 1);
  assert.deepEqual(list.items[0].snippet.tags, ['x', 'y z']);
  const { data: some } = await client.videos.list({
    part: 'snippet',
    id: data.id,
    fields: 'items(id,snippet/title)',
  });
  assert.deepEqual(some, { items: [{ id: data.id, snippet: { title: 'Multipart' } }] });
  const { data: mine } = await client.channels.list({ part: ['contentDetails'], mine: true });
  const playlistId = mine.items[0].contentDetails.relatedPlaylists.uploads;
  const { data: uploads } = await client.playlistItems.list({ part: ['snippet'], playlistId });
  assert.deepEqual(
    uploads.items.map((item) => item.snippet.resourceId.videoId),
    [data.id],
  );
});

test('is at the older host too', async () => {
  const older = clientFor('token', { rootUrl: 'https://www.googleapis.com/' });
  const { data } = await older.videos.insert({
    part: ['snippet', 'status'],
    requestBody: metadata('Older host'),
    media: { body: createReadStream(clipPath) },
  });
  assert.equal(
    (await older.videos.list({ part: ['snippet'], id: [data.id] })).data.items[0].snippet.title,
    'Older host',
  );
});

test('uploads media alone', async () => {
  const { data } = await client.videos.insert({
    part: ['snippet'],
    media: { mimeType: 'video/mp4', body: Readable.from([clip]) },
  });
  assert.equal(data.snippet.title, 'unknown');
  assert.equal((await videos())[0].sha256, sha256(clip));
  await assert.rejects(
    client.videos.insert({ part: ['snippet'], media: { body: 'a text' } }),
    reason('badContent', 400),
  );
  await assert.rejects(
    client.videos.insert({ part: ['snippet'], requestBody: metadata('x') }),
    reason('mediaBodyRequired', 400),
  );
});

test('updates and deletes a video', async () => {
  const { data: video } = await insert(metadata('Before'));
  const { data } = await client.videos.update({
    part: ['snippet'],
    requestBody: {
      id: video.id,
      snippet: { title: 'After', categoryId: '27' },
      status: { privacyStatus: 'public' },
    },
  });
  assert.equal(data.snippet.title, 'After');
  const [stored] = await videos();
  assert.deepEqual(
    [stored.title, stored.description, stored.tags, stored.categoryId],
    ['After', '', [], '27'],
  );
  assert.equal(stored.privacyStatus, 'unlisted', 'not among the parts');
  await client.videos.update({
    part: ['status'],
    requestBody: { id: video.id, status: { privacyStatus: 'private' } },
  });
  assert.equal((await videos())[0].privacyStatus, 'private');
  await client.thumbnails.set({
    videoId: video.id,
    media: { mimeType: 'image/png', body: Readable.from([png]) },
  });
  assert.equal((await videos())[0].thumbnailSha256, sha256(png));
  const bad = client.videos.update({
    part: ['snippet'],
    requestBody: { id: video.id, snippet: { title: 'No category' } },
  });
  await assert.rejects(bad, reason('invalidCategoryId', 400));

  const anyone = youtube({ version: 'v3', auth: 'an API key', agent });
  assert.equal((await anyone.videos.list({ part: ['id'], id: [video.id] })).data.items.length, 0, 'private');
  await assert.rejects(anyone.videos.delete({ id: video.id }), reason('authError', 401));
  assert.equal((await client.videos.delete({ id: video.id })).status, 204);
  await assert.rejects(client.videos.delete({ id: video.id }), reason('videoNotFound', 404));
  assert.deepEqual(await videos(), []);
});

test('names categories', async () => {
  const one = await client.videoCategories.list({ part: ['snippet'], id: ['10', '30'] });
  assert.deepEqual(
    one.data.items.map(({ id, snippet }) => [id, snippet.title, snippet.assignable]),
    [
      ['10', 'Music', true],
      ['30', 'Movies', false],
    ],
  );
  assert.equal(
    (await client.videoCategories.list({ part: ['snippet'], regionCode: 'DE' })).data.items.length,
    32,
  );
  await assert.rejects(
    client.videoCategories.list({ part: ['snippet'], id: ['3'] }),
    reason('videoCategoryNotFound', 404),
  );
});

test('refuses what the service refuses', async () => {
  const rows = [
    ['invalidTitle', metadata('a < b')],
    ['invalidTitle', metadata('')],
    ['invalidTitle', metadata('x'.repeat(101))],
    ['invalidDescription', metadata('x', { description: 'a > b' })],
    ['invalidDescription', metadata('x', { description: 'x'.repeat(5001) })],
    ['invalidCategoryId', metadata('x', { categoryId: '3' })],
    ['invalidTags', metadata('x', { tags: ['x'.repeat(501)] })],
    ['invalidVideoMetadata', { ...metadata('x'), status: { privacyStatus: 'secret' } }],
  ];
  for (const [name, body] of rows) await assert.rejects(insert(body), reason(name, 400), name);
  await assert.rejects(insert(metadata('x'), { part: ['snippet', 'nonsense'] }), reason('unknownPart', 400));
  await assert.rejects(insert(metadata('x'), { part: [] }), reason('required', 400));
  await assert.rejects(client.videos.list({ part: ['snippet'] }), reason('missingRequiredParameter', 400));
  await assert.rejects(
    client.videos.list({ part: ['id'], id: ['x'], fields: 'items(' }),
    reason('invalidParameter', 400),
  );
  await assert.rejects(
    clientFor('expired').videos.list({ part: ['id'], id: ['x'] }),
    reason('authError', 401),
  );
  await assert.rejects(clientFor('forbidden').videos.delete({ id: 'x' }), reason('forbidden', 403));
  const unknown = await raw('GET', 'https://youtube.googleapis.com/youtube/v3/nothing');
  assert.deepEqual([unknown.status, unknown.data.error.errors[0].reason], [404, 'notFound']);
  assert.deepEqual(await videos(), []);
});

test('limits quota, rate and uploads', async () => {
  await setSwitches({ youtube: { quota: 1601 } });
  const { data } = await insert(metadata('The last one'));
  await assert.rejects(insert(metadata('Too much')), reason('quotaExceeded', 403));
  await client.videos.list({ part: ['id'], id: [data.id] });
  await assert.rejects(client.videos.list({ part: ['id'], id: [data.id] }), reason('quotaExceeded', 403));
  await setSwitches({ youtube: { quota: null, rateLimit: 0 } });
  await assert.rejects(client.videos.list({ part: ['id'], id: [data.id] }), reason('rateLimitExceeded', 429));
  await setSwitches({ youtube: { rateLimit: null, uploadLimit: 0 } });
  await assert.rejects(insert(metadata('Too many')), reason('uploadLimitExceeded', 400));
});

test('renews a token', async () => {
  const oauth = new auth.OAuth2({ clientId: 'id', clientSecret: 'secret', transporterOptions: { agent } });
  oauth.setCredentials({ refresh_token: 'refresh' });
  const renewing = youtube({ version: 'v3', auth: oauth, agent, retry: false });
  assert.equal((await renewing.channels.list({ part: ['id'], mine: true })).data.items.length, 1);
  assert.match(oauth.credentials.access_token, /^ya29\./);
  const { tokens } = await oauth.getToken('code');
  assert.ok(tokens.refresh_token);
});

// ---- Resumable uploads, which this client does not have ----

const unit = 256 * 1024;
const long = bytes(2 * unit + 1000);
const url =
  'https://www.googleapis.com/upload/youtube/v3/videos?uploadType=resumable&part=snippet&part=status';
const authorization = { Authorization: 'Bearer token' };

async function startSession(title, headers = {}, host = 'www.googleapis.com') {
  const reply = await raw('POST', url.replace('www.googleapis.com', host), {
    headers: { ...authorization, 'Content-Type': 'application/json', ...headers },
    body: JSON.stringify(metadata(title)),
  });
  assert.equal(reply.status, 200, reply.text);
  return reply.headers.location;
}
const put = (session, first, end, total, body = long.subarray(first, end)) =>
  raw('PUT', session, {
    headers: {
      ...authorization,
      'Content-Length': body.length,
      'Content-Range': `bytes ${first}-${end - 1}/${total}`,
    },
    body,
  });
const ask = (session) =>
  raw('PUT', session, { headers: { 'Content-Length': 0, 'Content-Range': `bytes */${long.length}` } });

test('takes a resumable upload in one piece', async () => {
  const session = await startSession(
    'One piece',
    { 'X-Upload-Content-Type': 'video/*' },
    'youtube.googleapis.com',
  );
  assert.ok(session.startsWith('https://youtube.googleapis.com/'));
  const reply = await raw('PUT', session, { headers: authorization, body: clip });
  assert.equal(reply.data.snippet.title, 'One piece');
  assert.equal((await videos())[0].sha256, sha256(clip));
});

test('takes a resumable upload in pieces', async () => {
  const session = await startSession('Pieces', { 'X-Upload-Content-Length': long.length });
  const before = await ask(session);
  assert.deepEqual([before.status, before.headers.range], [308, undefined]);
  const first = await put(session, 0, unit, '*');
  assert.deepEqual([first.status, first.headers.range], [308, `bytes=0-${unit - 1}`]);
  assert.equal((await put(session, unit, unit + 1000, long.length)).status, 400, 'no multiple of 256 KiB');
  assert.equal((await put(session, unit, 2 * unit, long.length + 1)).status, 400, 'another total');
  const gap = await put(session, 2 * unit, long.length, long.length);
  assert.deepEqual([gap.status, gap.headers.range], [308, `bytes=0-${unit - 1}`], 'a piece is missing');
  assert.equal((await put(session, unit, 2 * unit, long.length)).headers.range, `bytes=0-${2 * unit - 1}`);
  const rest = { headers: { 'Content-Range': `bytes ${2 * unit}-${long.length - 1}/${long.length}` } };
  rest.body = long.subarray(2 * unit);
  const expired = { headers: { ...rest.headers, Authorization: 'Bearer expired' }, body: rest.body };
  assert.equal((await raw('PUT', session, expired)).status, 401);
  const last = await raw('PUT', session, rest); // a piece needs no authorization
  assert.equal(last.status, 200);
  const [video] = await videos();
  assert.deepEqual([video.id, video.sha256, video.size], [last.data.id, sha256(long), long.length]);
  assert.equal((await ask(session)).data.id, last.data.id, 'a client that missed the reply asks again');
  assert.equal((await videos()).length, 1);
});

test('resumes after a broken connection', async () => {
  const session = await startSession('Broken', { 'X-Upload-Content-Length': long.length });
  await raw('PUT', session, { headers: authorization, body: long, breakAfter: 300000 });
  let status;
  for (let i = 0; i < 100 && !status?.headers.range; ++i) status = await ask(session);
  assert.equal(status.status, 308);
  const received = Number(status.headers.range.split('-')[1]) + 1;
  assert.ok(received > 0 && received <= 300000, status.headers.range);
  assert.equal((await put(session, received, long.length, long.length)).status, 200);
  assert.equal((await videos())[0].sha256, sha256(long));

  const other = await startSession('Reset', {});
  await addScript({ method: 'PUT', passThrough: true, stopReadingAfter: 100000, reset: true });
  await assert.rejects(raw('PUT', other, { headers: authorization, body: long }));
  assert.equal((await ask(other)).headers.range, 'bytes=0-99999');
  assert.equal((await put(other, 100000, long.length, long.length)).status, 200);
  assert.equal((await videos())[1].sha256, sha256(long));
});

test('cancels a resumable upload', async () => {
  const session = await startSession('Cancelled');
  assert.equal((await raw('DELETE', session, { headers: authorization })).status, 499);
  assert.equal((await ask(session)).status, 404);
  assert.deepEqual((await state('youtube')).sessions, []);
});
