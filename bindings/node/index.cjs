// Publishes to Facebook, Twitter and YouTube. index.d.cts documents each function.
'use strict';

const { createHash } = require('node:crypto');
const { call, checked, follow, load } = require('./calls.cjs');
const { ValueError, VelkError, results } = require('./errors.cjs');
const { LibraryError } = require('./library.cjs');
const records = require('./records.cjs');

const { decoded, encoded, layouts, percentEncoded, postText, record, replied, youtubeText } = records;
const valueCapacity = 1024; // of a value that the library writes without a size
const value = () => new Uint8Array(valueCapacity);
const int32 = (number) => new Int32Array([number]);

// ---- The process ----

const proxyCapacity = 256;

function setProxy(url) {
  const bytes = encoded(url, 'proxy', undefined, proxyCapacity - 1);
  load().SetLibVelkUploadProxy(bytes);
}

function getProxy() {
  const url = new Uint8Array(proxyCapacity);
  load().GetLibVelkUploadProxy(url, int32(proxyCapacity));
  return decoded(url);
}

// ---- Facebook ----

const inUrl = (text, name) => encoded(text, name, percentEncoded);

function describe({ target = '', privacy = '' }, fields) {
  // The library publishes to the user's own feed instead of a node that is no number.
  if (target !== '' && !/^[1-9]/.test(target))
    throw new ValueError('target is no identifier: it begins with a digit from 1 to 9');
  if (/[^A-Z_]/.test(privacy)) throw new ValueError('privacy has other characters than A to Z and _');
  return record('FacebookUploadInfo', {
    targetId: [target, 'target', percentEncoded],
    privacy: [privacy, 'privacy'],
    ...fields,
  });
}

async function fetchUrl(name, token, id) {
  const args = [inUrl(token, 'token'), inUrl(id, 'id')];
  for (let size = 2 * valueCapacity; ; ) {
    const reply = await call(name, [...args, new Uint8Array(size), int32(size)]);
    if (reply.result === 0) return replied(reply.args[2]);
    if (reply.result !== -6) throw new VelkError(reply.result);
    [size] = reply.args[3];
  }
}

// The valid tokens of the last minutes, since each check of one costs memory until the process exits.
const valid = new Map();
const validFor = 5 * 60_000;
const mostValid = 256;

async function fetchValidity(appId, token) {
  const args = await checked('CheckFacebookAccessTokenValid', [
    inUrl(appId, 'appId'),
    inUrl(token, 'token'),
    new Uint32Array(1),
  ]);
  return args[2][0] !== 0;
}

const facebook = {
  async exchangeToken(appId, appSecret, token) {
    const args = await checked('ExangeFacebookAccessToken', [
      inUrl(appId, 'appId'),
      inUrl(appSecret, 'appSecret'),
      inUrl(token, 'token'),
      value(),
      new Uint32Array(1),
      new Uint32Array(1),
    ]);
    const exchanged = replied(args[3]);
    if (!exchanged) throw new VelkError(-4);
    return { token: exchanged, expiresIn: args[5][0] || undefined };
  },

  async checkToken(appId, token) {
    const key = createHash('sha256')
      .update(JSON.stringify([appId, token]))
      .digest('base64');
    for (const [known, { end }] of valid) if (end <= performance.now()) valid.delete(known);
    if (valid.has(key)) return valid.get(key).check;
    // Checks at the same time share one request.
    const check = fetchValidity(appId, token);
    if (valid.size >= mostValid) valid.clear();
    valid.set(key, { check, end: performance.now() + validFor });
    const isValid = await check.catch((error) => {
      valid.delete(key);
      throw error;
    });
    if (!isValid) valid.delete(key);
    return isValid;
  },

  async user(token) {
    const args = [inUrl(token, 'token'), value(), int32(valueCapacity), value(), int32(valueCapacity)];
    const [, name, , email] = await checked('GetFacebookUserNameEmail', args);
    return { name: replied(name), email: replied(email) };
  },

  async pages(token) {
    const args = [inUrl(token, 'token'), new BigUint64Array(1), int32(0)];
    const { result, pages } = await call('GetFacebookUserPagesList', args);
    if (result !== 0 && result !== 2) throw new VelkError(result);
    const { size } = layouts.FacebookPage;
    return Array.from({ length: pages.length / size }, (_, index) =>
      records.fieldsOf('FacebookPage', pages.subarray(index * size, (index + 1) * size)),
    );
  },

  async uploadVideo(token, video, options) {
    const info = describe(video, {
      filePath: [video.file, 'file'],
      title: [video.title, 'title'],
      description: [video.description, 'description'],
    });
    const args = [inUrl(token, 'token'), info, value()];
    return decoded((await follow('Facebook', 'StartFacebookUploadVideo', args, options))[2]);
  },

  async uploadPhoto(token, photo, options) {
    const info = describe(photo, { filePath: [photo.file, 'file'], description: [photo.message, 'message'] });
    const args = [inUrl(token, 'token'), info, value()];
    return decoded((await follow('Facebook', 'StartFacebookUploadPhoto', args, options))[2]);
  },

  async post(token, post) {
    const info = describe(post, {
      description: [post.message, 'message', postText],
      link: [post.link, 'link', postText],
    });
    return decoded((await checked('PostFacebookComment', [inUrl(token, 'token'), info, value()]))[2]);
  },

  async update(token, id, { message, privacy, description }) {
    if (
      (message === undefined) === (description === undefined) ||
      (privacy !== undefined && message === undefined)
    )
      throw new ValueError('a change has either a message, or a message and a privacy, or a description');
    const text = message === undefined ? [description, 'description'] : [message, 'message'];
    const info = describe({ privacy }, { description: [...text, percentEncoded] });
    info.writeUInt32LE(
      description !== undefined ? 2 : privacy !== undefined ? 1 : 0,
      layouts.FacebookUploadInfo.updateKind[0],
    );
    await checked('SetFacebookUpdateInfo', [inUrl(token, 'token'), inUrl(id, 'id'), info]);
  },

  photoUrl: (token, id) => fetchUrl('GetFacebookPhotoUrl', token, id),
  videoUrl: (id) => fetchUrl('GetFacebookVideoUrl', '', id),
  videoEmbedUrl: (token, id) => fetchUrl('GetFacebookVideoEmbedUrl', token, id),
};

