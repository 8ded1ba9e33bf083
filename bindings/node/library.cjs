// Finds and loads the library.
'use strict';

const { closeSync, existsSync, openSync, readSync } = require('node:fs');
const { join, resolve } = require('node:path');
const koffi = require('koffi');

const libraryName = process.platform === 'win32' ? 'LibVelkUpload.dll' : 'libvelkupload.so.1';
const folder = join(__dirname, 'native', `${process.platform}-${process.arch}`);

/** The library is missing, or is not the one that this package requires. */
class LibraryError extends Error {
  name = 'LibraryError';
}

// The functions: the result, then the parameters. A handle is an address, and travels between threads as a number.
const handle = 'uint64';
const pointer = 'void *';
const signatures = {
  InitFacebookFileUploder: [handle],
  UninitFacebookFileUploder: ['int32', handle],
  GetFacebookUploadFileProgress: ['int32', handle, pointer, pointer],
  CancelFacebookUploadFile: ['int32', handle],
  InitYoutubeFileUploder: [handle],
  UninitYoutubeFileUploder: ['int32', handle],
  GetYoutubeUploadFileProgress: ['int32', handle, pointer, pointer],
  CancelYoutubeUploadFile: ['int32', handle],
  SetLibVelkUploadProxy: ['int32', pointer],
  GetLibVelkUploadProxy: ['int32', pointer, pointer],
  ExangeFacebookAccessToken: ['int32', pointer, pointer, pointer, pointer, pointer, pointer],
  CheckFacebookAccessTokenValid: ['int32', pointer, pointer, pointer],
  GetFacebookUserNameEmail: ['int32', pointer, pointer, pointer, pointer, pointer],
  StartFacebookUploadVideo: ['int32', handle, pointer, pointer, pointer],
  StartFacebookUploadPhoto: ['int32', handle, pointer, pointer, pointer],
  PostFacebookComment: ['int32', pointer, pointer, pointer],
  GetFacebookUserPagesList: ['int32', pointer, pointer, pointer],
  FreeFacebookUserPagesList: ['int32', pointer],
  SetFacebookUpdateInfo: ['int32', pointer, pointer, pointer],
  GetFacebookPhotoUrl: ['int32', pointer, pointer, pointer, pointer],
  GetFacebookVideoUrl: ['int32', pointer, pointer, pointer, pointer],
  GetFacebookVideoEmbedUrl: ['int32', pointer, pointer, pointer, pointer],
  GetTwitterOauthUrl: ['int32', pointer, pointer, pointer, pointer],
  GetTwitterAccessToken: ['int32', pointer, pointer],
  PostTwitterComment: ['int32', pointer, pointer, pointer, pointer],
  StartTwitterUploadPhoto: ['int32', handle, pointer, pointer, pointer],
  StartYoutubeUploadFile: ['int32', handle, pointer, pointer, pointer],
  SetYoutubeUploadFileUpdateInfo: ['int32', pointer, pointer, pointer],
};

/** The given file, or else the one in this package, or else what the system finds. */
function findLibrary(path) {
  if (path) return resolve(path);
  const beside = join(folder, libraryName);
  return existsSync(beside) ? beside : libraryName;
}

// The processor that a program or library is for, as its head states it.
function processorOf(path) {
  const head = Buffer.alloc(4096);
  const file = openSync(path);
  const size = readSync(file, head);
  closeSync(file);
  if (head.toString('latin1', 0, 2) !== 'MZ')
    return head.toString('latin1', 0, 5) + head.toString('latin1', 18, 20);
  const at = head.readUInt32LE(0x3c);
  return at + 6 <= size ? `PE${head.toString('latin1', at + 4, at + 6)}` : '';
}

// The system's own reason does not name the processor.
function reasonOf(path, error) {
  if (path === libraryName)
    return `it is not in ${folder}, and the system does not find it: ${error.message}`;
  if (!existsSync(path)) return 'there is no such file';
  return processorOf(path) === processorOf(process.execPath)
    ? error.message
    : 'it is no library for this processor';
}

/** Loads the library and looks up every function. */
function openLibrary(path) {
  let library;
  try {
    library = koffi.load(path);
  } catch (error) {
    throw new LibraryError(`velk-upload: cannot load ${path}: ${reasonOf(path, error)}`);
  }
  const functions = {};
  for (const [name, [result, ...parameters]] of Object.entries(signatures)) {
    try {
      functions[name] = library.func(name, result, parameters);
    } catch {
      throw new LibraryError(
        `velk-upload: ${path} lacks the function ${name}: it is another library, or an older version`,
      );
    }
  }
  return functions;
}

/** Copies memory of the library. */
const copyFrom = (address, size) => Buffer.from(new Uint8Array(koffi.view(address, size)));

module.exports = { LibraryError, copyFrom, findLibrary, openLibrary, signatures };
