// What the tests of the page share: a sandbox, a browser with the page, and clients that publish.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';

// The packages are in the cache, so Node.js would not find them from here.
const require = createRequire(join(process.env.VELK_PAGE, 'package.json'));
const { chromium } = require('playwright-core');

export const media = join(dirname(fileURLToPath(import.meta.url)), '../../examples/media');
export const photo = join(media, 'photo.jpg');
export const clip = join(media, 'clip.mp4');

/**
 * Starts a sandbox on free ports.
 * @param {...(string|{command: string[]})} options of the sandbox; {command} runs another program
 */
export async function startSandbox(...options) {
  const { command } = options.find((option) => option.command) ?? { command: [process.env.VELK_SANDBOX] };
  const own = options.filter((option) => !option.command);
  const ports = own.includes('--port') ? [] : ['--port', '0', '--control-port', '0'];
  const words = [...command, ...ports, ...own];
  const child = spawn(words[0], words.slice(1), { stdio: ['ignore', 'pipe', 'ignore'] });
  const [line] = await once(createInterface(child.stdout), 'line');
  const urls = JSON.parse(line);
  const send = async (method, path, body) => {
    const reply = await fetch(urls.control + path, { method, body: body && JSON.stringify(body) });
    return reply.json();
  };
  return {
    ...urls,
    get: (path) => send('GET', path),
    post: (path, body) => send('POST', path, body),
    stop: async () => {
      child.kill();
      await once(child, 'exit');
    },
  };
}

export async function startBrowser() {
  const args = process.getuid?.() === 0 ? ['--no-sandbox'] : [];
  return chromium.launch({ executablePath: process.env.VELK_CHROMIUM, args });
}

/** Opens the page, and fails the test with whatever goes wrong in it. */
export async function openPage(browser, url, options = {}) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, ...options });
  const page = await context.newPage();
  const errors = [];
  page.on('pageerror', (error) => errors.push(String(error)));
  page.on('console', (message) => {
    const { url: source } = message.location();
    // A reset removes media that the page is still loading. The tests look at the pixels of those that stay.
    if (message.type() === 'error' && !source.includes('/media/')) errors.push(`${message.text()} (${source})`);
  });
  page.errors = errors;
  page.foreign = [];
  page.on('request', (request) => {
    if (!request.url().startsWith(new URL(url).origin)) page.foreign.push(request.url());
  });
  await page.goto(url);
  await page.locator('#connection.open').waitFor();
  return page;
}

/**
 * Makes a function that runs velk-publish with the given words, and returns its status and what it printed. The last
 * word can be {input, env, fails}: a run that ends with another status than 0 fails the test unless fails is set.
 */
export const publisher = (sandbox) => async (...words) => {
  const options = typeof words.at(-1) === 'object' ? words.pop() : {};
  const child = spawn(process.env.VELK_PUBLISH, ['--proxy', sandbox.proxy, ...words], {
    env: {
      PATH: process.env.PATH,
      VELK_FACEBOOK_TOKEN: 'long-short',
      VELK_TWITTER_CONSUMER_SECRET: 'velk-secret',
      VELK_YOUTUBE_TOKEN: 'demo',
      ...options.env,
    },
  });
  let output = '';
  for (const stream of [child.stdout, child.stderr]) stream.on('data', (piece) => (output += piece));
  child.stdin.on('error', () => undefined);
  Promise.resolve(options.input ?? '').then((input) => child.stdin.end(input));
  const [status] = await once(child, 'close');
  if (status !== 0 && !options.fails) throw new Error(`velk-publish ${words.join(' ')}: status ${status}\n${output}`);
  return { status, output };
};

/** Sends a request that velk-publish cannot send, through the proxy, and returns the body of the reply. */
export function viaProxy(sandbox, method, url, body, headers = {}) {
  const type = body instanceof URLSearchParams ? { 'Content-Type': 'application/x-www-form-urlencoded' } : {};
  const options = ['--silent', '--insecure', '--max-time', '10', '--proxy', sandbox.proxy, '--request', method];
  for (const header of Object.entries({ ...type, ...headers })) options.push('--header', header.join(': '));
  if (body !== undefined) options.push('--data-binary', String(body));
  const child = spawn('curl', [...options, url], { stdio: ['ignore', 'pipe', 'ignore'] });
  let text = '';
  child.stdout.on('data', (piece) => (text += piece));
  return once(child, 'close').then(() => text);
}
