// Shows bodies: JSON indented, forms as tables, and what is not text as size and picture.
import { make } from './dom.js';
import { size } from './format.js';

const kLargestJson = 512 * 1024;

/**
 * @param {Object} body
 * @param {string|undefined} body.text
 * @param {string|undefined} body.base64 present when the bytes are no text
 * @param {number} body.size
 * @param {string|undefined} body.sha256
 * @param {string} body.type
 * @param {string} body.url from which its bytes can be fetched
 * @param {boolean} body.isStored in a file
 * @returns {HTMLElement|Array}
 */
export function bodyOf(body) {
  if (body.size === 0) return make('p.small', {}, 'No body.');
  if (body.text === undefined || body.base64 !== undefined) return binary(body);
  if (/x-www-form-urlencoded/.test(body.type)) return pairsTable('Form', [...new URLSearchParams(body.text)]);
  const indented = body.text.length <= kLargestJson ? indentedJson(body.text) : undefined;
  return make('pre.body', {}, indented ?? body.text);
}

function indentedJson(text) {
  if (!/^\s*[[{]/.test(text)) return undefined;
  try {
    JSON.parse(text);
  } catch {
    return undefined;
  }
  return colored(indented(text));
}

// Only the white space changes: a number of 64 bits, an escape and a repeated name stay as they were sent.
function indented(json) {
  const tokens = json.match(/"(?:[^"\\]|\\.)*"|[[\]{},:]|[^\s[\]{},:"]+/g);
  const isOpening = (token) => token === '[' || token === '{';
  const isClosing = (token) => token === ']' || token === '}';
  let depth = 0;
  const line = () => `\n${'  '.repeat(depth)}`;
  const parts = tokens.map((token, index) => {
    if (isOpening(token)) {
      ++depth;
      return isClosing(tokens[index + 1]) ? token : token + line();
    }
    if (isClosing(token)) {
      --depth;
      return isOpening(tokens[index - 1]) ? token : line() + token;
    }
    if (token === ',') return token + line();
    return token === ':' ? ': ' : token;
  });
  return parts.join('');
}

// Keys, strings and the other values have different colors.
function colored(json) {
  const token = /("(?:[^"\\]|\\.)*")(\s*:)?|\b(?:true|false|null)\b|-?\d[\d.eE+-]*/g;
  const parts = [];
  let end = 0;
  for (const match of json.matchAll(token)) {
    parts.push(json.slice(end, match.index));
    const kind = match[2] ? 'key' : match[1] ? 'string' : 'value';
    parts.push(make(`span.${kind}`, {}, match[1] ?? match[0]), match[2] ?? '');
    end = match.index + match[0].length;
  }
  return [...parts, json.slice(end)];
}

function binary({ size: bytes, sha256, type, url, isStored, base64 }) {
  const isThere = isStored || base64 !== undefined;
  const facts = make('p.small', {}, `${size(bytes)}${type ? ` of ${type}` : ''}`, [
    sha256 && [', SHA-256 ', make('code', {}, sha256)],
    !isThere && ', not stored',
  ]);
  return isThere ? [facts, preview(url, type)] : facts;
}

// What turns out to be no picture is not shown.
function preview(url, type) {
  const isVideo = type.startsWith('video/');
  const element = isVideo
    ? make('video.preview', { src: url, controls: true, preload: 'metadata' })
    : make('img.preview', { src: url, alt: 'The content as a picture' });
  element.addEventListener('error', () => element.remove());
  return element;
}

/**
 * @param {string} title
 * @param {string[][]} pairs
 * @returns {HTMLElement|null} null without pairs
 */
export function pairsTable(title, pairs) {
  if (!pairs.length) return null;
  const rows = pairs.map(([name, value]) => make('tr', {}, make('th', { scope: 'row' }, name), make('td', {}, value)));
  return make('table', {}, make('caption', {}, title), make('tbody', {}, rows));
}

/** @param {Object} exchange @returns {HTMLElement} its multipart form as a table */
export function fieldsOf({ id, fields }) {
  const rows = fields.map((field, index) => {
    const content = bodyOf({
      text: field.content,
      base64: field.contentBase64,
      size: field.size,
      sha256: field.sha256,
      type: field.contentType,
      url: `/requests/${id}/fields/${index}`,
      isStored: Boolean(field.file),
    });
    const name = [field.name, field.fileName && make('div.small', {}, field.fileName)];
    return make('tr', {}, make('th', { scope: 'row' }, name), make('td', {}, field.size ? content : ''));
  });
  return make('table', {}, make('caption', {}, 'Multipart form'), make('tbody', {}, rows));
}
