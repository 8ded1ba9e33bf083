// Writes strings as the library requires them, and the records that contain them.
'use strict';

const { ValueError } = require('./errors.cjs');

const plain = (text) => text;

const percentEncoded = (text) =>
  encodeURIComponent(text).replace(/[!'()*]/g, (c) => `%${c.charCodeAt(0).toString(16).toUpperCase()}`);

// The library takes "NULL" in a post for an absent value.
const postText = (text) => (text === 'NULL' ? '%4EULL' : percentEncoded(text));

const escapes = { '\\': '\\\\', '\n': '\\n', '\r': '\\r', '\t': '\\t' };

// YouTube's texts travel between single quotes. Without line ends, the library's own escaping changes nothing.
const youtubeText = (text) =>
  text.replace(
    // eslint-disable-next-line no-control-regex
    /[\\'\x01-\x1f]/g,
    (c) => escapes[c] ?? `\\u00${c.charCodeAt(0).toString(16).toUpperCase().padStart(2, '0')}`,
  );

/** A value as it goes to the library, with a terminator. It is never cut. */
function encoded(value = '', name, encode = plain, longest = Infinity) {
  if (typeof value !== 'string') throw new ValueError(`${name} is no string`);
  if (value.includes('\0')) throw new ValueError(`${name} contains a NUL`);
  if (Buffer.from(value).toString() !== value)
    throw new ValueError(`${name} contains half of a surrogate pair`);
  const bytes = Buffer.from(`${encode(value)}\0`);
  if (bytes.length - 1 <= longest) return bytes;
  throw new ValueError(
    `${name} is too long: ${bytes.length - 1} bytes as it is sent, and at most ${longest} fit`,
  );
}

// Offset and width of each field, and the size of each record, as the header lists them.
const layouts = {
  FacebookUploadInfo: {
    size: 53624,
    updateKind: [0, 4],
    targetId: [4, 260],
    filePath: [264, 1024],
    title: [1288, 260],
    description: [1548, 50000],
    privacy: [51548, 25],
    link: [51573, 2048],
  },
  FacebookPage: { size: 1284, id: [0, 260], name: [260, 1024] },
  TwitterConsumer: { size: 2048, consumerKey: [0, 1024], consumerSecret: [1024, 1024] },
  TwitterAccessRequest: {
    size: 4096,
    consumerKey: [0, 1024],
    consumerSecret: [1024, 1024],
    requestToken: [2048, 1024],
    verifier: [3072, 1024],
  },
  TwitterAccessToken: {
    size: 2568,
    oauthToken: [0, 1024],
    oauthTokenSecret: [1024, 1024],
    userId: [2048, 260],
    screenName: [2308, 260],
  },
  TwitterUploadFile: { size: 3072, fileName: [0, 1024], folderPath: [1024, 1024], statusText: [2048, 1024] },
  YoutubeUploadInfo: {
    size: 7398,
    filePath: [0, 1024],
    title: [1024, 300],
    description: [1324, 5000],
    privacyStatus: [6324, 25],
    categoryId: [6349, 25],
    tags: [6374, 1024],
  },
};

/** A record. Each field is [value, its name for the caller, its encoding, a limit below its width]. */
function record(type, fields) {
  const layout = layouts[type];
  const bytes = Buffer.alloc(layout.size);
  for (const [field, [value, name, encode, longest = Infinity]] of Object.entries(fields)) {
    const [offset, width] = layout[field];
    encoded(value, name, encode, Math.min(longest, width - 1)).copy(bytes, offset);
  }
  return bytes;
}

/** A string of the library, up to its terminator. */
function decoded(bytes) {
  const end = bytes.indexOf(0);
  return Buffer.from(bytes.subarray(0, end < 0 ? bytes.length : end)).toString();
}

/** The fields of a record that the library wrote. */
function fieldsOf(type, bytes) {
  const fields = Object.entries(layouts[type]).filter(([name]) => name !== 'size');
  return Object.fromEntries(
    fields.map(([name, [offset, width]]) => [name, decoded(bytes.subarray(offset, offset + width))]),
  );
}

/**
 * A name or URL in a reply. The library returns it with JSON's escapes and ends it at a quote. After an unusual reply
 * it returns the punctuation around a value that is none, such as ":123,".
 */
function replied(bytes) {
  const text = decoded(bytes);
  if (text === ': ' || text === ',' || /^:.*,$/s.test(text)) return '';
  return text.replace(/\\(?:u([0-9a-fA-F]{4})|([^])|$)/g, (_, hex, c = '') =>
    hex ? String.fromCharCode(parseInt(hex, 16)) : ({ b: '\b', f: '\f', n: '\n', r: '\r', t: '\t' }[c] ?? c),
  );
}

module.exports = {
  decoded,
  encoded,
  fieldsOf,
  layouts,
  percentEncoded,
  plain,
  postText,
  record,
  replied,
  youtubeText,
};
