'use strict';

// The coverage of the list of entry points complains where it should.

const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const {spawnSync} = require('child_process');
const {runChild, paths} = require('../helpers');
const {readRows, complaints} = require('../coverage');

const rows = ['a', 'b'];

test('the rows are all found', () => assert.strictEqual(readRows().length, 341));

test('a covered list gives no complaint', () => {
  assert.deepStrictEqual(complaints(rows, new Set(['a']), {b: 'reason'}, 1), []);
});

test('each defect of a list gives one', () => {
  assert.match(complaints(rows, new Set(['a']), {}, 1).join(), /b is exercised by no test/);
  assert.match(complaints(rows, new Set(rows), {b: 'reason'}, 1).join(), /b is exercised, so/);
  assert.match(complaints(rows, new Set(rows), {c: 'reason'}, 1).join(), /c is an exception, but no entry point/);
  assert.match(complaints(rows, new Set(['a']), {b: ' '}, 1).join(), /b is an exception without a reason/);
  assert.match(complaints(rows, new Set(rows), {}, 0).join(), /No process/);
  assert.match(complaints([], new Set(), {}, 1).join(), /No row/);
});

test('what a host calls through the library is written down, however the process ends', async () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'recorder-'));
  const ended = await runChild(({recorder}) => {
    recorder.call('Kiln_isDR2', [], {counted: true});
    recorder.call('Kiln_isDR2', [], {counted: true});
    recorder.call('Kiln_getSDKVersion', []);
    process.kill(process.pid, 'SIGKILL');
  }, {env: {KILN_COVERAGE_DIR: folder}});
  assert.strictEqual(ended.signal, 'SIGKILL');
  const [file] = fs.readdirSync(folder);
  assert.strictEqual(fs.readFileSync(path.join(folder, file), 'utf8'), 'Kiln_isDR2\n');
  const script = path.join(paths.root, 'test', 'coverage.js');
  // The script ends by its exit code, where the host does not free its heap.
  const env = {...process.env, ASAN_OPTIONS: `${process.env.ASAN_OPTIONS || ''}:detect_leaks=0`};
  const {status, stdout, stderr} = spawnSync(process.execPath, [script, folder], {encoding: 'utf8', env});
  assert.strictEqual(status, 1);
  assert.match(stdout, /1 of 341 entry points, \d+ exceptions, 1 processes/);
  assert.match(stderr, /Kiln_getSDKVersion is exercised by no test/);
  fs.rmSync(folder, {recursive: true});
});
