// The story of scripts/demo, in short: it publishes to all three services.
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { clip, photo, publisher } from './support.mjs';

export const kPage = '104000000000001';

/** Makes what publishes to a sandbox, with credentials of its own. Call end() afterwards. */
export async function newPublisher(sandbox) {
  const folder = await mkdtemp(join(tmpdir(), 'velk-page-'));
  const user = join(folder, 'user.conf');
  const run = publisher(sandbox);
  return {
    run,
    facebook: (...words) => run('facebook', ...words),
    youtube: (...words) => run('youtube', ...words),
    twitter: (...words) => run('twitter', ...words, '--config', user),
    signIn: (input, options) =>
      run('twitter', 'sign-in', '--consumer-key', 'velk', '--save', user, { input, ...options }),
    end: () => rm(folder, { recursive: true }),
  };
}

const newest = async (sandbox, service, list) => (await sandbox.get('/state'))[service][list].at(-1).id;

export async function story(sandbox, { facebook, youtube, twitter, signIn }) {
  await facebook('pages');
  await signIn('1234567\n');
  await youtube('upload', '--title', 'Colour bars', '--description', 'Five seconds of test picture\nwith a tone',
    '--privacy', 'unlisted', '--category', '28', '--tag', 'test', '--tag', 'colour bars', clip);
  const video = await newest(sandbox, 'youtube', 'videos');
  // The identifier can begin with a hyphen.
  await youtube('update', '--title', 'Colour bars, again', '--description', "It's a better title",
    '--privacy', 'public', '--category', '27', '--tag', 'bars', '--', video);
  await facebook('video', '--target', kPage, '--title', 'Colour bars', '--description', 'Five seconds of test picture',
    '--privacy', 'EVERYONE', clip);
  await facebook('photo', '--message', 'A gradient', '--privacy', 'SELF', photo);
  await twitter('photo', '--text', 'A gradient', photo);
  await facebook('post', '--message', 'Hello', '--link', 'https://example.org', '--privacy', 'EVERYONE');
  const post = await newest(sandbox, 'facebook', 'objects');
  await facebook('update', '--message', 'Hello everyone', '--privacy', 'EVERYONE', '--', post);
  await twitter('tweet', '--text', 'Hello & good morning');
  return { video, post };
}
