// Two base strings of a signature side by side, with the place where they differ first.
import { make } from './dom.js';

/**
 * @param {Object} details of a refusal
 * @param {string} details.expectedBaseString that the service signs
 * @param {string} [details.signedBaseString] that the client signed, if it was found
 * @param {number} [details.firstDifference] a byte; base strings are ASCII
 * @returns {HTMLElement}
 */
export function signatureDifference({ expectedBaseString, signedBaseString, firstDifference }) {
  if (signedBaseString === undefined) {
    return make('div', {}, [
      make('p.small', {}, 'The base string that the client signed was not found.'),
      column('Expected', expectedBaseString, expectedBaseString.length),
    ]);
  }
  return make('div.sides', {}, [
    column('Expected', expectedBaseString, firstDifference),
    column('Received', signedBaseString, firstDifference),
  ]);
}

function column(title, text, difference) {
  const same = make('span.same', {}, text.slice(0, difference));
  const differs = difference < text.length && make('mark', {}, text.slice(difference, difference + 1));
  return make('figure', {}, make('figcaption', {}, title), make('pre', {}, same, differs, text.slice(difference + 1)));
}
