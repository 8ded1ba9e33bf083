// The view Exchanges: the list with its filter, and the details of one.
import { get } from './api.js';
import { showDetails } from './details.js';
import { make, onceAFrame, put, setText } from './dom.js';
import { clockExactly, duration, size } from './format.js';
import { PlaceKeeper } from './keep_place.js';
import { kServices } from './model.js';
import { NewerButton } from './newer.js';
import { isRefused } from './things.js';
import { WindowedList } from './windowed.js';

const kRowHeight = 34;

const kOutcomes = {
  '': ['All', () => true],
  succeeded: ['Succeeded', (exchange) => exchange.ended && !isRefused(exchange)],
  refused: ['Refused', isRefused],
  open: ['In progress', (exchange) => !exchange.ended],
};

export class ExchangesView {
  #isShown = false;
  #openId = null;
  #openState = '';

  /** @param {HTMLElement} element @param {import('./model.js').Model} model */
  constructor(element, model) {
    this.element = element;
    this.model = model;
    this.list = new WindowedList({
      label: 'Exchanges, the newest first',
      rowHeight: kRowHeight,
      makeRow: () => make('div.row'),
      fillRow: (row, exchange) => this.#fillRow(row, exchange),
      onOpen: ({ id }) => (location.hash = `#exchanges/${id}`),
    });
    this.keeper = new PlaceKeeper(this.list.element);
    this.details = make('div.details', { tabindex: -1, role: 'region', 'aria-label': 'Details of an exchange' });
    this.#build();
    this.update = onceAFrame(() => this.#update());
    model.addEventListener('exchanges', this.update);
    document.addEventListener('keydown', (event) => this.#onKey(event));
  }

  #build() {
    const onChange = () => this.update();
    this.search = make('input', { type: 'search', placeholder: 'Search', 'aria-label': 'Search', oninput: onChange });
    this.service = select('Service', { '': 'All services', ...kServices, other: 'Others' }, onChange);
    const outcomes = Object.fromEntries(Object.entries(kOutcomes).map(([key, [name]]) => [key, name]));
    this.outcome = select('Outcome', outcomes, onChange);
    this.found = make('span.small', { role: 'status' });
    this.newer = new NewerButton(this.list.element, kRowHeight);
    const names = ['time', 'service', 'method', 'path', 'status', 'size', 'duration'];
    const columns = make('div.row.columns', { 'aria-hidden': 'true' });
    put(columns, names.map((name) => make(`span.${name}`, {}, name)));
    put(this.element, [
      make(
        'div.list',
        {},
        make('form.filter', { role: 'search', onsubmit: (event) => event.preventDefault() }, [
          this.search,
          this.service,
          this.outcome,
          make('a.button', { href: '/har', download: 'exchanges.har' }, 'Export HAR'),
          this.found,
        ]),
        columns,
        make('div.rows', {}, this.list.element, this.newer.element),
      ),
      this.details,
    ]);
    this.#close();
  }

  setShown(isShown, id) {
    this.#isShown = isShown;
    if (!isShown) return;
    this.update();
    if (!id) this.#close();
    else this.#open(Number(id));
  }

  #accepts() {
    const words = this.search.value.toLowerCase().split(/\s+/).filter(Boolean);
    const service = this.service.value;
    const [, fits] = kOutcomes[this.outcome.value];
    return (exchange) => {
      if (service && (this.model.serviceOf(exchange.host) || 'other') !== service) return false;
      if (!fits(exchange)) return false;
      return words.every((word) => haystack(exchange).includes(word));
    };
  }

