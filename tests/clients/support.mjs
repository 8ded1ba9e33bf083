// What the tests of all clients share: the sandbox's control URL, an agent for its proxy, and small media.
import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { request as httpRequest } from 'node:http';
import { request as httpsRequest } from 'node:https';
import { createRequire } from 'node:module';
import { join } from 'node:path';

// The packages are in the cache, so Node.js would not find them from here.
export const require = createRequire(join(process.env.VELK_CLIENTS, 'package.json'));

const { HttpsProxyAgent } = require('https-proxy-agent');

async function send(method, path, body) {
  return new Promise((resolve, reject) => {
    const sent = httpRequest(process.env.VELK_SANDBOX_CONTROL + path, { method }, (reply) => {
      const pieces = [];
      reply.on('data', (piece) => pieces.push(piece));
      reply.on('end', () => resolve({ status: reply.statusCode, text: Buffer.concat(pieces).toString() }));
    });
    sent.on('error', reject);
    sent.end(body);
  });
}

async function control(method, path, value) {
  const { status, text } = await send(method, path, value && JSON.stringify(value));
  assert.equal(status, 200, `${method} ${path}: ${text}`);
  return JSON.parse(text);
}

export const reset = () => control('POST', '/reset');
export const setSwitches = (switches) => control('POST', '/switches', switches);
export const addScript = (script) => control('POST', '/scripts', script);
export const requests = () => control('GET', '/requests');
export const state = async (service) => (await control('GET', '/state'))[service];

const { text: authority } = await send('GET', '/ca.pem');
export const agent = new HttpsProxyAgent(process.env.VELK_SANDBOX_PROXY);
agent.options.ca = authority; // for the service; an option of the constructor would be for the proxy

// A request as no client here sends it. With breakAfter, the connection breaks after that number of body bytes.
export function raw(method, url, { headers = {}, body, breakAfter } = {}) {
  return new Promise((resolve, reject) => {
    const sent = httpsRequest(url, { method, agent, headers }, (reply) => {
      const pieces = [];
      reply.on('data', (piece) => pieces.push(piece));
      reply.on('end', () => {
        const text = Buffer.concat(pieces).toString();
        const isJson = /json/.test(reply.headers['content-type'] ?? '');
        resolve({
          status: reply.statusCode,
          headers: reply.headers,
          text,
          data: isJson ? JSON.parse(text) : undefined,
        });
      });
    });
    sent.on('error', breakAfter ? () => resolve(undefined) : reject);
    if (!breakAfter) return sent.end(body);
    sent.setHeader('Content-Length', body.length);
    sent.write(body.subarray(0, breakAfter), () => setTimeout(() => sent.destroy(), 50));
  });
}

export const sha256 = (bytes) => createHash('sha256').update(bytes).digest('hex');

// Bytes that repeat only after a long time, so that a piece in the wrong place is noticed.
export function bytes(size) {
  const content = Buffer.alloc(size);
  for (let i = 0; i < size; ++i) content[i] = (i * 31 + (i >> 8) * 17) & 0xff;
  return content;
}

const media = join(import.meta.dirname ?? new URL('.', import.meta.url).pathname, '../../examples/media');
export const photoPath = join(media, 'photo.jpg');
export const clipPath = join(media, 'clip.mp4');
export const photo = readFileSync(photoPath);
export const clip = readFileSync(clipPath);
export const png = Buffer.concat([Buffer.from('89504e470d0a1a0a', 'hex'), bytes(3000)]);
export const gif = Buffer.concat([Buffer.from('GIF89a'), bytes(3000)]);
