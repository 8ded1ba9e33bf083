// The requests of this page to the control URL. Any script can send the same ones.

/**
 * Sends a request and returns the JSON of the reply.
 * @param {string} method
 * @param {string} path
 * @param {Object} [body]
 * @returns {Promise<*>} rejected with the reason that the sandbox gives
 */
export async function call(method, path, body) {
  const reply = await fetch(path, { method, body: body && JSON.stringify(body) });
  const value = await reply.json();
  if (!reply.ok) throw new Error(value.error ?? `status ${reply.status}`);
  return value;
}

/** @param {string} path @returns {Promise<*>} */
export const get = (path) => call('GET', path);
