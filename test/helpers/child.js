'use strict';

// Runs a script in a process of its own, for what ends a process.

const path = require('path');
const {spawn} = require('child_process');
const paths = require('./paths');

// Starts Node.js on a script and waits for its end. `script` is the path of a file, or a function that is run with the
// helpers as its first argument and must use nothing else of its surroundings.
// Options: env (added to this process's; undefined removes), timeout in ms (20 s; then the child is killed and
// `timedOut` set), nodeArgs (before the script), args (for a file: behind it; for a function: its further arguments).
// Resolves to {code, signal, stdout, stderr, timedOut, ms}.
function runChild(script, {env = {}, timeout = 20000, nodeArgs = [], args = []} = {}) {
  const helpers = JSON.stringify(path.join(__dirname, 'index.js'));
  const tail = typeof script === 'function'
    ? ['-e', `(${script})(require(${helpers}), ...${JSON.stringify(args)})`]
    : [script, ...args];
  // Most children end in the middle, where the host does not free its heap; a leak check would take that for ours.
  const asan = `${process.env.ASAN_OPTIONS || ''}:detect_leaks=0`;
  const merged = {...process.env, KILN_TEST_BUILD: paths.build, ASAN_OPTIONS: asan, ...env};
  for (const key of Object.keys(merged)) {
    if (merged[key] === undefined) delete merged[key];
  }
  // A child of `node --test` would speak the runner's protocol on its standard output.
  delete merged.NODE_TEST_CONTEXT;
  return new Promise((resolve, reject) => {
    const start = Date.now();
    const child = spawn(process.execPath, [...nodeArgs, ...tail], {env: merged, cwd: paths.root});
    const out = {stdout: '', stderr: ''};
    let timedOut = false;
    const timer = setTimeout(() => {
      timedOut = true;
      child.kill('SIGKILL');
    }, timeout);
    for (const stream of ['stdout', 'stderr']) {
      child[stream].setEncoding('utf8');
      child[stream].on('data', (text) => { out[stream] += text; });
    }
    child.on('error', reject);
    child.on('close', (code, signal) => {
      clearTimeout(timer);
      resolve({code, signal, ...out, timedOut, ms: Date.now() - start});
    });
  });
}

module.exports = {runChild};
