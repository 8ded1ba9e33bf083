import velk from './index.cjs';

export const { LibraryError, ValueError, VelkError } = velk;
export const { facebook, getProxy, load, results, setProxy, twitter, youtube } = velk;
