// Every function once, strings of every script, and values that do not fit.
import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import { facebook, getProxy, setProxy, twitter, ValueError, youtube } from 'velk-upload';
import {
  addScript,
  clip,
  clipFile,
  consumer,
  fileOf,
  film,
  page,
  photo,
  picture,
  pictureFile,
  requests,
  reset,
  sha256,
  stored,
  user,
  video,
} from './support.mjs';

beforeEach(reset);

test('sets the proxy', () => {
  assert.equal(getProxy(), process.env.VELK_SANDBOX_PROXY);
  assert.throws(() => setProxy('a'.repeat(256)), ValueError);
  assert.equal(getProxy(), process.env.VELK_SANDBOX_PROXY);
});

test('reads from Facebook', async () => {
  const { token, expiresIn } = await facebook.exchangeToken('app', 'sec&ret', 'short');
  assert.ok(token);
  assert.ok(expiresIn > 86_400);
  assert.match((await requests())[0].target, /sec%26ret/);
  assert.equal((await facebook.user('token')).name, 'Vera Velk');
  assert.equal((await facebook.pages('token')).find(({ id }) => id === page).name, 'Velk News');
  assert.deepEqual(await facebook.pages('pageless'), []);
  assert.equal(await facebook.videoUrl('12'), 'https://www.facebook.com/video/video.php?v=12');
});

test('remembers valid tokens, and shares checks that run', async () => {
  assert.deepEqual(
    await Promise.all([facebook.checkToken('app', 'token'), facebook.checkToken('app', 'token')]),
    [true, true],
  );
  assert.equal(await facebook.checkToken('app', 'token'), true);
  assert.equal((await requests()).length, 1);
  assert.equal(await facebook.checkToken('app', 'expired'), false);
  assert.equal(await facebook.checkToken('app', 'expired'), false);
  assert.equal((await requests()).length, 3);
});

test('publishes and changes on Facebook', async () => {
  const id = await facebook.uploadVideo('token', video);
  const story = await facebook.uploadPhoto('token', photo);
  const post = await facebook.post('token', { message: 'a & b', link: 'https://velk.example/?a=1&b=%20' });
  await facebook.update('token', id, { description: 'Another test' });
  await facebook.update('token', story, { message: 'Another gradient', privacy: 'EVERYONE' });
  await facebook.update('token', post, { message: 'c = d' });
  await assert.rejects(facebook.update('token', post, { privacy: 'SELF' }), ValueError);

  const [first, second, third, fourth, ...rest] = await stored('facebook', 'objects');
  assert.deepEqual(rest, []);
  assert.deepEqual(
    [first.id, first.title, first.description, first.sha256],
    [id, 'Bars', 'Another test', sha256(clip)],
  );
  assert.equal(second.privacy, 'EVERYONE');
  assert.deepEqual([third.id, third.message], [story, 'Another gradient']);
  assert.deepEqual(
    [fourth.id, fourth.message, fourth.link],
    [post, 'c = d', 'https://velk.example/?a=1&b=%20'],
  );
  assert.equal(
    await facebook.photoUrl('token', second.id),
    `https://www.facebook.com/photo.php?fbid=${second.id}`,
  );
  assert.match(await facebook.videoEmbedUrl('token', id), new RegExp(id));
});

test('decodes what Facebook escapes', async () => {
  await addScript({ body: String.raw`{"link":"https:\/\/velk.example\/?a\u003d1\u0026b"}` });
  assert.equal(await facebook.photoUrl('token', '12'), 'https://velk.example/?a=1&b');
  await addScript({ body: String.raw`{"id":"1","name":"Zo\u00eb \ud83c\udf89\t\"V\"","email":"e"}` });
  assert.equal((await facebook.user('token')).name, 'Zoë 🎉\t', 'the library ends it at a quote');
});

test('reads URLs of any length', async () => {
  const link = `https://velk.example/${'u'.repeat(5000)}`;
  await addScript({ times: 0, body: JSON.stringify({ link }) });
  assert.equal(await facebook.photoUrl('token', '12'), link);
});

test('returns no punctuation instead of a value', async () => {
  for (const body of ['{"link":123,"id":"12"}', '{"link":"","id":"12"}', '{"link": "a"}', '{}']) {
    await addScript({ body });
    assert.equal(await facebook.photoUrl('token', '12'), '', body);
  }
});

test('signs in and tweets', async () => {
  const { url, requestToken } = await twitter.signIn(consumer);
  assert.ok(url.endsWith(`?oauth_token=${requestToken}`), url);
  const signedIn = await twitter.finishSignIn(consumer, requestToken, ' 1234567\r\n');
  assert.equal(signedIn.screenName, 'velk_sandbox');
  await twitter.tweet(consumer, signedIn, 'hello');
  await twitter.uploadPhoto(consumer, signedIn, { file: pictureFile, text: 'look' });
  const [medium] = await stored('twitter', 'media');
  assert.equal(medium.sha256, sha256(picture));
  await twitter.tweet(consumer, signedIn, 'again', [medium.id]);
  const [first, second, third] = await stored('twitter', 'tweets');
  assert.deepEqual([first.text, second.text, third.text], ['hello', 'look', 'again']);
  assert.deepEqual(third.mediaIds, second.mediaIds);
});

