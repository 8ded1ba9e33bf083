// Keeps what a person looks at where it is, while the list around it grows.

const kPointerRests = 1500; // in ms; a pointer that moved since then may be about to click

/**
 * Changes the content of a scrolled element, and then scrolls so that the anchor has not moved. At the top of a list,
 * with nothing in focus and the pointer at rest, new elements may push the others down: they are what one waits for.
 */
export class PlaceKeeper {
  #moved = -Infinity;

  /** @param {HTMLElement} scroller */
  constructor(scroller) {
    this.scroller = scroller;
    scroller.addEventListener('pointermove', () => (this.#moved = performance.now()), { passive: true });
  }

  /** @returns {boolean} whether somebody looks at a certain place */
  isHeld() {
    const hasFocus = this.scroller.contains(document.activeElement) && document.activeElement !== this.scroller;
    return this.scroller.scrollTop > 0 || hasFocus || performance.now() - this.#moved < kPointerRests;
  }

  /**
   * @param {function(): void} change
   * @param {HTMLElement[]} elements of the list, in order
   */
  during(change, elements) {
    const anchor = this.isHeld() ? this.#anchor(elements) : undefined;
    const before = anchor?.getBoundingClientRect().top;
    change();
    if (!anchor?.isConnected) return;
    const moved = anchor.getBoundingClientRect().top - before;
    if (moved) this.scroller.scrollTop += moved;
  }

  #anchor(elements) {
    const top = this.scroller.getBoundingClientRect().top;
    return (
      elements.find((element) => element.contains(document.activeElement)) ??
      elements.find((element) => element.getBoundingClientRect().bottom > top)
    );
  }
}
