// Every call of twitter-api-v2 that publishes.
import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import {
  agent,
  bytes,
  clip,
  clipPath,
  gif,
  photo,
  photoPath,
  png,
  raw,
  require,
  reset,
  setSwitches,
  sha256,
  state,
} from './support.mjs';

const { TwitterApi, EUploadMimeType } = require('twitter-api-v2');

const app = { appKey: 'ck', appSecret: 'ck-secret' };
const user = { ...app, accessToken: '7-tk', accessSecret: '7-tk-secret' };
const client = new TwitterApi(user, { httpAgent: agent });

const twitter = () => state('twitter');
const errorCode = (code, status) => (error) => {
  assert.equal(error.code, status);
  assert.equal(error.errors[0].code, code);
  return true;
};

beforeEach(reset);

test('signs in with a PIN', async () => {
  const signIn = await new TwitterApi(app, { httpAgent: agent }).generateAuthLink('oob', {
    linkMode: 'authorize',
  });
  assert.equal(signIn.oauth_callback_confirmed, 'true');
  const page = await raw('GET', signIn.url);
  assert.match(page.text, /<code>1234567<\/code>/);
  const keys = { ...app, accessToken: signIn.oauth_token, accessSecret: signIn.oauth_token_secret };
  await assert.rejects(new TwitterApi(keys, { httpAgent: agent }).login('7654321'), { code: 401 });
  const {
    client: own,
    userId,
    screenName,
  } = await new TwitterApi(keys, { httpAgent: agent }).login('1234567');
  assert.deepEqual([userId, screenName], ['7505382', 'velk_sandbox']);
  await own.v1.tweet('signed in');
  await assert.rejects(new TwitterApi(keys, { httpAgent: agent }).login('1234567'), { code: 401 }, 'used up');
});

test('signs in with a callback', async () => {
  const callback = 'https://app.example/back?from=velk';
  const signIn = await new TwitterApi(app, { httpAgent: agent }).generateAuthLink(callback);
  const page = await raw('GET', signIn.url);
  assert.equal(page.status, 302);
  const target = new URL(page.headers.location);
  assert.equal(target.origin + target.pathname, 'https://app.example/back');
  assert.equal(target.searchParams.get('from'), 'velk');
  assert.equal(target.searchParams.get('oauth_token'), signIn.oauth_token);
  const keys = { ...app, accessToken: signIn.oauth_token, accessSecret: signIn.oauth_token_secret };
  const { client: own } = await new TwitterApi(keys, { httpAgent: agent }).login(
    target.searchParams.get('oauth_verifier'),
  );
  const account = await own.v1.verifyCredentials({ include_email: true });
  assert.deepEqual([account.id_str, account.screen_name], ['7505382', 'velk_sandbox']);
});

test('names the user', async () => {
  assert.equal((await client.v1.verifyCredentials()).id_str, '7');
  assert.equal((await client.v2.me()).data.username, 'velk_sandbox');
  assert.equal((await client.currentUser()).id, 7);
  const stranger = new TwitterApi({ ...user, accessSecret: 'wrong' }, { httpAgent: agent });
  await assert.rejects(stranger.v1.verifyCredentials(), errorCode(32, 401));
});

test('tweets, replies, quotes, and reads them', async () => {
  const text = "50% off & more – it's (ünïcode) ☃ 🎉 *!";
  const first = await client.v1.tweet(text);
  assert.equal(first.full_text, text);
  const reply = await client.v1.reply('first reply', first.id_str);
  const quote = await client.v1.quote('quoted', first.id_str);
  const thread = await client.v1.tweetThread(['one', { status: 'two' }]);
  assert.equal(thread[1].in_reply_to_status_id_str, thread[0].id_str);
  const { tweets } = await twitter();
  assert.deepEqual(
    tweets.map((tweet) => tweet.text),
    [text, 'first reply', 'quoted', 'one', 'two'],
  );
  assert.deepEqual(
    tweets.map((tweet) => tweet.replyTo),
    ['', first.id_str, '', '', thread[0].id_str],
  );
  assert.equal(tweets[2].quoted, first.id_str);
  assert.deepEqual(new Set(tweets.map((tweet) => tweet.user)), new Set(['7']));

  const read = await client.v1.singleTweet(reply.id_str);
  assert.deepEqual([read.full_text, read.in_reply_to_status_id_str], ['first reply', first.id_str]);
  const listed = await client.v1.tweets([first.id_str, quote.id_str, '1']);
  assert.deepEqual(
    listed.map((tweet) => tweet.full_text),
    [text, 'quoted'],
  );
  const timeline = await client.v1.userTimeline('7', { count: 2 });
  assert.deepEqual(
    timeline.tweets.map((tweet) => tweet.full_text),
    ['two', 'one'],
  );
});

