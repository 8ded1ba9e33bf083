// What the view Published shows: each thing is an object of a service with what belongs to it, an upload in
// progress, or a request to publish that was refused.
import { kServices } from './model.js';

const kSmallestUpload = 8192; // of the bodies that are shown while they arrive

/**
 * @typedef {Object} Thing
 * @property {string} key
 * @property {string} service
 * @property {'object'|'upload'|'refused'} type
 * @property {number} exchange that it came with; the newest thing has the greatest
 * @property {Object} [object]
 * @property {Object[]} [parts] what belongs to the object: its post, comments and media
 * @property {Object} [request] the summary of an exchange
 */

/**
 * Finds everything to show, the newest first.
 * @param {import('./model.js').Model} model
 * @returns {Thing[]}
 */
export function thingsOf(model) {
  const objects = [...model.objects.values()];
  const owners = ownersOf(objects);
  const things = [];
  for (const object of objects) {
    if (object.kind === 'signIn' || owners.has(object)) continue;
    const isUpload = isPending(object);
    if (isUpload && object.deleted) continue;
    const parts = objects.length > 1 ? owners.partsOf(object) : [];
    things.push({ ...thing(object), type: isUpload ? 'upload' : 'object', object, parts });
  }
  addExchanges(model, things);
  return things.sort((a, b) => b.exchange - a.exchange || b.order - a.order);
}

const thing = (object) => ({
  key: `${object.service}/${object.kind}/${object.id}`,
  service: object.service,
  exchange: object.history[0]?.exchange ?? 0,
  order: object.first,
});

const isPending = ({ kind, members }) => kind === 'session' || (kind === 'media' && !members.complete);

// The post of a photo, a comment and the media of a tweet are shown with what they belong to.
function ownersOf(objects) {
  const byId = new Map(objects.map((object) => [`${object.service}/${object.id}`, object]));
  const owner = new Map();
  const join = (part, whole) => {
    if (part && whole && rootOf(owner, whole) !== part) owner.set(part, whole);
  };
  for (const object of objects) {
    const { about, parent, attached = [], mediaIds } = object.members;
    const find = (id) => byId.get(`${object.service}/${id}`);
    if (about) join(object, find(about));
    if (parent) join(object, find(parent));
    for (const id of attached) join(find(id), object);
    for (const id of mediaIds ? mediaIds.split(',') : []) join(find(id.trim()), object);
  }
  const parts = new Map();
  for (const part of owner.keys()) {
    const whole = rootOf(owner, part);
    if (!parts.has(whole)) parts.set(whole, []);
    parts.get(whole).push(part);
  }
  return { has: (object) => owner.has(object), partsOf: (object) => parts.get(object) ?? [] };
}

// A comment can be about a comment, or about the post of a photo: all are shown with the photo.
function rootOf(owner, object) {
  let root = object;
  while (owner.has(root)) root = owner.get(root);
  return root;
}

function addExchanges(model, things) {
  const uploads = things.filter(({ type }) => type === 'upload');
  for (const request of model.exchanges) {
    const service = model.serviceOf(request.host);
    if (!Object.hasOwn(kServices, service) || request.method === 'GET') continue;
    const base = { service, exchange: request.id, order: 0, request, key: `exchange/${request.id}` };
    if (isRefused(request)) things.push({ ...base, type: 'refused' });
    if (request.ended || (request.bodyLength ?? 0) < kSmallestUpload || request.bodyComplete) continue;
    const upload = uploadOf(request, service, uploads);
    if (upload) upload.request = request;
    else things.push({ ...base, type: 'upload' });
  }
}

/** @param {Object} exchange @returns {boolean} whether the client did not get what it requested */
export const isRefused = (exchange) => exchange.ended && (exchange.status >= 400 || exchange.status === 0);

const kContinuation = { facebook: /\/videos/, twitter: /media\/upload\.json/, youtube: /^$/ };

// The upload that a request goes on with. Where the URL does not name it, it is known only if there is one.
function uploadOf(request, service, uploads) {
  const own = uploads.filter((upload) => upload.service === service);
  const named = own.find(({ object }) => request.target.includes(`=${object.id}`));
  return named ?? (own.length === 1 && kContinuation[service].test(request.target) ? own[0] : undefined);
}

/**
 * How much of an upload has arrived.
 * @param {Thing} upload
 * @returns {{received: number, total: number|null}} in bytes
 */
export function progressOf({ object, request }) {
  const flying = request?.bodyReceived ?? 0;
  if (!object) return { received: flying, total: request.bodyLength };
  const total = object.members.size ?? object.members.length ?? null;
  const received = object.members.received + flying;
  return { received: total === null ? received : Math.min(received, total), total };
}
