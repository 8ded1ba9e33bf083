// Builds elements. All that clients sent goes into text nodes and attributes, never into markup.

/**
 * Makes an element.
 * @param {string} name its tag, with classes: "p.note.small"
 * @param {Object} [attributes] attributes by name; a function is a listener of the event "onNAME"; false, null
 *   and undefined are left out
 * @param {...(Node|string|number|null|false|undefined|Array)} children strings become text
 * @returns {HTMLElement}
 */
export function make(name, attributes = {}, ...children) {
  const [tag, ...classes] = name.split('.');
  const element = document.createElement(tag);
  if (classes.length) element.className = classes.join(' ');
  for (const [key, value] of Object.entries(attributes)) {
    if (value === false || value === null || value === undefined) continue;
    if (typeof value === 'function') element.addEventListener(key.slice(2), value);
    else element.setAttribute(key, value === true ? '' : String(value));
  }
  put(element, children);
  return element;
}

/**
 * Replaces the children of an element.
 * @param {Element} element
 * @param {Array} children as those of make()
 */
export function put(element, children) {
  const nodes = children.flat(Infinity).filter((child) => child !== null && child !== false && child !== undefined);
  element.replaceChildren(...nodes.map((child) => (child instanceof Node ? child : String(child))));
}

/**
 * Sets the text of an element, unless it has it: a change without need would be read out again.
 * @param {Element} element
 * @param {string|number} text
 */
export function setText(element, text) {
  const string = String(text);
  if (element.textContent !== string) element.textContent = string;
}

/**
 * Finds an element of the page by its id.
 * @param {string} id
 * @returns {HTMLElement}
 */
export const byId = (id) => document.getElementById(id);

const kRest = 4; // times what a call took, before the next one

/**
 * Calls a function once before the next frame, however often it was requested. What takes long is called less often, so
 * that the page has most of its time for its user.
 * @param {function(): void} run
 * @returns {function(): void} requests the call
 */
export function onceAFrame(run) {
  let isDue = false;
  let earliest = 0;
  const call = () => {
    isDue = false;
    const start = performance.now();
    run();
    const end = performance.now();
    earliest = end + (end - start) * kRest;
  };
  return () => {
    if (isDue) return;
    isDue = true;
    const rest = earliest - performance.now();
    // A page in the background has no frames, but its state must not grow old.
    if (rest > 16 || document.hidden) setTimeout(call, rest);
    else requestAnimationFrame(call);
  };
}

let fading = 0;

/**
 * Shows a short message for a few seconds, and lets it be read out.
 * @param {string} text
 */
export function toast(text) {
  const element = byId('toast');
  element.textContent = text;
  element.classList.add('shown');
  clearTimeout(fading);
  fading = setTimeout(() => element.classList.remove('shown'), 4000);
}
