// Every call of facebook-nodejs-business-sdk that publishes posts, photos and videos.
import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import {
  agent,
  bytes,
  clip,
  photo,
  png,
  raw,
  require,
  reset,
  setSwitches,
  sha256,
  state,
} from './support.mjs';

const {
  FacebookAdsApi,
  FacebookAdsApiBatch,
  User,
  Page,
  Photo,
  AdVideo,
  PagePost,
  Comment,
} = require('facebook-nodejs-business-sdk');
const axios = require('axios');

axios.defaults.httpsAgent = agent;
axios.defaults.proxy = false;

const api = FacebookAdsApi.init('token', 'en_US', false);
const pageId = '104000000000001';
const page = new Page(pageId, {}, undefined, api);
const me = new User('me', {}, undefined, api);

const objects = async () => (await state('facebook')).objects;
const refused = (status, code, subcode) => (error) => {
  assert.deepEqual(
    [error.status, error.response.code, error.response.error_subcode],
    [status, code, subcode],
    error.message,
  );
  assert.ok(error.response.fbtrace_id);
  return true;
};

// The SDK sends JSON. It sends a form when the parameters are one.
function form(fields, name, content, fileName) {
  const data = new FormData();
  for (const [key, value] of Object.entries(fields)) data.append(key, value);
  if (name) data.append(name, new Blob([content]), fileName);
  return data;
}

beforeEach(reset);

test('names the user and lists the pages', async () => {
  const user = await me.read(['id', 'name', 'email']);
  assert.deepEqual([user.id, user.name, user.email], ['100000000000001', 'Vera Velk', 'vera@velk.example']);
  const accounts = await me.getAccounts(['id', 'name', 'access_token'], { limit: 1 });
  assert.deepEqual([accounts[0].id, accounts[0].name, accounts.hasNext()], [pageId, 'Velk News', true]);
  await accounts.next();
  assert.deepEqual(
    [accounts[0].name, accounts[0].access_token, accounts.hasNext()],
    ['Velk Café', 'page-token-104000000000002', false],
  );
  await accounts.previous();
  assert.equal(accounts[0].id, pageId);
  const all = await me.read(['accounts{name}']);
  assert.deepEqual(
    all.accounts.data.map((account) => account.name),
    ['Velk News', 'Velk Café'],
  );
  const { text } = await raw('GET', 'https://graph.facebook.com/me/accounts?access_token=t');
  assert.match(text, /Velk Caf\\u00e9/);
  const own = await new User(
    'me',
    {},
    undefined,
    new FacebookAdsApi('page-token-104000000000002', 'en_US', false),
  ).read(['name']);
  assert.equal(own.name, 'Velk Café');
  assert.equal((await Page.getByIds([pageId, '104000000000002'], ['name'], {}, api)).length, 2);
});

test('publishes, reads, changes and deletes posts', async () => {
  const message = 'Grüße & <tags> 🎉 "quoted"';
  const post = await page.createFeed([], { message, link: 'https://velk.example/?a=1&b=2' });
  assert.match(post.id, /^104000000000001_\d+$/);
  const [stored] = await objects();
  assert.deepEqual(
    [stored.kind, stored.message, stored.link],
    ['story', message, 'https://velk.example/?a=1&b=2'],
  );
  const read = await new PagePost(post.id).read([
    'message',
    'link',
    'from{name}',
    'created_time',
    'full_picture',
  ]);
  assert.deepEqual([read.message, read.from.name], [message, 'Velk News']);
  const plain = await api.call('GET', [post.id]);
  assert.deepEqual(
    Object.keys(plain).sort(),
    ['created_time', 'id', 'message'],
    'the fields without a request for others',
  );

  await new PagePost(post.id).update([], { message: 'changed' });
  const named = await page.createFeed(['message', 'permalink_url'], {
    message: 'second',
    privacy: { value: 'SELF' },
  });
  assert.equal(named.message, 'second');
  const feed = await page.getFeed(['message'], { limit: 1 });
  assert.deepEqual([feed[0].message, feed.hasNext()], ['second', true]);
  await feed.next();
  assert.equal(feed[0].message, 'changed');
  assert.equal((await page.getFeed(['message'], { limit: 1, offset: 1 }))[0].message, 'changed');
  assert.equal((await page.getFeed(['message'], { offset: 9 })).length, 0);
  assert.equal((await objects())[1].privacy, 'SELF');

  const comment = await new PagePost(post.id).createComment([], { message: 'a comment' });
  assert.equal((await new PagePost(post.id).getComments(['message']))[0].message, 'a comment');
  assert.equal((await new Comment(comment.id).read(['message', 'from'])).from.name, 'Velk News');
  assert.deepEqual(await new PagePost(post.id).delete(), { success: true });
  await assert.rejects(new PagePost(post.id).read(['id']), refused(400, 100, 33));
  assert.deepEqual(
    (await objects()).map((object) => object.message),
    ['second'],
    'the comment has gone too',
  );
});

