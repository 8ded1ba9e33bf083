// The view Published: a lane of cards for each service, or one feed where there is no space for lanes.
import { Card } from './card.js';
import { make, onceAFrame, put } from './dom.js';
import { PlaceKeeper } from './keep_place.js';
import { kServices } from './model.js';
import { NewerButton } from './newer.js';
import { thingsOf } from './things.js';

const kPage = 60; // cards of a lane that are shown at first, and how many more each time

const kCounted = new Set(['photo', 'video', 'story', 'tweet']);

const kWide = matchMedia('(min-width: 1000px)');

// A scrolled list of cards.
class Lane {
  #limit = kPage;
  #cards;

  constructor(title, cards, onMore) {
    this.#cards = cards;
    this.list = make('div.cards');
    this.empty = make('p.empty', {}, 'Nothing was published yet.');
    this.more = make('button.more', { type: 'button', hidden: true, onclick: () => this.#showMore(onMore) });
    this.scroller = make('div.scroller', { tabindex: '-1' }, this.empty, this.list, this.more);
    this.newer = new NewerButton(this.scroller);
    const rows = make('div.rows', {}, this.scroller, this.newer.element);
    this.element = make('section.lane', { 'aria-label': title }, make('h2', {}, title), rows);
    this.keeper = new PlaceKeeper(this.scroller);
  }

  #showMore(onMore) {
    this.#limit += kPage;
    onMore();
  }

  /** Shows the things, and reuses the cards that exist. */
  show(things) {
    const shown = things.slice(0, this.#limit);
    const newest = this.list.firstElementChild?.dataset.key;
    this.keeper.during(() => this.#arrange(shown), [...this.list.children]);
    this.newer.offer(shown.findIndex(({ key }) => key === newest));
    this.empty.hidden = things.length > 0;
    const left = things.length - shown.length;
    this.more.hidden = left === 0;
    if (left) put(this.more, [`Show older ones (${left})`]);
  }

  // Moving an element would stop a video in it, so that only what is in a wrong place moves.
  #arrange(things) {
    const keys = new Set(things.map(({ key }) => key));
    for (const element of [...this.list.children]) if (!keys.has(element.dataset.key)) element.remove();
    let next = this.list.firstElementChild;
    for (const thing of things) {
      const element = this.#cardOf(thing);
      if (element === next) next = next.nextElementSibling;
      else this.list.insertBefore(element, next);
    }
  }

  #cardOf(thing) {
    let card = this.#cards.get(thing.key);
    if (!card) this.#cards.set(thing.key, (card = new Card(thing)));
    card.show(thing);
    return card.element;
  }
}

export class PublishedView {
  #things = [];
  #cards = new Map(); // by key, for all lanes
  #isShown = false;

  /** @param {HTMLElement} element @param {import('./model.js').Model} model */
  constructor(element, model) {
    this.element = element;
    this.model = model;
    this.update = onceAFrame(() => this.#update());
    for (const part of ['objects', 'exchanges', 'about']) model.addEventListener(part, this.update);
    kWide.addEventListener('change', () => this.#layOut());
    this.#layOut();
  }

  /** @returns {number} of the things that were published and are still there */
  count() {
    let count = 0;
    for (const { kind, deleted, members } of this.model.objects.values())
      if (!deleted && kCounted.has(kind) && !members.about) ++count;
    return count;
  }

  setShown(isShown) {
    this.#isShown = isShown;
    if (isShown) this.update();
  }

  #layOut() {
    const lane = (title) => new Lane(title, this.#cards, this.update);
    this.lanes = kWide.matches
      ? new Map(Object.entries(kServices).map(([service, name]) => [service, lane(name)]))
      : new Map([['all', lane('All services')]]);
    for (const [service, { element }] of this.lanes) element.dataset.service = service;
    put(this.element, [...this.lanes.values()].map(({ element }) => element));
    this.update();
  }

  #update() {
    if (!this.#isShown) return;
    this.#things = thingsOf(this.model);
    this.#forget();
    for (const [service, lane] of this.lanes)
      lane.show(service === 'all' ? this.#things : this.#things.filter((thing) => thing.service === service));
  }

  #forget() {
    if (this.#cards.size < 2 * this.#things.length + kPage) return;
    const keys = new Set(this.#things.map(({ key }) => key));
    for (const key of this.#cards.keys()) if (!keys.has(key)) this.#cards.delete(key);
  }
}
