// Runs the tests and counts them: the C++ tests, and the JavaScript files, a process each.
'use strict';

const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawn, spawnSync } = require('child_process');

const ROOT = path.join(__dirname, '..');
const FILE_TIMEOUT_SECONDS = 300;

const nothing = () => ({ passed: 0, failed: 0, skipped: 0 });

function add(...counts) {
  const sum = nothing();
  for (const one of counts) for (const key of Object.keys(sum)) sum[key] += one[key];
  return sum;
}

/** The line that closes a run. */
function closingLine(counts) {
  const skipped = counts.skipped > 0 ? `, ${counts.skipped} skipped` : '';
  return `${counts.passed} passed, ${counts.failed} failed${skipped}`;
}

/** A run in which nothing passed has not looked at anything, whatever its exit codes. */
function succeeded(counts) {
  return counts.failed === 0 && counts.passed > 0;
}

/** The environment that points the package and the tests at the built libraries. */
function testEnvironment(output, extra = {}) {
  return { ...process.env, KILN_BUILD_DIR: output, KILN_TEST_BUILD: output, ...extra };
}

/** All *.test.js below test/, or below the given paths, in order. */
function listTests(paths = ['test']) {
  const found = [];
  const walk = (entry) => {
    if (fs.statSync(entry).isDirectory()) fs.readdirSync(entry).sort().forEach((name) => walk(path.join(entry, name)));
    else if (entry.endsWith('.test.js')) found.push(entry);
  };
  paths.forEach((entry) => walk(path.resolve(ROOT, entry)));
  return found.map((file) => path.relative(ROOT, file));
}

function countTap(text) {
  const number = (name) => Number((new RegExp(`^# ${name} (\\d+)`, 'm').exec(text) || [0, 0])[1]);
  return { passed: number('pass'), failed: number('fail') + number('cancelled'), skipped: number('skipped') };
}

/** A file's output without its passed tests. */
function withoutPassed(text) {
  const passed = /^( *)(?:# Subtest: .*\n\1)?ok \d+.*\n(?:\1  ---\n(?:.*\n)*?\1  \.\.\.\n)?/gm;
  return text.replace(passed, '');
}

/** Runs one program to its end; resolves to {output, code, signal}. Ends it after the seconds. */
function finish(program, args, env, seconds = 1800) {
  return new Promise((resolve) => {
    const child = spawn(program, args, { cwd: ROOT, env, stdio: ['ignore', 'pipe', 'pipe'] });
    const pieces = [];
    child.stdout.on('data', (data) => pieces.push(data));
    child.stderr.on('data', (data) => pieces.push(data));
    let late = false;
    const timer = setTimeout(() => {
      late = true;
      child.kill('SIGKILL');
    }, seconds * 1000);
    child.on('error', (error) => resolve({ output: String(error), code: 1, signal: null }));
    child.on('close', (code, signal) => {
      clearTimeout(timer);
      const note = late ? `\nEnded after ${seconds} s.\n` : '';
      resolve({ output: Buffer.concat(pieces).toString() + note, code, signal });
    });
  });
}

// The leak check stops the process from another one; where that fails it says so, and nothing of the test.
const LEAK_CHECK_FAILED = /LeakSanitizer has encountered a fatal error/;

async function runTest(file, { node, nodeArgs, env }) {
  const major = Number(spawnVersion(node).split('.')[0]);
  // The reporter's default differs between versions; before 18 there is only this one.
  const reporter = major >= 18 ? ['--test-reporter=tap'] : [];
  const run = () => finish(node, [...nodeArgs, ...reporter, file], env, FILE_TIMEOUT_SECONDS);
  let result = await run();
  if (result.code !== 0 && LEAK_CHECK_FAILED.test(result.output)) result = await run();
  const counts = countTap(result.output);
  const crashed = (result.code !== 0 || result.signal) && counts.failed === 0;
  const empty = counts.passed + counts.failed + counts.skipped === 0;
  if (crashed || empty) counts.failed += 1;
  const reason = crashed ? ` (ended with ${result.signal || result.code})` : empty ? ' (ran no test)' : '';
  return { counts, report: counts.failed > 0 ? `FAILED ${file}${reason}\n${withoutPassed(result.output)}` : null };
}

const versions = new Map();
function spawnVersion(node) {
  if (!versions.has(node)) {
    const result = spawnSync(node, ['-p', 'process.versions.node'], { encoding: 'utf8' });
    versions.set(node, result.error ? process.versions.node : result.stdout.trim());
  }
  return versions.get(node);
}

/**
 * Runs the JavaScript tests, as many at a time as there are cores, and prints a line for each file.
 * options: {node, nodeArgs, env, files, concurrency}.
 */
async function runJsTests(options = {}) {
  const settings = { node: process.execPath, nodeArgs: ['--expose-gc'], env: process.env, files: listTests(), ...options };
  const waiting = [...settings.files];
  let total = nothing();
  const worker = async () => {
    for (let file = waiting.shift(); file; file = waiting.shift()) {
      const { counts, report } = await runTest(file, settings);
      total = add(total, counts);
      process.stdout.write(report || `${closingLine(counts).padEnd(24)} ${file}\n`);
    }
  };
  const count = Math.min(settings.concurrency || os.cpus().length, Math.max(1, waiting.length));
  await Promise.all(Array.from({ length: count }, worker));
  return total;
}

/** Runs the C++ tests of a configured build by ctest, save those with the given names, and prints what failed. */
async function runCppTests(folder, env = process.env, leftOut = []) {
  const args = ['--test-dir', folder, '--output-on-failure', '-j', String(os.cpus().length), '--timeout', '300'];
  if (leftOut.length > 0) args.push('-E', `^(${leftOut.join('|')})$`);
  const { output, code } = await finish('ctest', args, env);
  const summary = /(\d+)% tests passed, (\d+) tests failed out of (\d+)/.exec(output);
  const counts = nothing();
  if (summary) {
    counts.failed = Number(summary[2]);
    counts.skipped = (output.match(/\*\*\*(Skipped|Not Run \(Disabled\))/g) || []).length;
    counts.passed = Number(summary[3]) - counts.failed - counts.skipped;
  }
  if (counts.failed === 0 && (code !== 0 || counts.passed === 0)) counts.failed = 1;
  const quiet = /^ *\d+\/\d+ Test +#\d+.* Passed |^ +Start +\d+:/;
  const rest = output.split('\n').filter((line) => !quiet.test(line)).join('\n');
  process.stdout.write(counts.failed > 0 ? `FAILED ctest\n${rest}` : `${closingLine(counts).padEnd(24)} ctest\n`);
  return counts;
}

/** Ends a runner: prints the counts alone on the last line, or the sentence that it failed with; sets the exit code. */
async function conclude(run) {
  try {
    const counts = await run;
    process.stdout.write(`${closingLine(counts)}\n`);
    if (!succeeded(counts)) process.exitCode = 1;
  } catch (error) {
    process.stderr.write(`${error.message}\n`);
    process.exitCode = 1;
  }
}

module.exports = { ROOT, add, closingLine, conclude, succeeded, nothing, testEnvironment, listTests, runJsTests, runCppTests, finish };