test('deletes tweets', async () => {
  const tweet = await client.v1.tweet('gone soon');
  const other = new TwitterApi(
    { ...user, accessToken: '8-x', accessSecret: '8-x-secret' },
    { httpAgent: agent },
  );
  await assert.rejects(other.v1.deleteTweet(tweet.id_str), errorCode(183, 403));
  assert.equal((await client.v1.deleteTweet(tweet.id_str)).id_str, tweet.id_str);
  await assert.rejects(client.v1.deleteTweet(tweet.id_str), errorCode(144, 404));
  await assert.rejects(client.v1.singleTweet(tweet.id_str), errorCode(144, 404));
  assert.deepEqual((await twitter()).tweets, []);
  await client.v1.tweet('gone soon');
});

test('tweets through version 2', async () => {
  const photoId = await client.v1.uploadMedia(png, { mimeType: EUploadMimeType.Png });
  const { data: first } = await client.v2.tweet('hello v2', { media: { media_ids: [photoId] } });
  const { data: reply } = await client.v2.reply('reply v2', first.id);
  await client.v2.quote('quote v2', first.id);
  const { tweets } = await twitter();
  assert.deepEqual(
    tweets.map((tweet) => tweet.text),
    ['hello v2', 'reply v2', 'quote v2'],
  );
  assert.deepEqual([tweets[0].mediaIds, tweets[1].replyTo, tweets[2].quoted], [photoId, first.id, first.id]);
  const { data: read } = await client.v2.singleTweet(reply.id, {
    'tweet.fields': ['author_id', 'created_at'],
  });
  assert.deepEqual([read.text, read.author_id], ['reply v2', '7']);
  assert.equal((await client.v2.tweets([first.id, reply.id])).data.length, 2);
  assert.equal((await client.v2.userTimeline('7')).tweets.length, 3);
  await assert.rejects(client.v2.tweet('hello v2', { media: { media_ids: [photoId] } }), { code: 403 });
  assert.equal((await client.v2.deleteTweet(reply.id)).data.deleted, true);
  assert.equal((await client.v2.singleTweet(reply.id)).errors[0].title, 'Not Found Error');
  const bearer = new TwitterApi('a token of OAuth 2', { httpAgent: agent });
  await bearer.v2.tweet('with a bearer token');
});

test('refuses what the service refuses', async () => {
  await client.v1.tweet('once');
  await assert.rejects(client.v1.tweet('once'), errorCode(187, 403));
  await assert.rejects(client.v1.tweet(''), errorCode(170, 403));
  await client.v1.tweet('a'.repeat(280));
  await assert.rejects(client.v1.tweet('a'.repeat(281)), errorCode(186, 403));
  await assert.rejects(client.v1.tweet('面'.repeat(141)), errorCode(186, 403));
  await client.v1.tweet('面'.repeat(128) + 'https://velk.example/' + 'long'.repeat(50));
  await assert.rejects(client.v1.reply('to nobody', '1'), errorCode(385, 403));
  await assert.rejects(client.v1.tweet('with media', { media_ids: '1' }), errorCode(324, 400));
  await assert.rejects(client.v1.get('no/such/path.json'), errorCode(34, 404));
  await assert.rejects(client.v2.get('no/such/path'), { code: 404 });
});

