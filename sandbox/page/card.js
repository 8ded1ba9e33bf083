// The card of one thing that was published, is being uploaded, or was refused.
import { make, put, setText } from './dom.js';
import { clock, fileName, inWords, mediaUrl, size } from './format.js';
import { kServices } from './model.js';
import { progressOf } from './things.js';

const kKinds = {
  photo: 'Photo',
  video: 'Video',
  story: 'Post',
  comment: 'Comment',
  tweet: 'Tweet',
  media: 'Medium without a tweet',
  session: 'Upload',
};

// What of each kind of object is its title, its text and its small facts.
const kFacts = [
  ['category', (value, members) => (value ? `${value} (${members.categoryId})` : members.categoryId)],
  ['replyTo', (value) => value && `in reply to ${value}`],
  ['quoted', (value) => value && `quotes ${value}`],
  ['url', (value) => value && `from the URL ${value}`],
  ['published', (value) => value === false && 'not published'],
];

const privacyOf = ({ privacy, privacyStatus }) => privacy ?? privacyStatus;

export class Card {
  #mediaKey = '';
  #shown = '';

  /** @param {import('./things.js').Thing} thing */
  constructor(thing) {
    this.head = make('header.card-head');
    this.body = make('div.card-body');
    this.media = make('div.card-media', { hidden: true });
    this.foot = make('div.card-foot');
    this.element = make('article.card', {}, this.head, this.body, this.media, this.foot);
    this.element.dataset.key = thing.key;
    this.element.dataset.service = thing.service;
  }

  /** @param {import('./things.js').Thing} thing */
  show(thing) {
    const objects = thing.object ? [thing.object, ...thing.parts] : [];
    const state = JSON.stringify(objects.map(({ incarnation, number }) => [incarnation, number]));
    const { request } = thing;
    const isSame = state === this.#shown && !request;
    if (isSame && thing.type === this.element.dataset.type) return;
    this.#shown = state;
    this.element.dataset.type = thing.type;
    if (thing.type === 'object') this.#showObject(thing);
    if (thing.type === 'upload') this.#showUpload(thing);
    if (thing.type === 'refused') this.#showRefusal(request);
  }

  #showHead(service, words, time, privacy) {
    put(this.head, [
      make('span.dot', { 'aria-hidden': 'true' }),
      make('strong', {}, kServices[service]),
      make('span.kind', {}, words),
      privacy && make('span.chip', { title: 'Who can see it' }, privacy.toLowerCase().replaceAll('_', ' ')),
      make('time', {}, time),
    ]);
  }

  #showObject({ object, parts, service }) {
    const { members } = object;
    const where = members.nodeName ? ` · ${members.nodeName}` : '';
    this.element.classList.toggle('deleted', object.deleted);
    const began = clock(object.history[0]?.time ?? '');
    this.#showHead(service, `${kKinds[object.kind] ?? object.kind}${where}`, began, privacyOf(members));
    const text = members.text ?? (members.message || members.description);
    put(this.body, [
      members.title && make('h3', {}, members.title),
      text && make('p.text', {}, text),
      members.link && object.kind === 'story' && make('p.link', {}, members.link),
      tags(members.tags),
      facts(members),
      parts.filter(({ kind }) => kind === 'comment').map(comment),
    ]);
    this.#showMedia([object, ...parts.filter(({ kind }) => kind !== 'comment')].filter(hasMedium));
    put(this.foot, [
      history(object, parts.filter(({ members: part }) => part.about)),
      make('p.small', {}, `${object.id}${members.size ? ` · ${size(members.size)}` : ''} `, exchangeLink(object)),
    ]);
  }

  // A change of a title must not stop a video that plays.
  #showMedia(owners) {
    const key = JSON.stringify(owners.map(({ incarnation, members }) => [incarnation, members.file, members.altText]));
    if (key === this.#mediaKey) return;
    this.#mediaKey = key;
    this.media.hidden = owners.length === 0;
    this.media.classList.toggle('several', owners.length > 1);
    put(this.media, owners.map(medium));
  }

  #showUpload(thing) {
    const { received, total } = progressOf(thing);
    const title = thing.object?.members.title;
    const isOn = Boolean(thing.request);
    const part = total ? ` of ${size(total)}` : '';
    const words = isOn ? `${size(received)}${part} received` : `${size(received)}${part}; waits for more`;
    if (!this.bar) {
      this.#showHead(thing.service, 'Upload in progress', '', '');
      this.bar = make('progress', { 'aria-label': 'Received' });
      this.words = make('p.small');
      put(this.body, [title && make('h3', {}, title), this.bar, this.words]);
    }
    this.bar.max = total || 1;
    if (total) this.bar.value = received;
    setText(this.words, words);
  }

  #showRefusal(exchange) {
    this.bar = undefined;
    const status = exchange.status || 'no reply';
    this.#showHead(this.element.dataset.service, `Refused · ${status}`, clock(exchange.began), '');
    const path = exchange.target.split('?')[0];
    put(this.body, [
      make('p.request', {}, `${exchange.method} ${path}`),
      make('p.reason', {}, make('span.clamped', {}, exchange.reason || 'The service gave no reason.')),
    ]);
    put(this.foot, [make('p.small', {}, make('a', { href: `#exchanges/${exchange.id}` }, `Exchange ${exchange.id}`))]);
  }
}

