'use strict';

// Worker threads that use the recorder, for the tests of how they end.
//
//   begin(script, workerData)   a worker that runs the script, up to its ready(): {worker, ended}
//   quiet()                     resolves when nothing of the SDK's is held, by whatever thread

const assert = require('assert');
const path = require('path');
const {Worker} = require('worker_threads');
const {until} = require('../helpers');
const {recorder, isEmpty} = require('./common');

const COMMON = path.join(__dirname, 'common');

// The script gets what the tests of the renderer share, open() that keeps the renderer, ready() and workerData.
// `ended` resolves to the exit code, or rejects with what the worker threw.
async function begin(script, workerData = {}) {
  const source = `
    const {parentPort, workerData} = require('worker_threads');
    const {open: make, ...common} = require(${JSON.stringify(COMMON)});
    const kept = globalThis.kept = [];
    // Nothing else keeps an open renderer from being collected.
    const open = () => kept[kept.push(make()) - 1];
    const ready = () => parentPort.postMessage(0);
    (${script})({...common, open, ready, workerData});`;
  const worker = new Worker(source, {eval: true, workerData});
  const ended = new Promise((resolve, reject) => {
    worker.once('exit', resolve);
    worker.once('error', reject);
  });
  ended.catch(() => {});
  await Promise.race([new Promise((resolve) => worker.once('message', resolve)), ended]);
  return {worker, ended};
}

async function quiet() {
  await until(() => isEmpty(recorder.live()), {what: 'nothing of the SDK is held'});
  assert.deepStrictEqual(recorder.faults(), []);
}

module.exports = {begin, quiet};