test('uploads a photo by its path and as bytes', async () => {
  const ids = [
    await client.v1.uploadMedia(photoPath),
    await client.v1.uploadMedia(png, { mimeType: EUploadMimeType.Png }),
    await client.v1.uploadMedia(Buffer.concat([png, bytes(300000)]), {
      mimeType: EUploadMimeType.Png,
      chunkLength: 65536,
    }),
  ];
  const tweet = await client.v1.tweet('three photos', { media_ids: ids });
  assert.equal(tweet.extended_entities.media.length, 3);
  await client.v1.createMediaMetadata(ids[0], { alt_text: { text: 'a gradient' } });
  const { media, tweets } = await twitter();
  assert.deepEqual(
    media.map((one) => one.sha256),
    [photo, png, Buffer.concat([png, bytes(300000)])].map(sha256),
  );
  assert.deepEqual(
    [media[0].type, media[0].altText, tweets[0].mediaIds],
    ['image/jpeg', 'a gradient', ids.join(',')],
  );
  const fifth = await client.v1.uploadMedia(png, { mimeType: EUploadMimeType.Png });
  const five = [...ids, fifth, fifth];
  await assert.rejects(client.v1.tweet('five photos', { media_ids: five }), errorCode(324, 400));
});

test('refuses what is no photo as a photo', async () => {
  await assert.rejects(client.v1.uploadMedia(clip, { mimeType: EUploadMimeType.Jpeg }), errorCode(324, 400));
  await assert.rejects(
    client.v1.uploadMedia(bytes(5242881), { mimeType: EUploadMimeType.Jpeg }),
    errorCode(324, 400),
  );
  await assert.rejects(
    client.v1.uploadMedia(bytes(10), { mimeType: 'application/pdf' }),
    errorCode(324, 400),
  );
});

test('uploads a video, a GIF and subtitles, which are processed', async () => {
  const video = await client.v1.uploadMedia(clipPath, { chunkLength: 20000 });
  const animation = await client.v1.uploadMedia(gif, { mimeType: EUploadMimeType.Gif });
  const text = await client.v1.uploadMedia(Buffer.from('1\n00:00 --> 00:01\nHi\n'), {
    mimeType: EUploadMimeType.Srt,
  });
  await client.v1.createMediaSubtitles(video, [
    { media_id: text, language_code: 'EN', display_name: 'English' },
  ]);
  await client.v1.tweet('a video', { media_ids: video });
  await client.v1.tweet('an animation', { media_ids: animation });
  const { media, tweets } = await twitter();
  assert.deepEqual(
    media.map((one) => one.type),
    ['video/mp4', 'image/gif', 'text/plain'],
  );
  assert.deepEqual(
    media.map((one) => one.category),
    ['amplifyvideo', 'tweetgif', 'subtitles'],
  );
  assert.equal(media[0].sha256, sha256(clip));
  assert.deepEqual(media[0].subtitles, ['EN']);
  assert.equal(tweets.length, 2);
  await client.v1.deleteMediaSubtitles(video, 'EN');
  assert.deepEqual((await twitter()).media[0].subtitles, []);
  await assert.rejects(client.v1.tweet('mixed', { media_ids: [video, animation] }), errorCode(324, 400));
});

test('takes any upload through the states of processing', async () => {
  await setSwitches({ twitter: { processingSteps: 2 } });
  const upload = client.v1.uploadMedia(png, { mimeType: EUploadMimeType.Png }, true);
  const { media_id_string: id, processing_info: info } = await upload.catch((error) => assert.fail(error));
  assert.equal(info.state, 'pending');
  assert.equal((await client.v1.mediaInfo(id)).processing_info.state, 'succeeded');

  await setSwitches({ twitter: { processingSteps: 1, processingFails: 1 } });
  const failed = client.v1.uploadMedia(png, { mimeType: EUploadMimeType.Png });
  await assert.rejects(failed, /Failed to process media: InvalidMedia/);
  const { media } = await twitter();
  await assert.rejects(client.v1.tweet('failed', { media_ids: media[1].id }), errorCode(324, 400));
});

test('limits the rate', async () => {
  await setSwitches({ twitter: { rateLimit: 1 } });
  await client.v1.tweet('the last one');
  await assert.rejects(client.v1.tweet('too many'), (error) => {
    assert.equal(error.rateLimitError, true);
    assert.deepEqual([error.rateLimit.limit, error.rateLimit.remaining], [900, 0]);
    assert.ok(error.rateLimit.reset > Date.now() / 1000);
    return errorCode(88, 429)(error);
  });
  await assert.rejects(client.v2.tweet('too many'), { code: 429 });
  await reset();
  await client.v1.tweet('more');
});
