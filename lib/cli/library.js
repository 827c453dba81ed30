// Loads the package for a command, and says in one sentence why that did not work.
'use strict';

const { CommandFailure, EXIT } = require('./failure.js');

const LOADED = 'SDK library loaded correctly';

/** The package. Throws a CommandFailure when the add-on cannot be loaded. */
function loadPackage() {
  try {
    return require('../index.js');
  } catch (error) {
    const [reason] = error.message.split('\n');
    const advice = error.code === 'MODULE_NOT_FOUND' ? reason : `The add-on could not be loaded (${reason}): build it anew with "npm run build".`;
    throw new CommandFailure(EXIT.NO_LIBRARY, advice);
  }
}

/** What the add-on found: {bound, path, text}. The path is the one that the text ends with. */
function libraryState(kiln) {
  const text = kiln.getSDKLibraryErrorString();
  const match = /\(([^()]*)\)$/.exec(text);
  return { bound: text.startsWith(LOADED), path: match ? match[1] : '', text };
}

/** The package with a library bound. Throws a CommandFailure that names the remedies. */
function loadBoundPackage() {
  const kiln = loadPackage();
  const state = libraryState(kiln);
  if (!state.bound) {
    throw new CommandFailure(
      EXIT.NO_LIBRARY,
      `No rendering library could be used (${state.text}): build the engine with "npm run build", or set KILN_ENGKIT_BIN to the folder of a library.`
    );
  }
  return kiln;
}

module.exports = { loadPackage, loadBoundPackage, libraryState };
