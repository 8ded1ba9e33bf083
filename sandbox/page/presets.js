// The faults that a button prepares for the next request to a service.
import { kServices } from './model.js';

const kJson = ['Content-Type: application/json; charset=UTF-8'];

const graphError = (code, message) => ({ error: { message, type: 'OAuthException', code } });
const twitterError = (code, message) => ({ errors: [{ code, message }] });
const googleError = (code, reason, message) => ({
  error: { code, message, errors: [{ message, domain: 'global', reason }] },
});

// A status and a body for each service.
const kErrors = {
  'Expired token': {
    facebook: [400, graphError(190, 'Error validating access token: Session has expired.')],
    twitter: [401, twitterError(89, 'Invalid or expired token.')],
    youtube: [401, googleError(401, 'authError', 'Invalid Credentials')],
  },
  'Server error': {
    facebook: [500, graphError(1, 'An unknown error has occurred.')],
    twitter: [500, twitterError(131, 'Internal error')],
    youtube: [500, googleError(500, 'backendError', 'Backend Error')],
  },
  'Rate limit': {
    facebook: [403, graphError(4, '(#4) Application request limit reached')],
    twitter: [429, twitterError(88, 'Rate limit exceeded')],
    youtube: [429, googleError(429, 'rateLimitExceeded', 'Rate Limit Exceeded')],
  },
};

const kFaults = {
  'Cut reply': { passThrough: true, cutAfter: 30 },
  Reset: { reset: true },
  Stall: { neverAnswer: true },
  // An upload often begins with a short request, so that the next one alone would not be slow.
  'Slow network': { passThrough: true, readSlowly: 50000, times: 0 },
};

/**
 * @typedef {Object} Preset
 * @property {string} name
 * @property {Object} [script] for POST /scripts
 * @property {Object} [switches] for POST /switches
 */

/** @param {string} service @returns {Preset[]} */
export function presetsOf(service) {
  const errors = Object.entries(kErrors).map(([name, { [service]: [status, body] }]) => ({
    name,
    script: { status, headers: kJson, body: JSON.stringify(body) },
  }));
  const faults = Object.entries(kFaults).map(([name, fault]) => ({ name, script: fault }));
  return [...errors, ...faults, ...processingOf(service)];
}

// Only Twitter processes media after their upload.
const processingOf = (service) =>
  service === 'twitter'
    ? [{ name: 'Media still processing', switches: { twitter: { processingSteps: 3 } } }]
    : [];

const kMatch = ['method', 'path'];
const kEffects = {
  passThrough: () => '',
  status: (value) => `status ${value}`,
  delayMs: (value) => `waits ${value} ms`,
  cutAfter: (value) => `cuts the reply after ${value} bytes`,
  cutBodyAfter: (value) => `cuts the body of the reply after ${value} bytes`,
  reset: () => 'resets the connection',
  neverAnswer: () => 'stalls',
  readSlowly: (value) => `reads ${value} bytes a second`,
  stopReadingAfter: (value) => `stops reading after ${value} bytes`,
};

/** @param {Object} script @param {Object} services the hosts of each @returns {string} which requests it is for */
export function requestsOf(script, services) {
  const service = Object.keys(services).find((key) => services[key].join(', ') === script.host);
  const words = [kServices[service] ?? script.host, ...kMatch.map((name) => script[name])].filter(Boolean);
  const others = Object.keys(script).filter((name) => name.startsWith('with'));
  return [...words, ...others].join(' ') || 'any request';
}

/** @param {Object} script @returns {string} what it does */
export function effectOf(script) {
  const words = Object.entries(kEffects).map(([name, inWords]) => name in script && inWords(script[name]));
  const text = words.filter(Boolean).join(', ');
  return text || (script.passThrough ? 'lets the service reply' : 'status 200');
}
