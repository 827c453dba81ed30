'use strict';

// The accessors of a renderer: what they ask, what they pass, what they refuse.

const test = require('node:test');
const assert = require('assert');
const {recorder, entry, open, collected} = require('./common');

const renderer = open();
const {handle} = recorder.live().handles[0];

test.beforeEach(() => recorder.clear());

test('autoCommit is the add-on\'s own boolean', () => {
  assert.strictEqual(renderer.autoCommit, true);
  for (const [value, expected] of [[0, false], ['x', true], [null, false], [{}, true], [undefined, false], [true, true]]) {
    renderer.autoCommit = value;
    assert.strictEqual(renderer.autoCommit, expected);
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('each renderer has its own values', () => {
  const other = open();
  renderer.autoCommit = false;
  assert.strictEqual(other.autoCommit, true);
  renderer.autoCommit = true;
  other.close();
});

test('numThreads', () => {
  for (const count of [0, 8, -1]) {
    recorder.once(entry('getNumThreads'), count);
    assert.strictEqual(renderer.numThreads, count);
  }
  recorder.answer(entry('setNumThreads'), 1);
  for (const [value, passed] of [[4, 4], ['5', 5], [2.9, 2], [-3, -3], [null, 0], ['x', 0], [2 ** 32 + 1, 1]]) {
    renderer.numThreads = value;
    assert.deepStrictEqual(recorder.last(entry('setNumThreads')).args, [handle, passed]);
  }
  recorder.answer(entry('setNumThreads'), 0);
  assert.throws(() => { renderer.numThreads = 2; }, {name: 'Error', message: 'Can\'t set numThreads while rendering'});
  recorder.clear();
  assert.throws(() => { renderer.numThreads = Symbol('x'); }, TypeError);
  assert.deepStrictEqual(recorder.names(), []);
  recorder.reset();
});

test('size is read into a plain object', () => {
  recorder.once(entry('getImageSize'), {out: {width: 640, height: -480}});
  const {size} = renderer;
  assert.deepStrictEqual(size, {width: 640, height: -480});
  assert.deepStrictEqual(Object.getOwnPropertyDescriptor(size, 'width'),
    {value: 640, writable: true, enumerable: true, configurable: true});
  assert.strictEqual(recorder.last(entry('getImageSize')).args[0], handle);
});

test('size is written with the regions kept, unless a key resets them', () => {
  for (const [value, ...passed] of [[{width: 640, height: 480}, 640, 480, 3], [{width: 640}, 640, 0, 3], [{}, 0, 0, 3],
    [{width: '7', height: 2.9}, 7, 2, 3], [{width: 1, height: 1, resetRenderRegion: true}, 1, 1, 1],
    [{width: 1, height: 1, resetCropRegion: true}, 1, 1, 2], [{resetCropRegion: 1, resetRenderRegion: 'x'}, 0, 0, 0],
    [{resetCropRegion: 0, resetRenderRegion: null}, 0, 0, 3], [{resetCropRegion: undefined}, 0, 0, 3],
    [Object.create({width: 3}), 3, 0, 3], ['text', 0, 0, 3], [5, 0, 0, 3], [true, 0, 0, 3]]) {
    renderer.size = value;
    assert.deepStrictEqual(recorder.last(entry('setImageSizeEx')).args, [handle, ...passed]);
  }
});

test('a size that is no object is refused, and passes nothing', () => {
  for (const value of [null, undefined]) assert.throws(() => { renderer.size = value; }, TypeError);
  assert.deepStrictEqual(recorder.names(), []);
});

test('a key of the size that can\'t be read counts as 0, the others are read, and its exception is thrown', () => {
  const fails = {get: () => { throw new RangeError('no'); }};
  const size = Object.defineProperty({height: 5, resetCropRegion: true}, 'width', fails);
  assert.throws(() => { renderer.size = size; }, {name: 'RangeError', message: 'no'});
  assert.deepStrictEqual(recorder.last(entry('setImageSizeEx')).args, [handle, 0, 5, 2]);
  const all = Object.defineProperties({}, {width: fails, height: fails, resetCropRegion: fails, resetRenderRegion: fails});
  assert.throws(() => { renderer.size = all; }, {name: 'RangeError', message: 'no'});
  assert.deepStrictEqual(recorder.last(entry('setImageSizeEx')).args, [handle, 0, 0, 3]);
  assert.throws(() => { renderer.size = {width: Symbol('x'), height: 3n}; }, TypeError);
});

const MODES = [[-1, 'production'], [0, 'interactive'], [4, 'interactiveCuda', 'INTERACTIVE_CUDA'],
  [7, 'interactiveOptix', 'INTERACTIVE_OPTIX'], [104, 'productionCuda', 'PRODUCTION_CUDA'],
  [107, 'productionOptix', 'PRODUCTION_OPTIX']];

test('renderMode', () => {
  recorder.answer(entry('setRenderMode'), 1);
  const passes = (value, mode) => {
    renderer.renderMode = value;
    assert.deepStrictEqual(recorder.last(entry('setRenderMode')).args, [handle, mode], String(value));
  };
  for (const [mode, ...texts] of MODES) {
    recorder.once(entry('getRenderMode'), mode);
    assert.strictEqual(renderer.renderMode, texts[0]);
    for (const text of texts) {
      for (const spelt of [text, text.toLowerCase(), text.toUpperCase(), new String(text)]) passes(spelt, mode);
    }
  }
  for (const mode of [5, 1, -2, 108]) {
    recorder.once(entry('getRenderMode'), mode);
    assert.strictEqual(renderer.renderMode, undefined);
  }
  for (const [value, mode] of [[5, 5], [-1, -1], [104.9, 104], [NaN, 0], [2 ** 32 + 7, 7], ['nonsense', 0], ['', 0],
    [null, 0], [undefined, 0], [{}, 0], ['104', 0], [true, 0], ['production_cuda', 104], [['production'], -1]]) {
    passes(value, mode);
  }
  recorder.clear();
  assert.throws(() => { renderer.renderMode = Symbol('x'); }, TypeError);
  assert.deepStrictEqual(recorder.names(), []);
  recorder.answer(entry('setRenderMode'), 0);
  recorder.answer(entry('getLastErrorCode'), 33);
  recorder.answer('Kiln_getErrorTextStringFromErrorCode', 'Can\'t switch');
  assert.throws(() => { renderer.renderMode = 'production'; }, {name: 'Error', message: 'Can\'t switch'});
  assert.strictEqual(recorder.last('Kiln_getErrorTextStringFromErrorCode').args[0], 33);
  recorder.reset();
});

test('state', () => {
  const texts = ['fatalError', 'idleInitialized', 'idleStopped', 'idleError', 'idleFrameDone', 'idleDone', 'preparing',
    'rendering', 'renderingPaused', 'renderingAwaitingChanges'];
  for (let state = -3; state < 12; ++state) {
    recorder.once(entry('getState'), state);
    assert.strictEqual(renderer.state, texts[state + 1]);
  }
});

test('lastError', () => {
  recorder.answer(entry('getLastErrorCode'), 12);
  recorder.answer('Kiln_getErrorTextStringFromErrorCode', 'größe');
  assert.strictEqual(renderer.lastError, 'größe');
  assert.strictEqual(recorder.last('Kiln_getErrorTextStringFromErrorCode').args[0], 12);
  recorder.answer('Kiln_getErrorTextStringFromErrorCode', null);
  assert.strictEqual(renderer.lastError, undefined);
  recorder.reset();
});

test('booleans of the SDK', () => {
  for (const [name, get, set] of [['renderEnded', 'isRenderEnded'],
    ['progressiveImageUpdatedHasBuffer', 'getImageUpdatedHasBuffer', 'setImageUpdatedHasBuffer'],
    ['bucketReadyHasBuffer', 'getBucketReadyHasBuffer', 'setBucketReadyHasBuffer']]) {
    for (const [result, expected] of [[0, false], [1, true], [-1, true], [7, true]]) {
      recorder.once(entry(get), result);
      assert.strictEqual(renderer[name], expected);
      assert.strictEqual(recorder.last(entry(get)).args[0], handle);
    }
    if (!set) continue;
    for (const [value, passed] of [[true, 1], [0, 0], ['x', 1], [{}, 1], [null, 0], [undefined, 0], [Symbol('x'), 1]]) {
      renderer[name] = value;
      assert.deepStrictEqual(recorder.last(entry(set)).args, [handle, passed]);
    }
  }
});

test('a write to what is read only has no effect, in strict mode too', () => {
  for (const name of ['options', 'renderEnded', 'state', 'lastError']) {
    recorder.clear();
    const before = renderer[name];
    renderer[name] = 'x';
    assert.deepStrictEqual(renderer[name], before);
    assert.strictEqual(Reflect.set(renderer, name, 1), true);
  }
  assert.ok(recorder.names().every((name) => name.includes('get') || name.includes('is')));
});

test('an accessor can be neither deleted nor redefined as another', () => {
  for (const name of ['size', 'state', 'autoCommit']) {
    assert.throws(() => { delete renderer[name]; }, TypeError);
    assert.throws(() => Object.defineProperty(renderer, name, {get: () => 1}), TypeError);
  }
});

test('everything runs on this thread', () => {
  void [renderer.size, renderer.state, renderer.renderMode, renderer.numThreads, renderer.lastError, renderer.renderEnded];
  assert.ok(recorder.calls().every((call) => call.onJsThread));
});

test('nothing is left', async () => {
  renderer.close();
  await collected();
});
