// A button over a scrolled list that leads to what has arrived above the part that is visible.
import { make, setText } from './dom.js';

export class NewerButton {
  #count = 0;
  #top;

  /** @param {HTMLElement} scroller @param {number} top the position, in px, up to which nothing new is hidden */
  constructor(scroller, top = 1) {
    this.scroller = scroller;
    this.#top = top;
    this.element = make('button.newer', { type: 'button', hidden: true, onclick: () => this.#showNewest() });
    const hide = () => {
      if (this.#isAtTop()) this.element.hidden = true;
    };
    scroller.addEventListener('scroll', hide, { passive: true });
  }

  /** @param {number} count of the elements that have arrived above what is visible; none for 0 and less */
  offer(count) {
    if (count <= 0) return;
    this.#count = (this.element.hidden ? 0 : this.#count) + count;
    setText(this.element, `↑ ${this.#count} new`);
    this.element.hidden = this.#isAtTop();
  }

  #isAtTop() {
    return this.scroller.scrollTop < this.#top;
  }

  #showNewest() {
    this.scroller.scrollTop = 0;
    this.element.hidden = true;
    this.scroller.focus();
  }
}