const hasMedium = ({ kind, members }) =>
  ['photo', 'video', 'media'].includes(kind) && (members.file || members.size > 0);

function medium({ kind, members, incarnation }) {
  const url = mediaUrl(members.file, incarnation);
  if (!url) return make('p.placeholder', {}, `${size(members.size)} were counted, not stored.`);
  const isVideo = kind === 'video' || members.type?.startsWith('video/');
  const name = fileName(members.file);
  const element = isVideo
    ? make('video', { src: url, controls: true, preload: 'metadata', 'aria-label': members.title || name })
    : make('img', { src: url, alt: members.altText || members.message || 'Photo', decoding: 'async' });
  element.addEventListener('error', () =>
    element.replaceWith(make('p.placeholder', {}, `${size(members.size)} that this browser does not show.`)),
  );
  return element;
}

const tags = (list) =>
  list?.length > 0 && make('ul.tags', { 'aria-label': 'Tags' }, list.map((tag) => make('li', {}, tag)));

function facts(members) {
  const lines = kFacts.map(([name, words]) => words(members[name], members)).filter(Boolean);
  return lines.length > 0 && make('p.facts', {}, lines.join(' · '));
}

const comment = ({ members, deleted }) => make(`p.comment${deleted ? '.deleted' : ''}`, {}, members.message);

const exchangeLink = ({ history: [first] }) =>
  first?.exchange > 0 && make('a', { href: `#exchanges/${first.exchange}` }, `Exchange ${first.exchange}`);

// What became of the object, and of the post that is shown with it. The first step is that it was published.
function history(object, posts) {
  const steps = [object, ...posts].flatMap((owner) => owner.history.slice(1).map((step) => ({ owner, step })));
  if (!steps.length) return null;
  return make('ol.history', { 'aria-label': 'Changes' }, steps.map(({ owner, step }) => historyStep(owner, step)));
}

function historyStep(owner, { what, time, exchange, changes = [] }) {
  const name = owner.members.about ? 'the post ' : '';
  const verb = make('b', {}, what === 'deleted' ? `${name}was deleted` : `${name}changed`);
  const lines = changes.map(({ member, from, to }) =>
    make('div.change', {}, `${member}: `, make('del', {}, inWords(from)), ' → ', make('ins', {}, inWords(to))),
  );
  const link = exchange > 0 && make('a', { href: `#exchanges/${exchange}` }, `exchange ${exchange}`);
  return make('li', {}, make('time', {}, clock(time)), ' ', verb, link && [' · ', link], lines);
}
