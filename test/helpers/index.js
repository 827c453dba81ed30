'use strict';

// What every JavaScript test starts from. A file is a process, and a process loads the add-on once:
//
//   const {loadNative, recorder, until} = require('../helpers');
//   const kiln = loadNative();                       // the bare add-on, bound to the recorder
//   recorder.answer('Kiln_getSDKVersion', 0x10000);
//
//   paths                      where things were built; KILN_TEST_BUILD names another output folder
//   loadNative({library})      the add-on, which binds the recorder or what is in the folder `library`; null: nothing
//   recorder                   scripts and questions, see recorder.js
//   runChild(script, options)  a process of its own, see child.js
//   forceGc()                  a full collection, now
//   collect(condition)         collects, with turns of the loop between, until the condition holds
//   until(condition)           waits for a condition
//   sleep(ms)
//   mustCall(fn, times)        a function that fails the process unless it is called that often
//   mustNotCall(text)
//   encodeStream, decodeStream value streams, see streams.js
//   layout, constants          the records and the enumerations of include/
//   makeBrokenLibraries(dir)   libraries that cannot be loaded

const assert = require('assert');
const v8 = require('v8');
const vm = require('vm');
const paths = require('./paths');
const {layout, records, constants, pins} = require('./layouts');
const {encodeStream, decodeStream} = require('./streams');
const {Memory, record, recordArray} = require('./memory');
const {EVENTS} = require('./events');
const {runChild} = require('./child');
const {makeBrokenLibraries} = require('./broken');

// The environment decides what is bound and is read by the add-on at its first `require`. Not for worker threads,
// whose environment is a copy: there the parent sets it, and the worker requires paths.native.
function loadNative({library = paths.recorderDir} = {}) {
  delete process.env.KILN_SDK;
  if (library === null) {
    delete process.env.KILN_ENGKIT_BIN;
  } else {
    process.env.KILN_ENGKIT_BIN = library;
  }
  return require(paths.native);
}

let gc;
function forceGc() {
  if (!gc) {
    v8.setFlagsFromString('--expose-gc');
    gc = vm.runInNewContext('gc');
  }
  gc();
}

const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

// Waits until the condition gives something true, and answers that. Rejects after `timeout` ms.
async function until(condition, {timeout = 10000, interval = 1, what = String(condition)} = {}) {
  const end = Date.now() + timeout;
  for (;;) {
    const value = await condition();
    if (value) return value;
    if (Date.now() > end) throw new Error(`This did not come about within ${timeout} ms: ${what}`);
    await sleep(interval);
  }
}

async function collect(condition, options) {
  return until(() => {
    forceGc();
    return condition();
  }, options);
}

const expectations = [];

function mustCall(fn = () => {}, times = 1) {
  const expectation = {times, calls: 0, where: new Error('expected here').stack.split('\n')[2]};
  if (expectations.length === 0) process.on('exit', checkExpectations);
  expectations.push(expectation);
  return function (...args) {
    expectation.calls += 1;
    return fn.apply(this, args);
  };
}

function mustNotCall(text = 'This function must not be called') {
  return () => assert.fail(text);
}

function checkExpectations() {
  for (const {times, calls, where} of expectations) {
    if (calls === times) continue;
    process._rawDebug(`mustCall: called ${calls} times instead of ${times}\n${where}`);
    process.exitCode = process.exitCode || 98;
  }
}

module.exports = {
  paths, loadNative, runChild, forceGc, collect, until, sleep, mustCall, mustNotCall, encodeStream, decodeStream, layout,
  records, constants, pins, Memory, record, recordArray, EVENTS, makeBrokenLibraries,
  // Loaded at its first use: a test of the engine has no need of it.
  get recorder() {
    return require('./recorder');
  },
};
