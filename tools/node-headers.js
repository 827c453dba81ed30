#!/usr/bin/env node
// Finds the headers of a Node.js version, and its binary: beside the running one, or from the npm registry's packages
// of Node.js, which carry both, kept in .cache/nodes/<version>.
// Usage: node tools/node-headers.js [version]   prints the folder with node.h
'use strict';

const fs = require('fs');
const path = require('path');
const { spawnSync } = require('child_process');

const CACHE = path.join(__dirname, '..', '.cache', 'nodes');

/** "20.20.2" from the version header in the folder; null when there is none. */
function versionOfHeaders(include) {
  const file = path.join(include, 'node_version.h');
  if (!fs.existsSync(file)) return null;
  const text = fs.readFileSync(file, 'utf8');
  const part = (name) => (new RegExp(`#define NODE_${name}_VERSION (\\d+)`).exec(text) || [])[1];
  return ['MAJOR', 'MINOR', 'PATCH'].map(part).join('.');
}

/** The headers that were installed with the running Node.js; null when they are of another version. */
function installedHeaders() {
  const prefix = path.dirname(path.dirname(fs.realpathSync(process.execPath)));
  const include = path.join(prefix, 'include', 'node');
  return versionOfHeaders(include) === process.versions.node ? include : null;
}

function run(command, args, cwd) {
  const result = spawnSync(command, args, { cwd, encoding: 'utf8' });
  return !result.error && result.status === 0;
}

/** Fetches the version into the cache; returns its folder, with bin/node and include/node. Throws a sentence. */
function fetchNode(version) {
  const folder = path.join(CACHE, version);
  if (versionOfHeaders(path.join(folder, 'include', 'node')) === version) return folder;
  const name = `node-${process.platform}-${process.arch}`;
  const work = path.join(CACHE, `.fetching-${version}-${process.pid}`);
  fs.mkdirSync(work, { recursive: true });
  try {
    if (!run('npm', ['pack', '--silent', `${name}@${version}`], work) || !run('tar', ['xzf', `${name}-${version}.tgz`], work)) {
      throw new Error(
        `Node.js ${version} could not be fetched: check the connection to the npm registry, or unpack it into ${path.relative(process.cwd(), folder)} yourself.`
      );
    }
    fs.rmSync(folder, { recursive: true, force: true });
    fs.renameSync(path.join(work, 'package'), folder);
  } finally {
    fs.rmSync(work, { recursive: true, force: true });
  }
  return folder;
}

/** The folder with node.h of the version, by default the running one's. Throws a sentence when it cannot be had. */
function headersFor(version = process.versions.node) {
  const installed = version === process.versions.node ? installedHeaders() : null;
  return installed || path.join(fetchNode(version), 'include', 'node');
}

/** The binary of the version. Throws a sentence when it cannot be had. */
function nodeFor(version) {
  return version === process.versions.node ? process.execPath : path.join(fetchNode(version), 'bin', 'node');
}

module.exports = { headersFor, nodeFor };

if (require.main === module) {
  try {
    process.stdout.write(`${headersFor(process.argv[2])}\n`);
  } catch (error) {
    process.stderr.write(`${error.message}\n`);
    process.exitCode = 1;
  }
}
