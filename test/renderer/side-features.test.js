'use strict';

// Resumable renders, the cache of bitmaps, include paths, the profiler.

const test = require('node:test');
const assert = require('assert');
const {kiln, recorder, entry, open, collected} = require('./common');

const renderer = open();
const {handle} = recorder.live().handles[0];
const thrower = (text) => ({get() { throw new RangeError(text); }, enumerable: true});

test.beforeEach(() => recorder.clear());

const RESUMABLE = entry('setResumableRendering');
const KEYS = ['compressProgressiveFiles', 'deleteResumableFileOnSuccess', 'progressiveAutoSaveSeconds', 'outputFile'];
const resumable = (...args) => {
  recorder.clear();
  renderer.setResumableRendering(...args);
  const call = recorder.last(RESUMABLE);
  assert.deepStrictEqual([call.args[0], call.onJsThread], [handle, true]);
  if (call.arg.options === null) return [call.arg.enable, null];
  assert.strictEqual(call.bytes('options').length, 24);
  return [call.arg.enable, ...KEYS.map((key) => call.arg.options[key])];
};

test('setResumableRendering without options passes null', () => {
  for (const [result, expected] of [[0, false], [1, true], [-1, true]]) {
    recorder.once(RESUMABLE, result);
    assert.strictEqual(renderer.setResumableRendering(true), expected);
  }
  assert.deepStrictEqual(resumable(true), [1, null]);
  assert.deepStrictEqual(resumable(false), [0, null]);
});

test('setResumableRendering reads its keys plainly: what is missing is undefined', () => {
  const all = {outputFile: 'größe.kdat', compressProgressiveFiles: 5, deleteResumableFileOnSuccess: 1, progressiveAutoSaveSeconds: 600};
  for (const [options, ...fields] of [[all, 5, 1, 600, 'größe.kdat'], [{}, 0, 0, 0, 'undefined'],
    [{compressProgressiveFiles: true, deleteResumableFileOnSuccess: false, progressiveAutoSaveSeconds: '60'}, 1, 0, 60, 'undefined'],
    [{compressProgressiveFiles: undefined, outputFile: null}, 0, 0, 0, 'null'],
    [{compressProgressiveFiles: null, progressiveAutoSaveSeconds: 2.9, outputFile: ''}, 0, 0, 2, ''],
    [Object.create(all), 5, 1, 600, 'größe.kdat'], [() => {}, 0, 0, 0, 'undefined'], [[], 0, 0, 0, 'undefined']]) {
    assert.deepStrictEqual(resumable(true, options), [1, ...fields]);
    assert.deepStrictEqual(resumable(false, options, 'ignored'), [0, ...fields]);
  }
  const asked = [];
  renderer.setResumableRendering(true, new Proxy({}, {
    get(target, key) { asked.push(key); return 1; },
    has() { throw new Error('asked'); },
  }));
  assert.deepStrictEqual(asked, KEYS);
});

test('a key of setResumableRendering that can\'t be read keeps its start value, and its exception is thrown', () => {
  const start = {compressProgressiveFiles: 1, deleteResumableFileOnSuccess: 0, progressiveAutoSaveSeconds: 0, outputFile: null};
  for (const key of KEYS) {
    const fails = {value: {valueOf() { throw new RangeError(key); }, toString() { throw new RangeError(key); }}};
    for (const property of [thrower(key), fails]) {
      recorder.clear();
      const options = Object.defineProperty({}, key, property);
      for (const other of KEYS) if (other !== key) options[other] = 9;
      assert.throws(() => renderer.setResumableRendering(true, options), {name: 'RangeError', message: key});
      const got = recorder.last(RESUMABLE).arg.options;
      assert.deepStrictEqual(KEYS.map((one) => got[one]),
        KEYS.map((one) => one === key ? start[one] : one === 'outputFile' ? '9' : 9));
    }
  }
});

