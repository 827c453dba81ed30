#!/usr/bin/env node
// Builds with sanitizers and runs all tests under them; the host is the stock Node.js, our libraries are instrumented.
// Usage: node tools/sanitize.js [address-undefined | thread]
'use strict';

const path = require('path');
const { spawnSync } = require('child_process');
const { build } = require('./build.js');
const { setup } = require('./setup.js');
const { ROOT, add, conclude, runCppTests, runJsTests, testEnvironment } = require('./suite.js');

const SUPPRESSIONS = path.join(ROOT, 'test', 'sanitizers', 'lsan.supp');

const PRESETS = {
  'address-undefined': {
    runtime: 'libasan.so',
    environment: {
      // A test that ends by process.exit sets detect_leaks=0 for its child: the host's heap is not freed there.
      ASAN_OPTIONS: 'detect_leaks=1:fast_unwind_on_malloc=1:exitcode=99',
      LSAN_OPTIONS: `suppressions=${SUPPRESSIONS}:print_suppressions=0`,
      UBSAN_OPTIONS: 'print_stacktrace=1',
    },
  },
  thread: {
    runtime: 'libtsan.so',
    environment: { TSAN_OPTIONS: 'ignore_noninstrumented_modules=1:exitcode=66' },
  },
};

function runtimePath(name) {
  const result = spawnSync('g++', [`-print-file-name=${name}`], { encoding: 'utf8' });
  if (result.error) throw new Error('g++ could not be started: run "npm run setup" to install what the build needs.');
  return result.stdout.trim();
}

async function main([name = 'address-undefined']) {
  const preset = PRESETS[name];
  if (!preset) throw new Error(`There is no preset "${name}": choose ${Object.keys(PRESETS).join(' or ')}.`);
  const failure = setup(['build', 'engine', 'test']);
  if (failure) throw new Error(failure);
  const output = build({ preset: name });
  const env = testEnvironment(output, { ...preset.environment, KILN_SANITIZER: name });
  // The programs carry the sanitizer themselves; Node.js gets it ahead of everything else.
  const cpp = await runCppTests(path.join(ROOT, 'build', 'cmake', name), env);
  const js = await runJsTests({ env: { ...env, LD_PRELOAD: runtimePath(preset.runtime) } });
  return add(cpp, js);
}

conclude(main(process.argv.slice(2)));
