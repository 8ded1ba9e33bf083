// Makes the line that repeats an exchange with curl.

// What curl adds by itself, or what is only for the way to the proxy.
const kOwn = ['host', 'content-length', 'expect', 'connection', 'proxy-connection', 'transfer-encoding'];

/** @param {string} text @returns {string} one word for a POSIX shell */
export const quoted = (text) => `'${text.replaceAll("'", "'\\''")}'`;

// What curl sends by itself, unless a header without a value removes it.
const kAdded = ['user-agent', 'accept', 'content-type'];

/**
 * @param {Object} exchange as of GET /requests/ID
 * @param {Object} about as of GET /about
 * @returns {{line: string, isWhole: boolean}} a line for a POSIX shell, which verifies no certificate; when it is not
 *   whole, the sandbox does not have the body, and the line reads it from the file BODY
 */
export function curlLine(exchange, about) {
  const { bodyBase64, bodyFile, bodySize, body, fields, headers } = exchange;
  const isText = body !== undefined && bodyBase64 === undefined && !body.includes('\0');
  const isKept = !bodySize || body !== undefined || Boolean(bodyFile);
  const isForm = !isKept && fields?.length > 0 && fields.every(isRepeatable);
  const words = ['curl', '--proxy', quoted(about.proxy ?? ''), '--insecure', '--globoff', '--path-as-is'];
  words.push(...(exchange.method === 'HEAD' ? ['--head'] : ['--request', quoted(exchange.method)]));
  const names = headers.map((header) => header.split(':')[0].toLowerCase());
  for (const name of kAdded)
    if (!names.includes(name) && !(isForm && name === 'content-type')) words.push('--header', quoted(`${name}:`));
  headers.forEach((header, index) => {
    const name = names[index];
    if (kOwn.includes(name) || (isForm && name === 'content-type')) return;
    if (/^content-encoding:\s*gzip\s*$/i.test(header)) return; // the sandbox has the expanded body
    // For curl, "NAME:" removes a header. "NAME;" is one without a value.
    words.push('--header', quoted(header.replace(/:\s*$/, ';')));
  });
  if (isForm) words.push(...fields.flatMap(formWords));
  else if (bodySize && isText) words.push('--data-raw', quoted(body));
  else if (bodySize) words.push('--data-binary', isKept ? '@-' : '@BODY');
  words.push(quoted(`${exchange.scheme}://${exchange.host}${exchange.target}`));
  const url = quoted(`${about.control}/requests/${exchange.id}/body`);
  const source = words.includes('@-') ? `curl --silent ${url} | ` : '';
  return { line: source + words.join(' '), isWhole: isKept || isForm };
}

// A part without a name is of another form than the one that curl makes.
const isRepeatable = ({ name, file, fileName, content, contentBase64 }) =>
  name !== '' && (Boolean(file) || (!fileName && contentBase64 === undefined && content !== undefined));

const inQuotes = (text) => `"${text.replace(/[\\"]/g, '\\$&')}"`;

function formWords({ name, fileName, contentType, content, file }) {
  if (!file) return ['--form-string', quoted(`${name}=${content}`)];
  const shown = fileName ? `;filename=${inQuotes(fileName)}` : '';
  const type = contentType ? `;type=${contentType}` : '';
  return ['--form', quoted(`${name}=@${inQuotes(file)}${shown}${type}`)];
}