test('publishes photos', async () => {
  const sent = await page.createPhoto([], form({ caption: 'A gradient' }, 'source', photo, 'photo.jpg'));
  const [stored, story] = await objects();
  assert.deepEqual([stored.id, stored.sha256, stored.message], [sent.id, sha256(photo), 'A gradient']);
  assert.deepEqual(
    [sent.post_id, story.id, story.about],
    [`${pageId}_${sent.id}`, `${pageId}_${sent.id}`, sent.id],
  );
  const read = await new Photo(sent.id).read(['name', 'link', 'source', 'images']);
  assert.deepEqual(
    [read.name, read.link],
    ['A gradient', `https://www.facebook.com/photo.php?fbid=${sent.id}`],
  );
  assert.equal((await page.getPhotos(['name'], { type: 'uploaded' })).length, 1);

  const hidden = await page.createPhoto([], form({ published: 'false' }, 'source', png, 'a.png'));
  const linked = await page.createPhoto([], { url: 'https://velk.example/photo.jpg', published: false });
  const post = await page.createFeed([], {
    message: 'two',
    attached_media: [{ media_fbid: hidden.id }, { media_fbid: linked.id }],
  });
  const all = await objects();
  assert.deepEqual(all.find((object) => object.id === post.id).attached, [hidden.id, linked.id]);
  assert.equal(all.find((object) => object.id === linked.id).url, 'https://velk.example/photo.jpg');
  assert.equal((await page.getFeed([])).length, 2, 'unpublished photos have no story');

  await assert.rejects(
    page.createPhoto([], form({}, 'source', 'a text', 'photo.jpg')),
    refused(400, 324, 2069019),
  );
  await assert.rejects(page.createPhoto([], { caption: 'no photo' }), refused(400, 324, undefined));
  await new Photo(sent.id).delete();
  await assert.rejects(new PagePost(sent.post_id).read(['id']), refused(400, 100, 33));
});

test('publishes videos in one request', async () => {
  const sent = await page.createVideo(
    [],
    form({ title: 'Bars', description: 'Colour bars' }, 'source', clip, 'clip.mp4'),
  );
  const [stored] = await objects();
  assert.deepEqual(
    [stored.id, stored.title, stored.description, stored.sha256],
    [sent.id, 'Bars', 'Colour bars', sha256(clip)],
  );
  const read = await new AdVideo(sent.id).read(['title', 'status', 'source', 'length']);
  assert.deepEqual([read.title, read.status.video_status], ['Bars', 'ready']);
  const other = await api.call(
    'POST',
    ['me', 'videos'],
    form({}, 'source', clip, 'clip.mp4'),
    {},
    false,
    FacebookAdsApi.GRAPH_VIDEO,
  );
  assert.equal((await objects())[1].id, other.id);
  assert.equal((await page.getVideos(['title'])).length, 1);
  await assert.rejects(page.createVideo([], { title: 'no video' }), refused(400, 353, undefined));
  await new AdVideo(sent.id).update({ title: 'Other bars' });
  assert.equal((await objects())[0].title, 'Other bars');
});

