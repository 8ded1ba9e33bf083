// A thread that makes calls of the library, one after the other. Arrays among the arguments are memory, which the
// call may write.
'use strict';

const { parentPort, workerData } = require('node:worker_threads');
const { copyFrom, openLibrary } = require('./library.cjs');
const { layouts } = require('./records.cjs');

const library = openLibrary(workerData.path);

// The list belongs to the library. It travels as a copy.
function takePages([, list, count]) {
  const address = new BigUint64Array(list.slice().buffer)[0];
  if (address === 0n) return new Uint8Array();
  const pages = copyFrom(address, layouts.FacebookPage.size * new Int32Array(count.slice().buffer)[0]);
  library.FreeFacebookUserPagesList(list);
  return pages;
}

parentPort.on('message', ({ name, args }) => {
  const result = library[name](...args);
  const pages = name === 'GetFacebookUserPagesList' ? takePages(args) : undefined;
  Atomics.store(workerData.running, 0, 0);
  parentPort.postMessage({ result, args, pages });
});