// ---- Twitter ----

// The library uses that many bytes of each, and Twitter refuses what is longer as unknown.
const longestKey = 1004;
const longestToken = 1011;

const consumerFields = ({ key, secret }) => ({
  consumerKey: [key, 'key', undefined, longestKey],
  consumerSecret: [secret, 'secret'],
});

const credentials = (consumer, { token, tokenSecret, id, screenName }) => [
  record('TwitterConsumer', consumerFields(consumer)),
  record('TwitterAccessToken', {
    oauthToken: [token, 'token', undefined, longestToken],
    oauthTokenSecret: [tokenSecret, 'tokenSecret'],
    userId: [id, 'id'],
    screenName: [screenName, 'screenName'],
  }),
];

// Twitter would see a text that is too long only after its photo.
const tweetText = (text) => encoded(text, 'text', undefined, 420);

const twitter = {
  async signIn({ key, secret }) {
    const consumerKey = encoded(key, 'key', undefined, longestKey);
    const args = [consumerKey, encoded(secret, 'secret'), null, new Uint8Array(2 * valueCapacity)];
    const url = decoded((await checked('GetTwitterOauthUrl', args))[3]);
    return { url, requestToken: url.slice(url.indexOf('oauth_token=') + 'oauth_token='.length) };
  },

  async finishSignIn(consumer, requestToken, pin) {
    const request = record('TwitterAccessRequest', {
      ...consumerFields(consumer),
      requestToken: [requestToken, 'requestToken'],
      verifier: [pin.trim(), 'pin', percentEncoded],
    });
    const user = new Uint8Array(layouts.TwitterAccessToken.size);
    const written = (await checked('GetTwitterAccessToken', [request, user]))[1];
    const fields = records.fieldsOf('TwitterAccessToken', written);
    // A reply without all fields counts as a success.
    if (Object.values(fields).includes('')) throw new VelkError(-4);
    const { oauthToken, oauthTokenSecret, userId, screenName } = fields;
    return { token: oauthToken, tokenSecret: oauthTokenSecret, id: userId, screenName };
  },

  async tweet(consumer, user, text, mediaIds = []) {
    const media = encoded(mediaIds.join(','), 'mediaIds');
    await checked('PostTwitterComment', [...credentials(consumer, user), tweetText(text), media]);
  },

  async uploadPhoto(consumer, user, { file = '', text }, options) {
    tweetText(text);
    // The library joins both with a separator.
    const [, folder, name] = (
      process.platform === 'win32' ? /^(?:(.*)[\\/])?([^\\/]*)$/s : /^(?:(.*)\/)?([^/]*)$/s
    ).exec(file);
    const photo = record('TwitterUploadFile', {
      fileName: [name, 'file'],
      folderPath: [folder ?? '.', 'file'],
      statusText: [text, 'text'],
    });
    await follow('Facebook', 'StartTwitterUploadPhoto', [...credentials(consumer, user), photo], options);
  },
};

// ---- YouTube ----

function describeVideo({ file, title, description, privacy = 'private', category = '22', tags = [] }) {
  if (tags.some((tag) => tag === '' || tag.includes('\n')))
    throw new ValueError('a tag is empty or has a line end');
  return record('YoutubeUploadInfo', {
    filePath: [file, 'file'],
    title: [title, 'title', youtubeText],
    description: [description, 'description', youtubeText],
    privacyStatus: [privacy, 'privacy', youtubeText],
    categoryId: [category, 'category', youtubeText],
    tags: [tags.join('\n'), 'tags', (list) => list.split('\n').map(youtubeText).join('\n')],
  });
}

const youtube = {
  async upload(token, video, options) {
    const args = [encoded(token, 'token'), describeVideo(video), new Uint8Array(256)];
    return decoded((await follow('Youtube', 'StartYoutubeUploadFile', args, options))[2]);
  },

  async update(token, id, video) {
    const args = [encoded(token, 'token'), encoded(id, 'id', youtubeText), describeVideo(video)];
    await checked('SetYoutubeUploadFileUpdateInfo', args);
  },
};

module.exports = {
  LibraryError,
  ValueError,
  VelkError,
  facebook,
  getProxy,
  load: (path) => void load(path),
  results,
  setProxy,
  twitter,
  youtube,
};
