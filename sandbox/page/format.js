// Numbers, times and URLs as people read them.

/** @param {number} bytes @returns {string} such as "17.9 kB" */
export function size(bytes) {
  if (bytes < 1000) return `${bytes} B`;
  for (const [unit, factor] of [['kB', 1e3], ['MB', 1e6], ['GB', 1e9]]) {
    if (bytes < factor * 999.5 || unit === 'GB') return `${(bytes / factor).toPrecision(3)} ${unit}`;
  }
  return '';
}

/** @param {number} milliseconds @returns {string} such as "1.2 ms" or "3.45 s" */
export function duration(milliseconds) {
  if (milliseconds < 10) return `${milliseconds.toFixed(1)} ms`;
  if (milliseconds < 1000) return `${Math.round(milliseconds)} ms`;
  return `${(milliseconds / 1000).toFixed(2)} s`;
}

const pad = (number, digits = 2) => String(number).padStart(digits, '0');

/** @param {string} utc ISO 8601 @returns {string} the local time of day */
export function clock(utc) {
  const time = new Date(utc);
  if (Number.isNaN(time.getTime())) return '';
  return `${pad(time.getHours())}:${pad(time.getMinutes())}:${pad(time.getSeconds())}`;
}

/** @param {string} utc ISO 8601 @returns {string} the same with milliseconds */
export const clockExactly = (utc) => `${clock(utc)}.${pad(new Date(utc).getMilliseconds(), 3)}`;

/** @param {string} path of a file, on any system @returns {string} its name */
export const fileName = (path) => path.split(/[\\/]/).pop();

/**
 * @param {string} path of a file of the store
 * @param {string} incarnation differs when another file has the same name: a browser can reuse what a URL gave
 * @returns {string} its URL; empty without a file
 */
export const mediaUrl = (path, incarnation) =>
  path ? `/media/${encodeURIComponent(fileName(path))}?${encodeURIComponent(incarnation)}` : '';

/** @param {*} value of a member @returns {string} in a line */
export function inWords(value) {
  if (value === null || value === undefined || value === '') return 'nothing';
  if (Array.isArray(value)) return value.length ? value.map(inWords).join(', ') : 'nothing';
  if (typeof value === 'object') return JSON.stringify(value);
  return String(value);
}
