#!/usr/bin/env node
// Holds the C++ against clang-format, clang-tidy and the one rule that no tool knows; closes with counts of files.
// Usage: node tools/lint.js [format] [versions] [tidy]   all by default
'use strict';

const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { build } = require('./build.js');
const { setup } = require('./setup.js');
const { ROOT, add, conclude, finish, nothing } = require('./suite.js');

const VERSION_NAMES = /V8_MAJOR_VERSION|NODE_MODULE_VERSION/;
const VERSION_FILE = 'src/binding/v8_compat.h';

/** Tracked C and C++ files below the given folders that exist. */
function sources(folders, pattern) {
  const result = spawnSync('git', ['ls-files', '-z', '--', ...folders], { cwd: ROOT, encoding: 'utf8' });
  if (result.status !== 0) throw new Error('The list of files could not be read: run this in a git checkout.');
  return result.stdout.split('\0').filter((file) => pattern.test(file) && fs.existsSync(path.join(ROOT, file)));
}

async function inParallel(items, work) {
  const waiting = [...items];
  let total = nothing();
  const worker = async () => {
    for (let item = waiting.shift(); item !== undefined; item = waiting.shift()) {
      // In two steps: the sum may have grown while the work was awaited.
      const counts = await work(item);
      total = add(total, counts);
    }
  };
  await Promise.all(Array.from({ length: os.cpus().length }, worker));
  return total;
}

function judged(good, output) {
  if (!good) process.stdout.write(output);
  return { passed: good ? 1 : 0, failed: good ? 0 : 1, skipped: 0 };
}

const checks = {
  async format() {
    const files = sources(['include', 'src', 'engine', 'test', 'bench'], /\.(cpp|cc|c|h)$/);
    return inParallel(files, async (file) => {
      const result = await finish('clang-format', ['--dry-run', '-Werror', file], process.env);
      return judged(result.code === 0, result.output);
    });
  },

  /** What differs between versions of the host is told in one place, where the next version will be added. */
  async versions() {
    const holders = sources(['include', 'src', 'engine', 'test'], /\.(cpp|cc|c|h|def)$/).filter((file) =>
      VERSION_NAMES.test(fs.readFileSync(path.join(ROOT, file), 'utf8'))
    );
    const strangers = holders.filter((file) => file !== VERSION_FILE);
    const good = strangers.length === 0 && holders.includes(VERSION_FILE);
    return judged(good, `Versions of the host belong in ${VERSION_FILE} alone; they stand in: ${holders.join(', ') || 'no file'}\n`);
  },

  async tidy() {
    build();
    const folder = path.join(ROOT, 'build', 'tidy');
    const commands = JSON.parse(fs.readFileSync(path.join(ROOT, 'build', 'cmake', 'release', 'compile_commands.json'), 'utf8'));
    const files = new Map();
    for (const entry of commands) {
      const file = path.relative(ROOT, entry.file);
      // The compiler that builds knows options that the one that checks does not.
      const command = entry.command
        .replace(/ -fno-gnu-unique| -Winvalid-pch/g, '')
        .replace(/ -include \S*cmake_pch\.hxx/g, '')
        .replace(/^\S*ccache /, '');
      if (/^(src|engine)\//.test(file)) files.set(file, { ...entry, command });
    }
    fs.mkdirSync(folder, { recursive: true });
    fs.writeFileSync(path.join(folder, 'compile_commands.json'), JSON.stringify([...files.values()]));
    return inParallel([...files.keys()].sort(), async (file) => {
      const result = await finish('clang-tidy', ['-p', folder, '--quiet', file], process.env);
      return judged(result.code === 0, `${result.output}\n`);
    });
  },
};

async function main(names) {
  const unknown = names.find((name) => !checks[name]);
  if (unknown) throw new Error(`There is no check "${unknown}": choose from ${Object.keys(checks).join(', ')}.`);
  const failure = setup(['build', 'engine', 'test', 'lint']);
  if (failure) throw new Error(failure);
  let total = nothing();
  for (const name of names.length > 0 ? names : Object.keys(checks)) {
    const counts = await checks[name]();
    process.stdout.write(`${name}: ${counts.passed} passed, ${counts.failed} failed\n`);
    // A check that found nothing to look at has not checked.
    if (counts.passed + counts.failed === 0) counts.failed = 1;
    total = add(total, counts);
  }
  return total;
}

conclude(main(process.argv.slice(2)));
