// The details of one exchange.
import { bodyOf, fieldsOf, pairsTable } from './bodies.js';
import { curlLine } from './curl.js';
import { signatureDifference } from './difference.js';
import { make, put, toast } from './dom.js';
import { clockExactly, duration, size } from './format.js';

const kPhases = {
  connect: 'tunnel',
  tls: 'TLS',
  head: 'request head',
  body: 'request body',
  service: 'service',
  reply: 'reply',
};

const kNoBody = 'The line for curl was copied. The body was not kept: put it into the file BODY.';

/**
 * Shows an exchange.
 * @param {HTMLElement} element
 * @param {Object} exchange as of GET /requests/ID, or {error}
 * @param {import('./model.js').Model} model
 * @param {function(): void} onClose
 */
export function showDetails(element, exchange, model, onClose) {
  const close = make('button.close', { type: 'button', onclick: onClose }, '← All exchanges');
  if (exchange.error) return put(element, [close, make('p.empty', {}, exchange.error)]);
  const { details } = exchange;
  put(element, [
    close,
    make('h2', {}, `${exchange.method} ${exchange.host}${exchange.target.split('?')[0]}`),
    summary(exchange),
    buttons(exchange, model),
    exchange.reason && section('Why', make('p.reason', {}, withoutBaseStrings(exchange.reason, details))),
    details.expectedBaseString !== undefined && section('Signature', signatureDifference(details)),
    section('Time', timing(exchange.times)),
    section('Request', requestOf(exchange)),
    section('Reply', replyOf(exchange)),
    exchange.connectHead && folded('Head of the tunnel', make('pre', {}, exchange.connectHead.trim())),
  ]);
}

// Both base strings are shown side by side, so that the reason need not repeat them.
function withoutBaseStrings(reason, { expectedBaseString }) {
  if (!expectedBaseString) return reason;
  const before = reason.split(expectedBaseString)[0];
  return before.replace(/[^.]*$/, '') || before;
}

const section = (title, ...children) => make('section', {}, make('h3', {}, title), children);

const folded = (title, ...children) => make('details', {}, make('summary', {}, title), children);

function summary(exchange) {
  const parts = [
    exchange.ended ? `status ${exchange.status || 'none'}` : 'in progress',
    clockExactly(exchange.began),
    `connection ${exchange.connection}`,
    exchange.script > 0 && `script ${exchange.script}`,
    exchange.faults.length > 0 && `faults: ${exchange.faults.join(', ')}`,
  ];
  return make('p.facts', {}, parts.filter(Boolean).join(' · '));
}

function buttons(exchange, model) {
  const copy = async () => {
    const { line, isWhole } = curlLine(exchange, model.about);
    await navigator.clipboard.writeText(line).then(
      () => toast(isWhole ? 'The line for curl was copied.' : kNoBody),
      () => toast('This browser does not let the page copy.'),
    );
  };
  return make('p.actions', {}, [
    make('button', { type: 'button', onclick: copy }, 'Copy as curl'),
    make('a.button', { href: `/requests/${exchange.id}`, target: '_blank', rel: 'noopener' }, 'As JSON'),
  ]);
}

// A bar with a part for each phase, in proportion to its time.
function timing(times) {
  const known = Object.entries(kPhases).filter(([phase]) => times[phase] !== undefined);
  if (!known.length) return make('p.small', {}, 'No phase has ended yet.');
  const bar = make('div.phases', { 'aria-hidden': 'true' });
  for (const [phase] of known) {
    const part = make('span', { 'data-phase': phase });
    part.style.flexGrow = String(Math.max(times[phase], 0.01));
    bar.append(part);
  }
  const items = known.map(([phase, name]) =>
    make('li', {}, make('span.swatch', { 'data-phase': phase }), `${name} ${duration(times[phase])}`),
  );
  return [bar, make('ul.legend', {}, items)];
}

function requestOf(exchange) {
  const [, queryText = ''] = /^[^?]*\?(.*)$/s.exec(exchange.target) ?? []; // a value can contain "?"
  const query = new URLSearchParams(queryText);
  const isForm = exchange.fields?.length > 0;
  const rawBody = () =>
    bodyOf({
      text: exchange.body,
      base64: exchange.bodyBase64,
      size: exchange.bodySize ?? exchange.bodyReceived,
      sha256: exchange.bodySha256,
      type: headerOf(exchange.headers, 'content-type'),
      url: `/requests/${exchange.id}/body`,
      isStored: Boolean(exchange.bodyFile),
    });
  return [
    folded(`Head (${exchange.headers.length} lines)`, make('pre', {}, exchange.rawHead.trim())),
    pairsTable('Query', [...query]),
    isForm ? fieldsOf(exchange) : rawBody(),
    !exchange.bodyComplete &&
      make('p.small', {}, `${size(exchange.bodyReceived)} of the body have arrived, which is not all.`),
  ];
}

function replyOf(exchange) {
  const head = exchange.replyHead.trim();
  if (!head) return make('p.small', {}, exchange.ended ? 'No reply was sent.' : 'There is no reply yet.');
  const lines = head.split('\r\n');
  return [
    folded(lines[0], make('pre', {}, head)),
    bodyOf({
      text: exchange.replyBody,
      base64: exchange.replyBodyBase64,
      size: exchange.replyBodySize ?? 0,
      sha256: exchange.replyBodySha256,
      type: headerOf(lines, 'content-type'),
      url: `/requests/${exchange.id}/reply`,
      isStored: false,
    }),
  ];
}

const headerOf = (lines, name) => {
  const line = lines.find((each) => each.toLowerCase().startsWith(`${name}:`));
  return line ? line.slice(name.length + 1).trim() : '';
};
