'use strict';

// How a process ends with an SDK thread parked in a callback, or with a job under way: never late, and with its code.

const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const {runChild} = require('../helpers');
const {ABRUPT} = require('../renderer/common');

const LIMIT = 10000;

// Runs the script in a child with a thread parked in each port, in an SDK that joins its threads when it goes.
async function ends(code, script, args = []) {
  const outcome = await runChild(parked, {args: [String(script), ...args], timeout: LIMIT, env: ABRUPT});
  assert.deepStrictEqual([outcome.code, outcome.signal, outcome.timedOut], [code, null, false], outcome.stderr);
  return outcome;
}

/* global require */
function parked(_, script, ...args) {
  const {recorder, open, turn, setter} = require('./test/renderer/common');
  recorder.joinOnUnload();
  const renderer = globalThis.kept = open();
  turn(renderer, 0, true);
  for (const name of ['StateChanged', 'KvwContextMenuSelected', 'UploadToCollaboration']) {
    recorder.raise(setter(name), {}, {serial: false, hold: false});
  }
  const until = Date.now() + 50;
  while (Date.now() < until) { /* the loop does not turn, so the threads park */ }
  // eslint-disable-next-line no-eval
  (0, eval)(`(${script})`)(renderer, ...args);
}

test('process.exit at once', () => ends(7, () => process.exit(7)));

test('process.exit from a timer, while callbacks go on coming', () => ends(8, (renderer) => {
  renderer.on('stateChanged', () => {});
  setTimeout(() => process.exit(8), 5);
}));

test('process.exit inside a listener', () => ends(9, (renderer) => {
  renderer.on('stateChanged', () => process.exit(9));
}));

test('process.exit inside a listener of the fixed ports', async () => {
  await ends(10, (renderer) => renderer.on('kvwContextMenuSelected', () => process.exit(10)));
  await ends(11, (renderer) => renderer.on('uploadToCollaboration', () => process.exit(11)));
});

test('an exception of the script', () => ends(1, () => { throw new Error('uncaught'); }));

test('an exception of a listener', () => ends(1, (renderer) => {
  renderer.on('stateChanged', () => { throw new Error('uncaught'); });
}));

test('an exception inside the handler of uncaught exceptions', () => ends(7, (renderer) => {
  process.on('uncaughtException', () => { throw new Error('again'); });
  renderer.on('stateChanged', () => { throw new Error('uncaught'); });
}));

test('the same from the script itself', () => ends(7, () => {
  process.on('uncaughtException', () => { throw new Error('again'); });
  throw new Error('uncaught');
}));

test('a rejection that nobody handles', () => ends(1, () => { Promise.reject(new Error('unhandled')); }));

test('a natural end behind a close', () => ends(0, (renderer) => renderer.close()));

test('a natural end behind a close with a callback', () => ends(0, (renderer) => renderer.close(() => {})));

test('a natural end behind a collection', async () => {
  const outcome = await runChild(() => {
    const {recorder, open, setter} = require('./test/renderer/common');
    recorder.joinOnUnload();
    (() => void open())();
    recorder.raise(setter('UploadToCollaboration'), {strings: []}, {hold: false});
    const until = Date.now() + 30;
    while (Date.now() < until) { /* the thread parks */ }
    require('./test/helpers').forceGc();
  }, {timeout: LIMIT});
  assert.deepStrictEqual([outcome.code, outcome.timedOut, outcome.stderr], [0, false, '']);
});

test('an open renderer keeps the process alive until it is closed', async () => {
  const outcome = await runChild(() => {
    const {open, kiln} = require('./test/renderer/common');
    kiln.enableFrameBuffer(false);
    const renderer = open();
    setTimeout(() => renderer.close(), 100).unref();
    process.on('exit', () => process.stdout.write('end'));
  }, {timeout: LIMIT});
  assert.deepStrictEqual([outcome.code, outcome.stdout], [0, 'end']);
  assert.ok(outcome.ms >= 100);
});

test('process.exit in the middle of a job, fifty times', async () => {
  for (let i = 0; i < 50; ++i) {
    const outcome = await runChild((_, round) => {
      const {recorder, open} = require('./test/renderer/common');
      const renderer = open();
      for (const name of ['load', 'loadAsBuffer', 'startSync', 'waitRenderEnd', 'release']) {
        recorder.answer(`Kiln_KilnRenderer_${name}`, {result: 0, delay: 20});
      }
      const late = () => process.abort();
      const jobs = [() => renderer.load('a', late), () => renderer.start(late), () => renderer.waitForRenderEnd(late),
        () => renderer.close(late), () => renderer.loadFromBuffer(Buffer.alloc(1000), late)];
      jobs[round % jobs.length]();
      if (round % 2) process.exit(3);
      setTimeout(() => process.exit(3), round % 7);
    }, {args: [i], timeout: LIMIT, env: ABRUPT});
    assert.deepStrictEqual([outcome.code, outcome.signal, outcome.stderr], [3, null, ''], `round ${i}`);
  }
});

test('process.exit with the release of a close under way and its callback parked', async () => {
  const outcome = await runChild(() => {
    const {recorder, open, turn, setter} = require('./test/renderer/common');
    const renderer = open();
    turn(renderer, 0, true);
    recorder.raise(setter('StateChanged'), {}, {hold: false});
    renderer.close(() => {});
    // The release waits for the callback, and that for a loop which does not turn.
    const until = Date.now() + 50;
    while (Date.now() < until) { /* both are on their way */ }
    process.exit(4);
  }, {timeout: LIMIT, env: ABRUPT});
  assert.deepStrictEqual([outcome.code, outcome.timedOut, outcome.stderr], [4, false, '']);
});

test('process.exit asks a renderer with a job under way to stop, so that the wait for its end ends', async () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-exit-'));
  const outcome = await runChild(() => {
    const {recorder, open} = require('./test/renderer/common');
    recorder.answer('Kiln_KilnRenderer_waitRenderEnd', {result: 0, delay: 100});
    open().waitForRenderEnd(() => {});
    setTimeout(() => process.exit(5), 10);
  }, {timeout: LIMIT, env: {...ABRUPT, KILN_COVERAGE_DIR: folder}});
  assert.deepStrictEqual([outcome.code, outcome.stderr], [5, '']);
  const names = fs.readdirSync(folder).map((name) => fs.readFileSync(path.join(folder, name), 'utf8')).join('');
  assert.ok(names.includes('Kiln_KilnRenderer_stop\n'));
  fs.rmSync(folder, {recursive: true});
});
