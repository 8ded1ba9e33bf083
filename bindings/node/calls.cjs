// Makes calls on threads of their own, and follows uploads.
'use strict';

const { join } = require('node:path');
const { Worker } = require('node:worker_threads');
const { VelkError } = require('./errors.cjs');
const { findLibrary, openLibrary } = require('./library.cjs');

const mostThreads = 16; // more calls wait
const spareThreads = 4; // idle ones that are kept
const poll = 20; // milliseconds between two looks at a handle
const retry = 1; // the same, while a cancel is not taken

const idle = [];
const waiting = [];
const following = new Set();
let threads = 0;
let path;
let functions;

/** Loads the library, unless it is loaded. */
function load(file) {
  const found = findLibrary(file);
  if (functions && file && found !== path) throw new Error(`velk-upload: ${path} is loaded already`);
  if (!functions) {
    functions = openLibrary(found);
    path = found;
  }
  return functions;
}

// A thread ends the process only when it is idle.
function start() {
  const running = new Int32Array(new SharedArrayBuffer(4));
  const worker = new Worker(join(__dirname, 'worker.cjs'), { workerData: { path, running }, execArgv: [] });
  const thread = { worker, running, job: undefined };
  worker.on('message', (reply) => finish(thread, () => thread.job.resolve(reply)));
  worker.on('error', (error) => finish(thread, () => thread.job?.reject(error), true));
  threads += 1;
  return thread;
}

function finish(thread, settle, ended = false) {
  settle();
  thread.job = undefined;
  const next = ended ? undefined : waiting.shift();
  if (next) return assign(thread, next);
  thread.worker.unref();
  if (!ended && idle.length < spareThreads) return idle.push(thread);
  threads -= 1;
  if (idle.includes(thread)) idle.splice(idle.indexOf(thread), 1);
  thread.worker.terminate();
  if (waiting.length > 0) assign(start(), waiting.shift());
}

function assign(thread, job) {
  thread.job = job;
  job.running = thread.running;
  Atomics.store(thread.running, 0, 1);
  thread.worker.ref();
  thread.worker.postMessage({ name: job.name, args: job.args });
}

/** Makes a call. Resolves to its result, and to its arguments as the call left them. */
function call(name, args, job = {}) {
  load();
  return new Promise((resolve, reject) => {
    Object.assign(job, { name, args, resolve, reject });
    if (idle.length > 0) assign(idle.pop(), job);
    else if (threads < mostThreads) assign(start(), job);
    else waiting.push(job);
  });
}

/** The same, and rejects unless the result is 0. */
async function checked(name, args) {
  const reply = await call(name, args);
  if (reply.result !== 0) throw new VelkError(reply.result);
  return reply.args;
}

/** Ends a call that still waits for a thread as cancelled. */
function withdraw(job) {
  if (!waiting.includes(job)) return false;
  waiting.splice(waiting.indexOf(job), 1);
  job.resolve({ result: -10 });
  return true;
}

// One upload, its handle, and who follows it.
class Upload {
  #sent = new Float64Array(1);
  #total = new Float64Array(1);
  #last = [-1, -1];
  #timer;
  #isCancelled = false;
  job = {};

  constructor(service, onProgress) {
    this.service = service;
    this.onProgress = onProgress;
    this.uploader = functions[`Init${service}FileUploder`]();
    if (!this.uploader) throw new VelkError(-18);
    this.#timer = setInterval(() => this.#report(), poll);
  }

  /** True once the library took the cancel. YouTube's takes it only when its PUT has begun. */
  cancelOnce() {
    this.#isCancelled ||= functions[`Cancel${this.service}UploadFile`](this.uploader) === 0;
    return this.#isCancelled;
  }

  cancel() {
    clearInterval(this.#timer);
    this.#timer = setInterval(() => {
      if (this.cancelOnce()) clearInterval(this.#timer);
    }, retry);
  }

  #report() {
    if (!this.onProgress || this.thrown || this.#isCancelled) return;
    if (functions[`Get${this.service}UploadFileProgress`](this.uploader, this.#sent, this.#total) !== 0)
      return;
    const [sent, total] = [this.#sent[0], this.#total[0]];
    if (total <= 0 || (sent === this.#last[0] && total === this.#last[1])) return;
    this.#last = [sent, total];
    try {
      this.onProgress(sent, total);
    } catch (error) {
      this.thrown = { error };
      this.cancel();
    }
  }

  // Uninit refuses a finished handle of Facebook or Twitter, which then stays allocated, as the library requires.
  end() {
    this.#report();
    clearInterval(this.#timer);
    if (this.service === 'Youtube') this.cancelOnce();
    functions[`Uninit${this.service}FileUploder`](this.uploader);
    this.onProgress = undefined;
  }
}

/** Makes an upload, and rejects unless its result is 0. The service is that of the handle. */
async function follow(service, name, args, { onProgress, signal } = {}) {
  load();
  if (signal?.aborted) throw new VelkError(-10, { cause: signal.reason });
  const upload = new Upload(service, onProgress);
  const abort = () => withdraw(upload.job) || upload.cancel();
  signal?.addEventListener('abort', abort);
  following.add(upload);
  let reply;
  try {
    reply = await call(name, [upload.uploader, ...args], upload.job);
  } finally {
    upload.end();
    following.delete(upload);
    signal?.removeEventListener('abort', abort);
  }
  if (upload.thrown) throw upload.thrown.error;
  if (reply.result === -10 && signal?.aborted) throw new VelkError(-10, { cause: signal.reason });
  if (reply.result !== 0) throw new VelkError(reply.result);
  return reply.args.slice(1);
}

// The process ends only with its threads. So its exit cancels the uploads that run, and waits until they take it.
process.on('exit', () => {
  const isRunning = ({ job }) => job.running && Atomics.load(job.running, 0) === 1;
  const pending = new Set([...following].filter(isRunning));
  while (pending.size > 0) {
    for (const upload of pending) if (upload.cancelOnce() || !isRunning(upload)) pending.delete(upload);
    Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0, retry);
  }
});

module.exports = { call, checked, follow, load };
