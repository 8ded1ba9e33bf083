// What TypeScript accepts and refuses. It is only compiled.
import velk = require('velk-upload');
import { facebook, twitter, VelkError, youtube, type ResultName } from 'velk-upload';

const controller = new AbortController();
const options = {
  onProgress: (sent: number, total: number) => void (sent / total),
  signal: controller.signal,
};
const film = { file: 'clip.mp4', title: 'Bars', description: 'A test', tags: ['bars'] };
const id: string = await youtube.upload('token', film, options);
await youtube.update('token', id, { title: 'Bars', description: 'A test', privacy: 'public' });
await facebook.post('token', { message: 'Hello', privacy: 'EVERYONE' });
const { expiresIn }: { expiresIn?: number } = await facebook.exchangeToken('app', 'secret', 'token');
const user = await twitter.finishSignIn({ key: 'k', secret: 's' }, 'request', '123');
await twitter.tweet({ key: 'k', secret: 's' }, user, `${expiresIn}`);
velk.setProxy('');
try {
  await facebook.update('token', id, { message: 'a', privacy: 'SELF' });
} catch (error) {
  if (error instanceof VelkError && error.name === 'VELK_TOKEN_REJECTED')
    console.log(error.code, error.advice);
}

// @ts-expect-error: a title is missing
await youtube.upload('token', { file: 'clip.mp4', description: 'A test' });
// @ts-expect-error: no privacy of YouTube
await youtube.update('token', id, { ...film, privacy: 'SELF' });
// @ts-expect-error: a privacy alone
await facebook.update('token', id, { privacy: 'SELF' });
// @ts-expect-error: no result code
const name: ResultName = 'VELK_NOTHING';