test('publishes videos in phases', async () => {
  const video = bytes(1_500_000);
  const started = await page.createVideo([], { upload_phase: 'start', file_size: video.length });
  const { upload_session_id: session, video_id: id } = started;
  let { start_offset: start, end_offset: end } = started;
  assert.deepEqual([start, end], ['0', '1048576']);
  const transfer = (from, to) =>
    page.createVideo(
      [],
      form(
        { upload_phase: 'transfer', upload_session_id: session, start_offset: from },
        'video_file_chunk',
        video.subarray(Number(from), Number(to)),
        'chunk',
      ),
    );
  await assert.rejects(transfer('5', '10'), (error) => {
    assert.deepEqual(error.response.error_data, { start_offset: '0', end_offset: '1048576' });
    return refused(400, 6000, 1363037)(error);
  });
  const finish = () =>
    page.createVideo([], { upload_phase: 'finish', upload_session_id: session, title: 'In phases' });
  while (start !== end) {
    await assert.rejects(finish(), refused(400, 6000, 1363037));
    ({ start_offset: start, end_offset: end } = await transfer(start, end));
  }
  assert.equal((await finish()).success, true);
  const [stored] = await objects();
  assert.deepEqual([stored.id, stored.title, stored.sha256], [id, 'In phases', sha256(video)]);
  await assert.rejects(finish(), refused(400, 6000, 1363019));
  const cancelled = await page.createVideo([], { upload_phase: 'start', file_size: 1 });
  await page.createVideo([], { upload_phase: 'cancel', upload_session_id: cancelled.upload_session_id });
  assert.deepEqual((await state('facebook')).sessions, []);
});

test('runs a batch', async () => {
  const batch = new FacebookAdsApiBatch(api);
  const results = [];
  const collect = (response) => results.push(response);
  batch.add('POST', `${pageId}/feed`, { message: 'from a batch' }, null, collect, collect);
  batch.add('GET', 'me', { fields: 'name' }, null, collect, collect);
  batch.add('GET', '1_2', {}, null, collect, collect);
  await batch.execute();
  assert.deepEqual(
    results.map((response) => response.status),
    [200, 200, 400],
  );
  assert.equal(results[1].body.name, 'Vera Velk');
  assert.equal((await objects())[0].message, 'from a batch');
});

test('refuses what the service refuses', async () => {
  const as = (token) => new Page(pageId, {}, undefined, new FacebookAdsApi(token, 'en_US', false));
  await assert.rejects(as('expired').createFeed([], { message: 'x' }), refused(400, 190, 463));
  await assert.rejects(as('forbidden').createFeed([], { message: 'x' }), refused(403, 200, undefined));
  await assert.rejects(page.createFeed([], {}), refused(400, 100, undefined));
  await assert.rejects(
    page.createFeed([], { message: 'x', privacy: { value: 'SOME' } }),
    refused(400, 100, undefined),
  );
  await assert.rejects(new Page('1').createFeed([], { message: 'x' }), refused(400, 100, 33));
  await assert.rejects(me.read(['id', 'nonsense']), (error) => {
    assert.match(error.message, /nonexisting field \(nonsense\) on node type \(User\)/);
    return refused(400, 100, undefined)(error);
  });
  await assert.rejects(me.read(['id{']), refused(400, 2500, undefined));
  await assert.rejects(api.call('GET', [pageId, 'nonsense']), refused(400, 2500, undefined));
  await assert.rejects(me.getAccounts([], { after: 'x' }), refused(400, 100, undefined));
});

test('limits the rate', async () => {
  await setSwitches({ facebook: { appLimit: 1 } });
  await page.createFeed([], { message: 'the last one' });
  await assert.rejects(page.createFeed([], { message: 'too many' }), (error) => {
    assert.equal(JSON.parse(error.headers['x-app-usage']).call_count, 100);
    assert.equal(error.response.is_transient, true);
    return refused(403, 4, undefined)(error);
  });
  await setSwitches({ facebook: { appLimit: null, callLimit: 0 } });
  await assert.rejects(me.read(['id']), refused(400, 613, undefined));
});
