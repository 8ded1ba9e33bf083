// What the package contains: its two kinds of modules, the tables that follow the header, and how it finds the library.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { test } from 'node:test';

import * as velk from 'velk-upload';
import { fileOf } from './support.mjs';

const require = createRequire(import.meta.url);
const header = readFileSync(join(process.env.VELK_SOURCE, 'include/velk_upload.h'), 'utf8');
const inPackage = (file) => require(`./node_modules/velk-upload/${file}`);

test('is one module for import and require', () => {
  const required = require('velk-upload');
  assert.deepEqual(Object.keys(required).sort(), Object.keys(velk).sort());
  for (const name of Object.keys(required)) assert.equal(velk[name], required[name], name);
});

test('lays out the records as the header does', () => {
  const { layouts } = inPackage('records.cjs');
  const expected = {};
  for (const [, record, field, offset, width] of header.matchAll(
    /^VELK_FIELD\((\w+), (\w+), (\d+), (\d+)\)/gm,
  ))
    (expected[record] ??= {})[field] = [Number(offset), Number(width)];
  for (const [, record, size] of header.matchAll(/^VELK_SIZE\((\w+), (\d+)\)/gm))
    expected[record].size = Number(size);
  delete expected.FileUploader; // read through functions alone
  assert.equal(Object.keys(expected).length, 7);
  assert.deepEqual(layouts, expected);
});

test('declares the functions as the header does', () => {
  const { signatures } = inPackage('library.cjs');
  const types = (parameters) =>
    parameters === 'void'
      ? []
      : parameters.split(',').map((parameter) => (/FileUploader\*/.test(parameter) ? 'uint64' : 'void *'));
  const expected = {};
  for (const [, result, name, parameters] of header.matchAll(
    /^VELK_API (.*?)(\w+)\(([^)]*)\) VELK_NOEXCEPT;/gms,
  ))
    expected[name] = [result.includes('FileUploader*') ? 'uint64' : 'int32', ...types(parameters)];
  assert.equal(Object.keys(expected).length, 32);
  // Second names of the functions of Facebook's handles.
  for (const name of ['Init', 'Uninit']) delete expected[`${name}TwitterFileUploder`];
  delete expected.GetTwitterUploadFileProgress;
  delete expected.CancelTwitterUploadFile;
  assert.deepEqual(signatures, expected);
});

const isWindows = process.platform === 'win32';
const libraryName = isWindows ? 'LibVelkUpload.dll' : 'libvelkupload.so.1';
const own = join(process.cwd(), `node_modules/velk-upload/native/${process.platform}-x64`, libraryName);

test('refuses a missing or other library', () => {
  const { openLibrary } = inPackage('library.cjs');
  const other = readFileSync(own);
  other[isWindows ? other.readUInt32LE(0x3c) + 4 : 18] = 0x4c;
  const rows = [
    [fileOf('text.so', 'not a library'), /: it is no library for this processor$/],
    [fileOf('other.so', other), /: it is no library for this processor$/],
    [fileOf('other.so', 'x') + '.gone', /: there is no such file$/],
    [
      isWindows ? 'C:\\windows\\system32\\kernel32.dll' : '/lib/x86_64-linux-gnu/libm.so.6',
      / lacks the function InitFacebookFileUploder: it is another library, or an older version$/,
    ],
  ];
  for (const [path, reason] of rows)
    assert.throws(
      () => openLibrary(path),
      (error) => {
        assert.ok(error instanceof velk.LibraryError, error);
        assert.ok(error.message.includes(path), error.message);
        assert.match(error.message, reason);
        return true;
      },
    );
});

test('searches beside itself, then leaves it to the system', () => {
  const { findLibrary } = inPackage('library.cjs');
  assert.equal(findLibrary(), own);
  assert.equal(findLibrary('a.so'), join(process.cwd(), 'a.so'));
  velk.load(own);
  assert.throws(() => velk.load(join(process.cwd(), 'a.so')), /is loaded already/);
});
