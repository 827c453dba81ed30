// The embedded engine beside the add-on, taken when the search for an SDK library at require bound nothing.
'use strict';

const fs = require('fs');
const path = require('path');

const LIBRARY_NAMES = {
  win32: 'KilnSDKLibrary.dll',
  darwin: 'libKilnSDKLibrary.dylib',
};

/** The folder that the add-on was loaded from, where the engine's library lies too. */
function engineFolder() {
  return process.env.KILN_BUILD_DIR
    ? path.resolve(process.env.KILN_BUILD_DIR)
    : path.join(__dirname, '..', 'build', 'Release');
}

/** The file name of the SDK's library on this platform. */
function libraryName() {
  return LIBRARY_NAMES[process.platform] || 'libKilnSDKLibrary.so';
}

/** The file name of the program beside the engine that reads model files for it. */
function importerName() {
  return process.platform === 'win32' ? 'kiln-import.exe' : 'kiln-import';
}

/**
 * Points the add-on at the embedded engine, unless a library is loaded already or somebody named one in the
 * environment: a library that was named and does not load, or that lacks entry points, is an error that the user
 * wants to see, not one to hide behind another library. Returns whether the engine is what is bound now.
 */
function useEngineIfNothingBound(native) {
  if (process.env.KILN_ENGKIT_BIN || process.env.KILN_SDK) return false;
  if (!native.getSDKLibraryErrorString().startsWith('Error loading SDK Library.')) return false;
  const folder = engineFolder();
  if (!fs.existsSync(path.join(folder, libraryName()))) return false;
  return native.setSDKLibraryPath(folder);
}

module.exports = { engineFolder, importerName, libraryName, useEngineIfNothingBound };