  #update() {
    if (!this.#isShown) return;
    const all = this.model.exchanges;
    const items = all.filter(this.#accepts()).reverse();
    const newest = this.list.items[0]?.id ?? Infinity;
    const isHeld = this.keeper.isHeld();
    this.list.setItems(items, isHeld);
    this.newer.offer(isHeld ? items.findIndex(({ id }) => id <= newest) : 0);
    setText(this.found, items.length === all.length ? `${all.length}` : `${items.length} of ${all.length}`);
    this.#refreshOpen();
  }

  #fillRow(row, exchange) {
    const service = this.model.serviceOf(exchange.host);
    const isOpen = !exchange.ended;
    row.classList.toggle('refused', isRefused(exchange));
    row.dataset.service = service;
    const words = {
      time: withMilliseconds(exchange.began),
      service: kServices[service] ?? exchange.host,
      method: exchange.method,
      path: exchange.target,
      status: isOpen ? '…' : exchange.status || 'none',
      size: size(exchange.bodyReceived + exchange.replyBodySize),
      duration: isOpen ? '' : duration(exchange.duration),
    };
    put(row, Object.entries(words).map(([name, text]) => make(`span.${name}`, {}, text)));
    row.title = exchange.reason;
  }

  async #open(id) {
    const isOther = id !== this.#openId;
    this.#openId = id;
    this.list.setActive(id, isOther);
    this.element.classList.add('open');
    const summary = this.model.exchange(id);
    this.#openState = stateOf(summary);
    const exchange = await get(`/requests/${id}`).catch((error) => ({ error: error.message }));
    if (this.#openId !== id) return;
    const restore = isOther ? undefined : stateOfControls(this.details);
    showDetails(this.details, exchange, this.model, () => (location.hash = '#exchanges'));
    if (!isOther) return restore();
    this.details.scrollTop = 0;
    if (matchMedia('(max-width: 999px)').matches) this.details.focus({ preventScroll: true });
  }

  #refreshOpen() {
    if (this.#openId === null) return;
    if (stateOf(this.model.exchange(this.#openId)) !== this.#openState) this.#open(this.#openId);
  }

  #close() {
    const hadFocus = this.details.contains(document.activeElement);
    this.#openId = null;
    this.element.classList.remove('open');
    put(this.details, [make('p.empty', {}, 'Choose an exchange to see its heads, bodies and times.')]);
    if (hadFocus) this.list.element.focus();
  }

  #onKey(event) {
    if (!this.#isShown || event.ctrlKey || event.metaKey || event.altKey) return;
    const types = event.target.matches('input, select, textarea');
    if (event.key === 'Escape' && this.#openId !== null) location.hash = '#exchanges';
    else if (event.key === '/' && !types) this.search.focus();
    else return;
    event.preventDefault();
  }
}

const haystacks = new WeakMap();
function haystack(exchange) {
  let text = haystacks.get(exchange);
  if (text === undefined) {
    const { method, host, target, status, reason, faults } = exchange;
    text = `${method} ${host}${target} ${status} ${reason} ${faults.join(' ')}`.toLowerCase();
    haystacks.set(exchange, text);
  }
  return text;
}

// Each event of a request in progress builds its details anew. What is folded out and has the focus stays so.
function stateOfControls(element) {
  const controls = () => [...element.querySelectorAll('button, a, summary')];
  const unfolded = new Set([...element.querySelectorAll('details[open]')].map(nameOf));
  const focused = controls().indexOf(document.activeElement);
  const top = element.scrollTop;
  return () => {
    for (const each of element.querySelectorAll('details')) each.open = unfolded.has(nameOf(each));
    controls()[focused]?.focus({ preventScroll: true });
    element.scrollTop = top;
  };
}

const nameOf = (details) => details.firstElementChild.textContent;

// Without the milliseconds where the column is narrow.
function withMilliseconds(began) {
  const [seconds, rest] = clockExactly(began).split('.');
  return [seconds, make('span.milliseconds', {}, `.${rest}`)];
}

// What a change of means that the details are out of date.
const stateOf = (exchange) =>
  exchange ? `${exchange.began} ${exchange.ended} ${exchange.bodyReceived} ${exchange.status}` : '';

function select(label, options, onchange) {
  const entries = Object.entries(options).map(([value, name]) => make('option', { value }, name));
  return make('select', { 'aria-label': label, onchange }, entries);
}
