// `kiln info`: what is installed, which library is bound, and what it lacks.
'use strict';

const { EXIT } = require('./failure.js');
const { libraryState, loadPackage } = require('./library.js');
const { version } = require('../../package.json');

const SHOWN_NAMES = 5;

function collect() {
  const kiln = loadPackage();
  const library = libraryState(kiln);
  const info = {
    package: version,
    node: process.versions.node,
    modules: process.versions.modules,
    library: library.path,
    bound: library.bound,
    message: library.text,
    missing: kiln.getSDKLibraryMissingFunctions(),
  };
  if (library.bound) {
    info.api = kiln.getAPIVersion();
    info.kiln = kiln.getKilnVersion();
    info.details = kiln.getKilnVersionDetails() || '';
  }
  return info;
}

/** The first names of a list that may be hundreds long; --json has them all. */
function someNames(names) {
  const shown = names.slice(0, SHOWN_NAMES).join(', ');
  return names.length > SHOWN_NAMES ? `${shown} and ${names.length - SHOWN_NAMES} more` : shown;
}

function asText(info) {
  const lines = [
    ['package', info.package],
    ['node', `${info.node} (modules ${info.modules})`],
    ['library', info.library],
    ['state', info.bound ? 'bound' : `not bound: ${info.message}`],
  ];
  if (info.bound) {
    lines.push(['api', info.api], ['kiln', info.kiln]);
    if (info.details) lines.push(['details', info.details]);
  }
  if (info.missing.length > 0) lines.push(['missing', someNames(info.missing)]);
  return lines.map(([key, value]) => `${key.padEnd(9)}${value}\n`).join('');
}

/** Prints, and returns the exit code: a library that is not bound is told apart by it. */
function info({ json }) {
  const facts = collect();
  process.stdout.write(json ? `${JSON.stringify(facts)}\n` : asText(facts));
  return facts.bound ? EXIT.OK : EXIT.NO_LIBRARY;
}

module.exports = { info };
