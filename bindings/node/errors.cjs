'use strict';

const results = require('./results.cjs');

const texts = new Map(results.map((result) => [result.code, result]));
const unknown = {
  name: 'VELK_UNKNOWN',
  meaning: 'A failure that this package does not know.',
  advice: "Use a package of the library's version.",
};

/** A call that failed, or succeeded in part. */
class VelkError extends Error {
  constructor(code, options) {
    const { name, meaning, advice } = texts.get(code) ?? unknown;
    super(`${name} (${code}): ${meaning}`, options);
    Object.assign(this, { name, code, meaning, advice, partial: code > 0 });
  }
}

/** A value that does not fit as it is sent, or cannot be sent. */
class ValueError extends RangeError {
  name = 'ValueError';
}

module.exports = { ValueError, VelkError, results };