test('uploads and changes on YouTube', async () => {
  const id = await youtube.upload('token', film);
  const [uploaded] = await stored('youtube', 'videos');
  const { title, categoryId, privacyStatus, tags } = uploaded;
  assert.deepEqual([uploaded.id, uploaded.sha256], [id, sha256(clip)]);
  assert.deepEqual([title, categoryId, privacyStatus, tags], ['Bars', '22', 'private', ['bars', 'test']]);
  const change = { title: 'Other', description: 'Changed', privacy: 'unlisted', category: '28' };
  await youtube.update('token', id, change);
  const [changed] = await stored('youtube', 'videos');
  assert.deepEqual([changed.title, changed.privacyStatus, changed.tags], ['Other', 'unlisted', []]);
});

test('takes paths of every script', async () => {
  const file = fileOf("我的 'a' & пр.png", picture);
  await youtube.upload('token', { ...film, file });
  await facebook.uploadVideo('token', { ...video, file });
  await twitter.uploadPhoto(consumer, user, { file, text: 'look' });
  assert.equal((await stored('youtube', 'videos'))[0].sha256, sha256(picture));
  assert.equal((await stored('facebook', 'objects'))[0].sha256, sha256(picture));
  assert.equal((await stored('twitter', 'media'))[0].sha256, sha256(picture));
});

// Each arrives as it was given, whichever way it travels.
const strings = [
  'Grüße Привет γειά 你好 こんにちは 안녕 שלום مرحبا नमस्ते สวัสดี 👩‍👧 🏳️‍🌈',
  String.raw`it's "quoted", ''twice', ','apart' {'a': [1]} \n \u0041 \' \\ and ends with \ `.trim(),
  "a&b=c+d%20%41;e#f?g/h@i:j!k'(l)*",
  'one\ntwo\r\nthree\tfour \x01 control \x1f \x7f',
  'NULL',
];

test('sends strings unchanged', async () => {
  const post = await facebook.post('token', { message: 'first' });
  const id = await youtube.upload('token', film);
  for (const text of strings) {
    const other = {
      ...film,
      title: text,
      description: text,
      tags: [text.includes('\n') ? 'tag' : text, 'second'],
    };
    await facebook.uploadVideo('token', { ...video, title: text, description: text });
    await facebook.uploadPhoto('token', { ...photo, message: text });
    await facebook.post('token', { message: text, link: text });
    await facebook.update('token', post, { message: text });
    await twitter.tweet(consumer, user, text);
    await youtube.upload('token', other);
    await youtube.update('token', id, other);

    const objects = await stored('facebook', 'objects');
    const [sentVideo, sentPhoto, , sentPost] = objects.slice(-4);
    assert.deepEqual(
      [sentVideo.title, sentVideo.description, sentPhoto.message, sentPost.message, sentPost.link],
      Array(5).fill(text),
    );
    assert.equal(objects[0].message, text);
    assert.equal((await stored('twitter', 'tweets')).at(-1).text, text);
    const videos = await stored('youtube', 'videos');
    for (const one of [videos[0], videos.at(-1)])
      assert.deepEqual([one.title, one.description, one.tags], [text, text, other.tags]);
  }
});

test('fills fields to the last byte', async () => {
  const title = 't'.repeat(99);
  const description = `${'d'.repeat(4993)}'`; // six bytes as it is sent
  await assert.rejects(
    youtube.upload('token', { ...film, title, description: `d${description}` }),
    ValueError,
  );
  await youtube.upload('token', { ...film, title, description });
  assert.equal((await stored('youtube', 'videos'))[0].description, description);
});

test('refuses what does not fit, and sends nothing', async () => {
  const upload = (change) => youtube.upload('token', { ...film, ...change });
  const rows = {
    'message is too long: 51000 bytes as it is sent, and at most 49999 fit': () =>
      facebook.post('token', { message: '&'.repeat(17_000) }),
    'title is too long: 260 bytes as it is sent, and at most 259 fit': () =>
      facebook.uploadVideo('token', { ...video, title: 't'.repeat(260) }),
    'title is too long: 300 bytes as it is sent, and at most 299 fit': () =>
      upload({ title: "'".repeat(50) }),
    'tags is too long: 1025 bytes as it is sent, and at most 1023 fit': () =>
      upload({ tags: ['a'.repeat(512), 'b'.repeat(512)] }),
    'a tag is empty or has a line end': () => upload({ tags: ['a\nb'] }),
    'description contains a NUL': () => upload({ description: 'a\0b' }),
    'description contains half of a surrogate pair': () => upload({ description: '🎉'.slice(0, 1) }),
    'title is no string': () => upload({ title: 7 }),
    'token contains a NUL': () => facebook.user('a\0b'),
    'text is too long: 421 bytes as it is sent, and at most 420 fit': () =>
      twitter.uploadPhoto(consumer, user, { file: clipFile, text: 'a'.repeat(421) }),
    'target is no identifier: it begins with a digit from 1 to 9': () =>
      facebook.post('token', { message: 'a', target: 'me' }),
    'privacy has other characters than A to Z and _': () =>
      facebook.post('token', { message: 'a', privacy: "SELF'" }),
  };
  for (const [message, call] of Object.entries(rows))
    await assert.rejects(call, (error) => {
      assert.ok(error instanceof ValueError, error);
      assert.equal(error.message, message);
      return true;
    });
  assert.deepEqual(await requests(), []);
});
