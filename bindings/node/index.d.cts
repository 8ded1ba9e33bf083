/**
 * Publishes to Facebook, Twitter and YouTube.
 *
 * Every call runs on a thread of its own, and its promise rejects with a {@link VelkError} when the library reports a
 * failure. A value that cannot be sent as it is gives a {@link ValueError}, and nothing is sent.
 */
import type { ResultName } from './results.cjs';

export type { ResultName };

/** A call that failed. With a code above zero it succeeded in part. */
export class VelkError extends Error {
  /** Such as "VELK_TOKEN_REJECTED"; "VELK_UNKNOWN" for a code that this package does not know. */
  name: ResultName | 'VELK_UNKNOWN';
  code: number;
  meaning: string;
  /** What an application should do. */
  advice: string;
  /** True when something was published or found, but not as requested. A second try would publish it twice. */
  partial: boolean;
  /** The reason of the signal that cancelled the upload. */
  cause?: unknown;
}

/** A value that does not fit as it is sent, or cannot be sent. Nothing was sent. */
export class ValueError extends RangeError {}

/** The library is missing, or is not the one that this package requires. The message contains its path. */
export class LibraryError extends Error {}

/** What each result code means. */
export const results: ReadonlyArray<{
  readonly code: number;
  readonly name: ResultName;
  readonly meaning: string;
  readonly advice: string;
}>;

/** How to follow an upload. */
export interface UploadOptions {
  /**
   * Receives the bytes sent and the bytes to send. A photo tweet counts each segment of 1 MiB by itself; Facebook's
   * figures count the form too, and start again on its second host. What it throws cancels the upload and rejects it.
   */
  onProgress?: (sent: number, total: number) => void;
  /** Cancels the upload: it rejects with VELK_CANCELLED. When everything was sent, it has no effect. */
  signal?: AbortSignal;
}

/**
 * Loads the library from a file. Without this, the first call loads the one in this package, or else what the system
 * finds.
 */
export function load(path?: string): void;

/** Sends all later requests of the process through a proxy; '' removes it. Set it before the first request. */
export function setProxy(url: string): void;
export function getProxy(): string;

/** Who sees a publication, and where it goes. */
export interface FacebookAudience {
  /** The value of Facebook's privacy object. Photos require it. */
  privacy?: 'EVERYONE' | 'ALL_FRIENDS' | 'FRIENDS_OF_FRIENDS' | 'SELF' | (string & {});
  /** The identifier of a page; the user's own feed without it. */
  target?: string;
}

export interface FacebookVideo extends FacebookAudience {
  /** The form announces the whole path to Facebook. */
  file: string;
  title: string;
  description: string;
}

export interface FacebookPhoto extends FacebookAudience {
  /** The form announces the whole path to Facebook. */
  file: string;
  message: string;
}

/** A message, a link or both. */
export interface FacebookPost extends FacebookAudience {
  message?: string;
  link?: string;
}

/** A message, a message and the privacy of what its story is about, or a description. */
export type FacebookChange = { message: string; privacy?: string } | { description: string };

export const facebook: {
  exchangeToken(
    appId: string,
    appSecret: string,
    token: string,
  ): Promise<{ token: string; /** Seconds. */ expiresIn?: number }>;
  /**
   * Whether a token is valid. A valid one is remembered for five minutes, since each check of one costs memory until
   * the process exits.
   */
  checkToken(appId: string, token: string): Promise<boolean>;
  /** The e-mail address is never found. */
  user(token: string): Promise<{ name: string; email: string }>;
  /** The pages that the user manages, which may be none. Their categories count as pages. */
  pages(token: string): Promise<Array<{ id: string; name: string }>>;
  /** Resolves to the identifier of the video. */
  uploadVideo(token: string, video: FacebookVideo, options?: UploadOptions): Promise<string>;
  /** Resolves to the identifier of the story about the photo; '' when Facebook names none. */
  uploadPhoto(token: string, photo: FacebookPhoto, options?: UploadOptions): Promise<string>;
  /** Resolves to the identifier of the post. */
  post(token: string, post: FacebookPost): Promise<string>;
  update(token: string, id: string, change: FacebookChange): Promise<void>;
  /** The URL of the page that shows a photo; '' when it has none. */
  photoUrl(token: string, id: string): Promise<string>;
  /** The URL of the page that shows a video. Nothing is sent. */
  videoUrl(id: string): Promise<string>;
  /** The URL of a video's own file; '' when it has none. */
  videoEmbedUrl(token: string, id: string): Promise<string>;
};

/** The application's own key and secret. */
export interface TwitterConsumer {
  key: string;
  secret: string;
}

/** The signed-in user. Keep it: it does not expire. */
export interface TwitterUser {
  token: string;
  tokenSecret: string;
  id: string;
  screenName: string;
}

export const twitter: {
  /** Resolves to the page where the user allows the application, and sees a PIN. */
  signIn(consumer: TwitterConsumer): Promise<{ url: string; requestToken: string }>;
  finishSignIn(consumer: TwitterConsumer, requestToken: string, pin: string): Promise<TwitterUser>;
  /** Posts a text of at most 420 bytes. Twitter has a limit of its own. */
  tweet(consumer: TwitterConsumer, user: TwitterUser, text: string, mediaIds?: string[]): Promise<void>;
  /** Uploads a photo of at most 5 MiB, and posts a tweet that shows it. The tweet itself cannot be cancelled. */
  uploadPhoto(
    consumer: TwitterConsumer,
    user: TwitterUser,
    photo: { file: string; text: string },
    options?: UploadOptions,
  ): Promise<void>;
};

export interface YoutubeDescription {
  title: string;
  description: string;
  /** "private" without it. */
  privacy?: 'public' | 'private' | 'unlisted';
  /** The number of a category; "22", which is people, without it. */
  category?: string;
  tags?: string[];
}

export const youtube: {
  /** Resolves to the identifier of the video. */
  upload(
    token: string,
    video: YoutubeDescription & { file: string },
    options?: UploadOptions,
  ): Promise<string>;
  /** Replaces title, description, privacy, category and tags: also pass what does not change. */
  update(token: string, id: string, video: YoutubeDescription): Promise<void>;
};
