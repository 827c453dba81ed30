// Runs small programs and the command line in processes of their own, for the tests of the package.
'use strict';

const path = require('path');
const { spawn } = require('child_process');

const ROOT = path.join(__dirname, '..', '..');

/**
 * The environment of the tests without the variables that choose a library, plus the given ones. Under the address
 * sanitizer without its leak check: a program that ends by process.exit does not free the host's heap.
 */
function environment(extra = {}) {
  const env = { ...process.env, ASAN_OPTIONS: `${process.env.ASAN_OPTIONS || ''}:detect_leaks=0` };
  delete env.KILN_ENGKIT_BIN;
  delete env.KILN_SDK;
  return { ...env, ...extra };
}

/**
 * Runs Node.js with the arguments; resolves to {code, signal, stdout, stderr}.
 * options: {env, cwd, timeout in ms (two minutes), onOutput(text, child)}.
 */
function runNode(args, options = {}) {
  return new Promise((resolve, reject) => {
    const child = spawn(process.execPath, args, {
      cwd: options.cwd || ROOT,
      env: environment(options.env),
      stdio: ['ignore', 'pipe', 'pipe'],
      timeout: options.timeout || 120000,
    });
    const output = { stdout: '', stderr: '' };
    for (const name of ['stdout', 'stderr']) {
      child[name].setEncoding('utf8');
      child[name].on('data', (text) => {
        output[name] += text;
        if (options.onOutput) options.onOutput(text, child);
      });
    }
    child.on('error', reject);
    child.on('close', (code, signal) => resolve({ code, signal, ...output }));
  });
}

/** Runs a script text as a program of its own, with `kiln` required. */
function runScript(text, options = {}) {
  return runNode(['-e', `const kiln = require('./lib/index.js');\n${text}`], options);
}

/** Runs the command line. */
function runKiln(args, options = {}) {
  return runNode([path.join(ROOT, 'bin', 'kiln.js'), ...args], options);
}

module.exports = { ROOT, runNode, runScript, runKiln };
