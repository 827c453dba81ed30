#!/usr/bin/env node
// Installs the Debian packages that a fresh machine with Node.js lacks. Asks no network when nothing is missing.
// Usage: node tools/setup.js [group ...]   (groups stand in tools/packages.txt; build, engine and test by default)
'use strict';

const fs = require('fs');
const path = require('path');
const { spawnSync } = require('child_process');

const DEFAULT_GROUPS = ['build', 'engine', 'test'];

/** The packages of the file's groups: {build: [...], ...}. */
function readGroups() {
  const groups = {};
  let current = null;
  for (const line of fs.readFileSync(path.join(__dirname, 'packages.txt'), 'utf8').split('\n')) {
    const text = line.replace(/#.*/, '').trim();
    const header = /^\[(\w+)\]$/.exec(text);
    if (header) current = groups[header[1]] = [];
    else if (text) current.push(text);
  }
  return groups;
}

function missingPackages(names) {
  const query = spawnSync('dpkg-query', ['-W', '-f', '${Package} ${db:Status-Status}\n', ...names], { encoding: 'utf8' });
  if (query.error) return null;
  const installed = new Set();
  for (const line of query.stdout.split('\n')) {
    const [name, status] = line.split(' ');
    if (status === 'installed') installed.add(name);
  }
  return names.filter((name) => !installed.has(name));
}

function asRoot(command, args) {
  const root = process.getuid && process.getuid() === 0;
  const [program, rest] = root ? [command, args] : ['sudo', ['-n', command, ...args]];
  const env = Object.assign({}, process.env, { DEBIAN_FRONTEND: 'noninteractive' });
  const result = spawnSync(program, rest, { stdio: ['ignore', 'pipe', 'inherit'], encoding: 'utf8', env });
  return !result.error && result.status === 0;
}

/** Makes sure that the groups' packages are there. Returns null, or the sentence that says what to do. */
function setup(groups) {
  const known = readGroups();
  const unknown = groups.filter((group) => !known[group]);
  if (unknown.length > 0) {
    return `There is no package group "${unknown[0]}": choose from ${Object.keys(known).join(', ')}.`;
  }
  const missing = missingPackages([].concat(...groups.map((group) => known[group])));
  if (missing === null) {
    process.stderr.write('This is no Debian system: install what tools/packages.txt lists by hand if the build asks for it.\n');
    return null;
  }
  if (missing.length === 0) return null;
  process.stdout.write(`Installing ${missing.join(' ')}\n`);
  const advice = `run "apt-get install ${missing.join(' ')}" as root and try again.`;
  if (!asRoot('apt-get', ['update', '-q'])) return `The package lists could not be updated: ${advice}`;
  if (!asRoot('apt-get', ['install', '-q', '-y', '--no-install-recommends', ...missing])) {
    return `The packages could not be installed: ${advice}`;
  }
  return null;
}

module.exports = { setup, readGroups };

if (require.main === module) {
  const groups = process.argv.slice(2);
  const failure = setup(groups.length > 0 ? groups : DEFAULT_GROUPS);
  if (failure) {
    process.stderr.write(`${failure}\n`);
    process.exitCode = 1;
  }
}
