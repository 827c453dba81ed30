#!/usr/bin/env node
// Sets up, builds and runs all tests; closes with the counts alone on a line.
// Usage: node tools/test.js [path ...]   with paths below test/: those JavaScript tests alone
'use strict';

const fs = require('fs');
const path = require('path');
const { build } = require('./build.js');
const { setup } = require('./setup.js');
const { ROOT, add, conclude, finish, listTests, runCppTests, runJsTests, testEnvironment } = require('./suite.js');

/** Every entry point and member must have been touched by the tests that ran before. */
async function checkCoverage(env) {
  const script = path.join(ROOT, 'test', 'coverage.js');
  if (!fs.existsSync(script)) return { passed: 0, failed: 0, skipped: 0 };
  const result = await finish(process.execPath, [script], env);
  process.stdout.write(result.output);
  const good = result.code === 0;
  return { passed: good ? 1 : 0, failed: good ? 0 : 1, skipped: 0 };
}

async function main(paths) {
  const failure = setup(['build', 'engine', 'test']);
  if (failure) throw new Error(failure);
  const output = build();
  if (paths.length > 0) return runJsTests({ env: testEnvironment(output), files: listTests(paths) });
  const coverage = path.join(output, 'coverage');
  fs.rmSync(coverage, { recursive: true, force: true });
  fs.mkdirSync(coverage, { recursive: true });
  const env = testEnvironment(output, { KILN_COVERAGE_DIR: coverage });
  const cpp = await runCppTests(path.join(ROOT, 'build', 'cmake', 'release'), env);
  const js = await runJsTests({ env });
  return add(cpp, js, await checkCoverage(env));
}

conclude(main(process.argv.slice(2)));
