// Makes the line that repeats an exchange with curl.

// What curl adds by itself, or what is only for the way to the proxy.
const kOwn = ['host', 'content-length', 'expect', 'connection', 'proxy-connection', 'transfer-encoding'];

/** @param {string} text @returns {string} one word for a POSIX shell */
export const quoted = (text) => `'${text.replaceAll("'", "'\\''")}'`;

/**
 * @param {Object} exchange as of GET /requests/ID
 * @param {string} proxy the sandbox's
 * @returns {string} a line for a POSIX shell; the sandbox's certificate is not verified
 */
export function curlLine(exchange, proxy) {
  const isForm = exchange.fields?.length > 0;
  const words = ['curl', '--proxy', quoted(proxy ?? ''), '--insecure', '--request', quoted(exchange.method)];
  for (const header of exchange.headers) {
    const name = header.split(':')[0].toLowerCase();
    if (kOwn.includes(name) || (isForm && name === 'content-type')) continue;
    words.push('--header', quoted(header));
  }
  words.push(...(isForm ? exchange.fields.flatMap(formWords) : bodyWords(exchange)));
  return [...words, quoted(`${exchange.scheme}://${exchange.host}${exchange.target}`)].join(' ');
}

function bodyWords({ body, bodyBase64, bodyFile, bodySize }) {
  if (!bodySize) return [];
  if (bodyFile) return ['--data-binary', quoted(`@${bodyFile}`)];
  if (bodyBase64 === undefined && body !== undefined) return ['--data-raw', quoted(body)];
  return ['--data-binary', quoted('@BODY')];
}

function formWords({ name, fileName, contentType, content, contentBase64, file }) {
  const isText = !fileName && contentBase64 === undefined && content !== undefined;
  if (isText) return ['--form-string', quoted(`${name}=${content}`)];
  const type = contentType ? `;type=${contentType}` : '';
  return ['--form', quoted(`${name}=@${file ?? fileName};filename=${fileName}${type}`)];
}
