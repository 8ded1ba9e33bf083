// Takes the pictures of the page for the documentation, after the story of the demo. Usage: screenshots.mjs FOLDER
import { join } from 'node:path';
import { oauthHeader } from './oauth.mjs';
import { newPublisher, story } from './story.mjs';
import { openPage, startBrowser, startSandbox, viaProxy } from './support.mjs';

const kTweet = 'https://api.twitter.com/1.1/statuses/update.json';

const kLooks = {
  light: { colorScheme: 'light', viewport: { width: 1280, height: 800 } },
  dark: { colorScheme: 'dark', viewport: { width: 1280, height: 800 } },
  narrow: { colorScheme: 'light', viewport: { width: 360, height: 740 } },
};

async function fill(sandbox) {
  const publisher = await newPublisher(sandbox);
  // The application signed http instead of https.
  const form = { status: 'Hello' };
  const Authorization = oauthHeader('POST', kTweet.replace('https', 'http'), { oauth_token: '7505382-t' }, form,
    'velk-secret&7505382-t-secret');
  await story(sandbox, publisher);
  await viaProxy(sandbox, 'POST', kTweet, new URLSearchParams(form), { Authorization });
  const refused = (await sandbox.get('/totals')).requests;
  await publisher.signIn('wrong\n', { fails: true });
  await sandbox.post('/scripts', { host: 'graph*.facebook.com', path: '/me', status: 500 });
  await sandbox.post('/scripts', { host: '*.twitter.com', passThrough: true, cutAfter: 30 });
  await publisher.facebook('me', { fails: true });
  await publisher.end();
  return refused;
}

const [folder] = process.argv.slice(2);
const sandbox = await startSandbox();
const browser = await startBrowser();
try {
  const refused = await fill(sandbox);
  const views = { published: 'published', exchanges: `exchanges/${refused}`, faults: 'faults', 'sign-in': 'sign-in' };
  for (const [look, options] of Object.entries(kLooks)) {
    const page = await openPage(browser, sandbox.control, options);
    for (const [name, view] of Object.entries(views)) {
      await page.goto(`${sandbox.control}/#${view}`);
      await page.waitForTimeout(700); // until pictures and the first frames of videos are there
      await page.screenshot({ path: join(folder, `page-${name}-${look}.png`) });
    }
    await page.context().close();
  }
} finally {
  await browser.close();
  await sandbox.stop();
}
