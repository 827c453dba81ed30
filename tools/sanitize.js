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

// C++ tests that say nothing under the thread sanitizer, or take minutes to say it again, each with the reason.
const THREAD_LEAVES_OUT = [
  {
    cpp: 'engine_library_cycles\\.unreleased',
    reason: 'a library that goes with its threads at work 300 times wears out the map of memory that the sanitizer keeps',
  },
  { cpp: 'Bsdf(Classes)?\\..*', reason: 'thousands of directions for each surface, on one thread' },
  { cpp: '(.*/)?(GltfRules|GltfMutations|DamagedModels|Damaged)\\..*', reason: 'damaged files, each read by one thread' },
  { cpp: 'Denoise\\.(ComesCloser|WithoutGuides|StrengthBlends).*', reason: 'pictures of minutes; the other tests of the denoiser have the same threads' },
];

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
  // No report is suppressed. What Node.js and the libraries do among themselves is not looked at; what they order
  // for us is told to the sanitizer: by engine/render/handover.h for oneTBB, by the intercepted locks and semaphores
  // for Node.js, and by the port's own count where a wake of the loop orders nothing that it sees.
  thread: {
    runtime: 'libtsan.so',
    environment: { TSAN_OPTIONS: 'ignore_noninstrumented_modules=1:exitcode=66:atexit_sleep_ms=100:allocator_may_return_null=1' },
    leftOut: THREAD_LEAVES_OUT,
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
  // An interactive session of 500 edits instead of 50.
  const env = testEnvironment(output, { ...preset.environment, KILN_SANITIZER: name, KILN_TEST_EDITS: '500' });
  const leftOut = preset.leftOut || [];
  for (const { cpp, reason } of leftOut) process.stdout.write(`left out: ${cpp}: ${reason}\n`);
  // The programs carry the sanitizer themselves; Node.js gets it ahead of everything else.
  const cpp = await runCppTests(path.join(ROOT, 'build', 'cmake', name), env, leftOut.map((one) => one.cpp));
  const js = await runJsTests({ env: { ...env, LD_PRELOAD: runtimePath(preset.runtime) } });
  return add(cpp, js);
}

conclude(main(process.argv.slice(2)));
