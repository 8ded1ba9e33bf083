// Signs requests as Twitter requires.
import { createHmac, randomUUID } from 'node:crypto';

const hexOf = (character) => `%${character.charCodeAt(0).toString(16).toUpperCase()}`;
const encode = (text) => encodeURIComponent(text).replace(/[!'()*]/g, hexOf);

/**
 * Makes the value of the header Authorization.
 * @param {string} method
 * @param {string} url without a query; a client with a mistake signs another one than it requests
 * @param {Object} own OAuth parameters besides those that every request has
 * @param {Object} form parameters of the body
 * @param {string} key the secret of the consumer, "&", and that of the token
 */
export function oauthHeader(method, url, own, form, key) {
  const parameters = {
    oauth_consumer_key: 'velk',
    oauth_nonce: randomUUID(),
    oauth_signature_method: 'HMAC-SHA1',
    oauth_timestamp: String(Math.floor(Date.now() / 1000)),
    oauth_version: '1.0',
    ...own,
  };
  const all = Object.entries({ ...parameters, ...form }).map(([name, value]) => `${encode(name)}=${encode(value)}`);
  const base = [method, url, all.sort().join('&')].map(encode).join('&');
  const signed = { ...parameters, oauth_signature: createHmac('sha1', key).update(base).digest('base64') };
  const list = Object.entries(signed).map(([name, value]) => `${encode(name)}="${encode(value)}"`);
  return `OAuth ${list.join(', ')}`;
}