test('setResumableRendering wants a boolean and an object', () => {
  for (const args of [[], [1], ['true'], [null], [undefined, {}], [new Boolean(true)]]) {
    assert.throws(() => renderer.setResumableRendering(...args), {name: 'Error', message: 'Argument 0 must be boolean'});
  }
  for (const second of [undefined, null, 5, 'x', true]) {
    assert.throws(() => renderer.setResumableRendering(true, second),
      {name: 'Error', message: 'Argument 1 must be JSON/Object'});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('setBitmapCache', () => {
  for (const [result, expected] of [[0, false], [1, true], [-1, true]]) {
    for (const enable of [true, false]) {
      recorder.once(entry('setBitmapCache'), result);
      assert.strictEqual(renderer.setBitmapCache(enable, 'ignored'), expected);
      assert.deepStrictEqual(recorder.last(entry('setBitmapCache')).args, [handle, enable ? 1 : 0]);
    }
  }
  recorder.clear();
  for (const args of [[], [1], ['true'], [null], [undefined], [new Boolean(true)]]) {
    assert.throws(() => renderer.setBitmapCache(...args), {name: 'Error', message: 'Argument 0 must be boolean'});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('setIncludePaths', () => {
  const long = 'ordner ü;'.repeat(1000);
  for (const [args, ...passed] of [[['a;b'], 'a;b', 1], [['', true], '', 1], [[long, false], long, 0], [['a', 0], 'a', 0],
    [['a', 7], 'a', 1], [['a', NaN], 'a', 0], [['a', false, 'ignored'], 'a', 0]]) {
    assert.strictEqual(renderer.setIncludePaths(...args), undefined);
    assert.deepStrictEqual(recorder.last(entry('setIncludePaths')).args, [handle, ...passed]);
  }
  recorder.clear();
  const refuses = (args, message) => assert.throws(() => renderer.setIncludePaths(...args), {name: 'Error', message});
  refuses([], 'Argument 0 (string - file paths separated by ";") and argument 1 (a boolean) should be passed');
  for (const first of [undefined, null, 5, ['a'], new String('a')]) refuses([first, true], 'Argument 0 must be string');
  for (const second of [undefined, null, 'x', {}, new Boolean(true)]) refuses(['a', second], 'Argument 1 must be boolean');
  refuses([5, 'x'], 'Argument 0 must be string');
  assert.deepStrictEqual(recorder.names(), []);
});

const PROFILER = entry('setKilnProfiler');
const profiled = (...args) => {
  recorder.clear();
  assert.strictEqual(renderer.setKilnProfiler(...args), undefined);
  const call = recorder.last(PROFILER);
  assert.deepStrictEqual([call.args[0], call.onJsThread, call.bytes('options').length], [handle, true, 32]);
  const {outputDirectory, outputFilename, outputSuffix, mode} = call.arg.options;
  return [outputDirectory, outputFilename, outputSuffix, mode];
};

test('setKilnProfiler starts with zeros', () => {
  for (const args of [[], [{}], [5], [true], ['']]) {
    assert.deepStrictEqual(profiled(...args), [null, null, null, 0]);
    assert.ok(recorder.last(PROFILER).bytes('options').every((byte) => byte === 0));
  }
  for (const first of [undefined, null]) assert.throws(() => renderer.setKilnProfiler(first), TypeError);
});

test('setKilnProfiler reads names in any case, inherited ones too', () => {
  for (const [options, ...fields] of [[{outputDirectory: 'ö', outputFilename: 'b', outputSuffix: 'c', mode: 1}, 'ö', 'b', 'c', 1],
    [{OUTPUTDIRECTORY: 'a', outputfilename: 5, OutputSuffix: null, MODE: 2}, 'a', '5', 'null', 2],
    [Object.create({outputDirectory: 'a', mode: 1}), 'a', null, null, 1],
    [{outputDirectory: undefined, mode: undefined, unknown: 'x', 7: 'x'}, null, null, null, 0],
    [Object.defineProperty({}, 'mode', {value: 2}), null, null, null, 0],
    [{mode: 1, MODE: 2}, null, null, null, 2], [{outputSuffix: ''}, null, null, '', 0]]) {
    assert.deepStrictEqual(profiled(options), fields);
  }
});

test('setKilnProfiler knows its modes as numbers and as texts', () => {
  for (const [mode, passed] of [[0, 0], [1, 1], [2, 2], [2.9, 2], [NaN, 0], [2 ** 32 + 1, 1], ['off', 0], ['OFF', 0],
    ['0', 0], ['Simple', 1], ['1', 1], ['full', 2], ['2', 2], ['nonsense', 0], ['', 0], ['3', 0], [null, 0], [true, 0],
    [{}, 0], [new Number(2), 0], [kiln.PROFILER_MODE_FULL, 2]]) {
    assert.deepStrictEqual(profiled({mode}), [null, null, null, passed], String(mode));
  }
  recorder.clear();
  for (const mode of [3, -1, 100, -(2 ** 31)]) {
    assert.throws(() => renderer.setKilnProfiler({outputSuffix: 'x', mode}), {name: 'Error',
      message: 'mode should be - 0 (\'off\'), 1 (\'simple\'), 2 (\'full\') - or one of the kiln.PROFILER_MODE_* constants.'});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('what can\'t be read ends the walk of setKilnProfiler; what was read stays, and its exception is thrown', () => {
  const fails = {toString() { throw new RangeError('no'); }};
  const options = {outputDirectory: 'a', outputFilename: fails, outputSuffix: 'c', mode: 2};
  assert.throws(() => renderer.setKilnProfiler(options), {name: 'RangeError', message: 'no'});
  const {arg: {options: got}} = recorder.last(PROFILER);
  assert.deepStrictEqual([got.outputDirectory, got.outputFilename, got.outputSuffix, got.mode], ['a', null, null, 0]);
  recorder.clear();
  const getter = Object.defineProperty({mode: 1}, 'outputSuffix', thrower('mine'));
  assert.throws(() => renderer.setKilnProfiler(getter), {name: 'RangeError', message: 'mine'});
  assert.strictEqual(recorder.last(PROFILER).arg.options.mode, 1);
  const keys = new Proxy({}, {ownKeys() { throw new RangeError('keys'); }});
  assert.throws(() => renderer.setKilnProfiler(keys), {name: 'RangeError', message: 'keys'});
});

test('a key that closes the renderer leaves a null handle', () => {
  const closes = (own, key) => ({get [key]() { own.close(); return 1; }});
  for (const [call, row] of [[(own) => own.setKilnProfiler(closes(own, 'mode')), PROFILER],
    [(own) => own.setResumableRendering(true, closes(own, 'outputFile')), RESUMABLE]]) {
    const own = open();
    recorder.clear();
    call(own);
    const {args, stale} = recorder.last(row);
    assert.deepStrictEqual([args[0], stale], [0n, false]);
  }
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
