// A list of any length, of which only the rows in sight are elements.
import { make } from './dom.js';

const kSpare = 8; // rows above and below those in sight

/**
 * A listbox: arrow keys, Page Up, Page Down, Home and End move the active row; Enter or a click opens it.
 */
export class WindowedList {
  /** @type {Object[]} each with an id; the first is at the top */
  items = [];
  activeId = null;
  #rows = new Map(); // by id

  /**
   * @param {Object} options
   * @param {string} options.label
   * @param {number} options.rowHeight in pixels
   * @param {function(Object): HTMLElement} options.makeRow
   * @param {function(HTMLElement, Object): void} options.fillRow called again when the item is a newer one
   * @param {function(Object): void} options.onOpen
   */
  constructor(options) {
    this.options = options;
    this.spacer = make('div.spacer');
    this.element = make(
      'div.windowed.scroller',
      { tabindex: 0, role: 'listbox', 'aria-label': options.label, onkeydown: (event) => this.#onKey(event) },
      this.spacer,
    );
    this.element.addEventListener('scroll', () => this.#render(), { passive: true });
    new ResizeObserver(() => this.#render()).observe(this.element);
  }

  /**
   * Shows other items. Those in sight stay where they are, if that is requested.
   * @param {Object[]} items
   * @param {boolean} isHeld
   */
  setItems(items, isHeld) {
    const { rowHeight } = this.options;
    const top = this.element.scrollTop;
    const anchor = isHeld ? this.items[Math.floor(top / rowHeight)] : undefined;
    const before = anchor ? this.items.indexOf(anchor) : -1;
    this.items = items;
    this.spacer.style.height = `${items.length * rowHeight}px`;
    if (anchor) {
      const after = this.indexOf(anchor.id);
      if (after >= 0 && after !== before) this.element.scrollTop = top + (after - before) * rowHeight;
    }
    this.#render();
  }

  /** @param {number} id @returns {number} its index; -1 if it is not in the list. Ids descend. */
  indexOf(id) {
    let low = 0;
    let high = this.items.length - 1;
    while (low <= high) {
      const middle = (low + high) >> 1;
      if (this.items[middle].id === id) return middle;
      if (this.items[middle].id > id) low = middle + 1;
      else high = middle - 1;
    }
    return -1;
  }

  /** Marks a row as the active one. @param {number|null} id @param {boolean} [scrolls] to it */
  setActive(id, scrolls = false) {
    this.activeId = id;
    const index = this.indexOf(id);
    if (scrolls && index >= 0) this.#reveal(index);
    this.#render();
  }

  #reveal(index) {
    const { rowHeight } = this.options;
    const top = index * rowHeight;
    const { scrollTop, clientHeight } = this.element;
    if (top < scrollTop) this.element.scrollTop = top;
    else if (top + rowHeight > scrollTop + clientHeight) this.element.scrollTop = top + rowHeight - clientHeight;
  }

  #render() {
    const { rowHeight } = this.options;
    const { scrollTop, clientHeight } = this.element;
    const first = Math.max(0, Math.floor(scrollTop / rowHeight) - kSpare);
    const end = Math.min(this.items.length, Math.ceil((scrollTop + clientHeight) / rowHeight) + kSpare);
    const inSight = new Set();
    for (let index = first; index < end; ++index) inSight.add(this.#place(index));
    for (const [id, { element }] of this.#rows) {
      if (inSight.has(id)) continue;
      element.remove();
      this.#rows.delete(id);
    }
    const active = this.#rows.get(this.activeId);
    if (active) this.element.setAttribute('aria-activedescendant', active.element.id);
    else this.element.removeAttribute('aria-activedescendant');
  }

  #place(index) {
    const { rowHeight, makeRow, fillRow } = this.options;
    const item = this.items[index];
    let row = this.#rows.get(item.id);
    if (!row) {
      row = { element: makeRow(item), item: undefined };
      row.element.id = `row-${item.id}`;
      row.element.setAttribute('role', 'option');
      row.element.addEventListener('click', () => this.#open(item.id));
      this.#rows.set(item.id, row);
      this.spacer.append(row.element);
    }
    if (row.item !== item) fillRow(row.element, item);
    row.item = item;
    row.element.style.transform = `translateY(${index * rowHeight}px)`;
    row.element.setAttribute('aria-selected', String(item.id === this.activeId));
    row.element.setAttribute('aria-posinset', String(index + 1));
    row.element.setAttribute('aria-setsize', String(this.items.length));
    return item.id;
  }

  #open(id) {
    this.setActive(id);
    const index = this.indexOf(id);
    if (index >= 0) this.options.onOpen(this.items[index]);
  }

  #onKey(event) {
    const page = Math.max(1, Math.floor(this.element.clientHeight / this.options.rowHeight) - 1);
    const last = this.items.length - 1;
    const at = this.indexOf(this.activeId);
    const targets = {
      ArrowDown: at + 1,
      ArrowUp: at - 1,
      PageDown: at + page,
      PageUp: at - page,
      Home: 0,
      End: last,
    };
    if (event.key === 'Enter' && at >= 0) this.#open(this.activeId);
    else if (Object.hasOwn(targets, event.key) && last >= 0)
      this.setActive(this.items[Math.min(Math.max(targets[event.key], 0), last)].id, true);
    else return;
    event.preventDefault();
  }
}
