'use strict';

// The accessors of a renderer: what they ask, what they pass, what they refuse.

const test = require('node:test');
const assert = require('assert');
const {kiln, recorder, entry, open, collected} = require('./common');

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

test('inProcess', () => {
  for (const [result, expected] of [[0, false], [1, true], [-1, true]]) {
    recorder.once(entry('getInProcess'), result);
    assert.strictEqual(renderer.inProcess, expected);
    assert.deepStrictEqual(recorder.last(entry('getInProcess')).args, [handle]);
  }
  recorder.answer(entry('setInProcess'), 1);
  for (const [value, passed] of [[true, 1], [0, 0], ['x', 1], [undefined, 0]]) {
    renderer.inProcess = value;
    assert.deepStrictEqual(recorder.last(entry('setInProcess')).args, [handle, passed]);
  }
  recorder.answer(entry('setInProcess'), 0);
  assert.throws(() => { renderer.inProcess = true; }, {name: 'Error', message: 'Can\'t set inProcess while rendering'});
  recorder.clear();
  recorder.answer('Kiln_isDR2', 1);
  const refused = {name: 'Error', message: 'Property not supported in DR2.'};
  assert.throws(() => renderer.inProcess, refused);
  assert.throws(() => { renderer.inProcess = true; }, refused);
  assert.deepStrictEqual(recorder.names(), ['Kiln_isDR2', 'Kiln_isDR2']);
  recorder.reset();
});

test('frame and time', () => {
  for (const frame of [0, 7, -3]) {
    recorder.once(entry('getCurrentFrame'), frame);
    assert.strictEqual(renderer.frame, frame);
  }
  for (const time of [0, 1.25, -3, 1e300, NaN, Infinity]) {
    recorder.once(entry('getCurrentTime'), time);
    assert.strictEqual(renderer.time, time);
  }
  for (const [value, passed] of [[4, 4], ['5', 5], [2.9, 2], [-3.5, -3], [null, 0], [{}, 0], [2 ** 32 + 1, 1]]) {
    renderer.frame = value;
    assert.deepStrictEqual(recorder.last(entry('setCurrentFrame')).args, [handle, passed]);
  }
  for (const [value, passed] of [[4.5, 4.5], ['5', 5], [null, 0], [undefined, NaN], [-Infinity, -Infinity]]) {
    renderer.time = value;
    assert.deepStrictEqual(recorder.last(entry('setCurrentTime')).args, [handle, passed]);
  }
});

test('a number that can\'t be converted is left pending, and nothing is passed', () => {
  for (const name of ['frame', 'time', 'minLogLevel', 'maxTypedListsCopyByteSize', 'numThreads']) {
    const {[name]: before} = renderer;
    recorder.clear();
    assert.throws(() => { renderer[name] = {valueOf() { throw new RangeError('no'); }}; }, {name: 'RangeError'});
    assert.throws(() => { renderer[name] = Symbol('x'); }, TypeError);
    assert.throws(() => { renderer[name] = 3n; }, TypeError);
    assert.deepStrictEqual(recorder.names(), []);
    assert.strictEqual(renderer[name], before);
  }
});

test('currentEventTime', () => {
  for (const time of [0, 12.5, -1]) {
    recorder.once(entry('getCurrentEventTime'), time);
    assert.strictEqual(renderer.currentEventTime, time);
  }
});

const DESCRIPTOR = {writable: true, enumerable: true, configurable: true};

test('renderRegion', () => {
  recorder.once(entry('getRenderRegion'), {result: 0, out: {region: {left: 1}}});
  assert.strictEqual(renderer.renderRegion, undefined);
  recorder.once(entry('getRenderRegion'), {result: 1, out: {region: {left: -1, top: 2, width: 3, height: 0x7FFFFFFF}}});
  const {renderRegion} = renderer;
  assert.deepStrictEqual(renderRegion, {left: -1, top: 2, width: 3, height: 0x7FFFFFFF});
  assert.deepStrictEqual(Object.keys(renderRegion), ['left', 'top', 'width', 'height']);
  assert.deepStrictEqual(Object.getOwnPropertyDescriptor(renderRegion, 'left'), {value: -1, ...DESCRIPTOR});
  for (const [value, ...ints] of [[{left: 1, top: 2, width: 3, height: 4}, 1, 2, 3, 4], [{}, 0, 0, 0, 0],
    [{left: '7', top: 2.9, width: null, height: undefined}, 7, 2, 0, 0], ['text', 0, 0, 0, 0], [5, 0, 0, 0, 0],
    [Object.create({left: 3}), 3, 0, 0, 0]]) {
    recorder.clear();
    renderer.renderRegion = value;
    const call = recorder.last(entry('setRenderRegion'));
    assert.strictEqual(call.args[0], handle);
    assert.deepStrictEqual([...new Int32Array(new Uint8Array(call.bytes('region')).buffer)], ints);
  }
  for (const value of [null, undefined]) {
    recorder.clear();
    assert.throws(() => { renderer.renderRegion = value; }, TypeError);
    assert.deepStrictEqual(recorder.names(), []);
  }
});

test('cropRegion', () => {
  recorder.once(entry('getCropRegion'), 0);
  assert.strictEqual(renderer.cropRegion, undefined);
  const region = {srcWidth: 640, srcHeight: -480, rgnLeft: 0.5, rgnTop: 0.25, rgnWidth: Math.fround(0.1), rgnHeight: -8};
  recorder.once(entry('getCropRegion'), {result: -1, out: {region}});
  assert.deepStrictEqual(renderer.cropRegion, region);
  const written = (value) => {
    recorder.clear();
    renderer.cropRegion = value;
    const bytes = recorder.last(entry('setCropRegion')).bytes('region');
    assert.strictEqual(bytes.length, 24);
    return [bytes.readInt32LE(0), bytes.readInt32LE(4), ...[8, 12, 16, 20].map((at) => bytes.readFloatLE(at))];
  };
  assert.deepStrictEqual(written(region), Object.values(region));
  assert.deepStrictEqual(written({srcWidth: '3', rgnLeft: 0.1, rgnTop: '2', rgnWidth: null, rgnHeight: 1e300}),
    [3, 0, Math.fround(0.1), 2, 0, Infinity]);
  assert.deepStrictEqual(written({}), [0, 0, NaN, NaN, NaN, NaN], 'what is missing is undefined, and that is no number');
  for (const value of [null, undefined]) assert.throws(() => { renderer.cropRegion = value; }, TypeError);
});

test('a key of a region that can\'t be read counts as 0, the others are read, and its exception is thrown', () => {
  for (const [name, keys] of [['renderRegion', ['left', 'top', 'width', 'height']],
    ['cropRegion', ['srcWidth', 'srcHeight', 'rgnLeft', 'rgnTop', 'rgnWidth', 'rgnHeight']]]) {
    for (const [i, key] of keys.entries()) {
      for (const fails of [{get() { throw new RangeError(key); }}, {value: {valueOf() { throw new RangeError(key); }}}]) {
        const value = Object.defineProperty({}, key, fails);
        for (const [j, other] of keys.entries()) if (other !== key) value[other] = j + 1;
        recorder.clear();
        assert.throws(() => { renderer[name] = value; }, {name: 'RangeError', message: key});
        const {arg: {region}} = recorder.last(entry(name === 'cropRegion' ? 'setCropRegion' : 'setRenderRegion'));
        assert.deepStrictEqual(Object.values(region), keys.map((_, j) => i === j ? 0 : j + 1));
      }
    }
  }
});

test('keys of regions and sizes are read in their order; only the resets are asked for first', () => {
  const asked = (name) => {
    const log = [];
    renderer[name] = new Proxy({}, {
      get(target, key) { log.push(`get ${String(key)}`); },
      has(target, key) { log.push(`has ${String(key)}`); return true; },
    });
    return log;
  };
  assert.deepStrictEqual(asked('renderRegion'), ['get left', 'get top', 'get width', 'get height']);
  assert.deepStrictEqual(asked('cropRegion'),
    ['get srcWidth', 'get srcHeight', 'get rgnLeft', 'get rgnTop', 'get rgnWidth', 'get rgnHeight']);
  assert.deepStrictEqual(asked('size'), ['get width', 'get height', 'has resetCropRegion', 'get resetCropRegion',
    'has resetRenderRegion', 'get resetRenderRegion']);
});

test('camera', () => {
  for (const id of [0n, 2n ** 64n - 1n]) {
    recorder.once(entry('getCurrentCamera'), id);
    assert.strictEqual(renderer.camera, undefined);
  }
  recorder.answer(entry('getCurrentCamera'), 0x123456789An);
  const {camera} = renderer;
  assert.ok(camera instanceof kiln.Plugin);
  assert.strictEqual(camera.getIntegerID(), 0x123456789A);
  assert.strictEqual(renderer.camera, camera);
  recorder.reset();
  recorder.clear();
  renderer.camera = camera;
  assert.deepStrictEqual(recorder.last(entry('setCurrentCameraByID')).args, [handle, 0x123456789An]);
  assert.strictEqual(recorder.count(entry('setCurrentCamera')), 0);
  for (const [value, passed] of [[null, null], [undefined, null], ['größe', 'größe'], ['', ''], [5, '5'], [{}, '[object Object]'],
    [true, 'true'], [['a', 'b'], 'a,b']]) {
    renderer.camera = value;
    assert.deepStrictEqual(recorder.last(entry('setCurrentCamera')).args, [handle, passed]);
  }
  renderer.camera = new kiln.Plugin();
  assert.deepStrictEqual(recorder.last(entry('setCurrentCameraByID')).args, [handle, 0n]);
});

test('cameraName', () => {
  for (const [name, expected] of [[null, null], ['', ''], ['Kamera ü', 'Kamera ü']]) {
    recorder.once(entry('getCameraName'), name);
    assert.strictEqual(renderer.cameraName, expected);
  }
  const long = 'ü'.repeat(5000);
  for (const [value, passed] of [[null, null], [undefined, null], ['x', 'x'], [7, '7'], [long, long]]) {
    renderer.cameraName = value;
    assert.deepStrictEqual(recorder.last(entry('setCameraName')).args, [handle, passed]);
  }
});

test('a camera that can\'t be converted changes nothing', () => {
  for (const name of ['camera', 'cameraName']) {
    recorder.clear();
    assert.throws(() => { renderer[name] = Symbol('x'); }, TypeError);
    assert.throws(() => { renderer[name] = {toString() { throw new RangeError('no'); }}; }, {name: 'RangeError'});
    assert.deepStrictEqual(recorder.names(), []);
  }
});

test('a value that closes the renderer leaves a null handle', () => {
  for (const [name, set, value] of [['frame', 'setCurrentFrame', 'valueOf'], ['time', 'setCurrentTime', 'valueOf'],
    ['camera', 'setCurrentCamera', 'toString'], ['cameraName', 'setCameraName', 'toString'],
    ['renderRegion', 'setRenderRegion', 'left'], ['cropRegion', 'setCropRegion', 'rgnLeft'], ['size', 'setImageSizeEx', 'width']]) {
    const own = open();
    const closes = () => { own.close(); return 1; };
    recorder.clear();
    own[name] = /Of|to/.test(value) ? {[value]: closes} : Object.defineProperty({}, value, {get: closes});
    const call = recorder.last(entry(set));
    assert.deepStrictEqual([call.args[0], call.stale], [0n, false], name);
  }
});

test('getBoundingBox', () => {
  for (const args of [[], [5]]) {
    recorder.once(entry('getBoundingBox'), {result: 0, out: {box: {lower: [1, 2, 3]}}});
    assert.strictEqual(renderer.getBoundingBox(...args), undefined);
  }
  recorder.once(entry('getBoundingBox'), {result: 1, out: {box: {lower: [-1, 0.5, 3], upper: [4, 5, Infinity]}}});
  const box = renderer.getBoundingBox();
  assert.deepStrictEqual(Object.keys(box), ['min', 'max']);
  for (const [corner, ...xyz] of [[box.min, -1, 0.5, 3], [box.max, 4, 5, Infinity]]) {
    assert.ok(corner instanceof kiln.Vector);
    assert.deepStrictEqual([corner.x, corner.y, corner.z], xyz);
  }
  assert.strictEqual(recorder.last(entry('getBoundingBox')).args[0], handle);
});

test('getAutoExposureResult', () => {
  recorder.once(entry('getAutoExposureResult'), 0);
  assert.strictEqual(renderer.getAutoExposureResult(), undefined);
  recorder.once(entry('getAutoExposureResult'), {result: 1, out: {result: {autoExposure: 1.5, autoWhiteBalance: 6500}}});
  const exposure = renderer.getAutoExposureResult();
  assert.deepStrictEqual(exposure, {autoExposure: 1.5, autoWhiteBalance: 6500});
  assert.deepStrictEqual(Object.getOwnPropertyDescriptor(exposure, 'autoExposure'), {value: 1.5, ...DESCRIPTOR});
});

test('clearLastError', () => {
  assert.strictEqual(renderer.clearLastError(), undefined);
  assert.deepStrictEqual(recorder.calls().map((call) => [call.name, ...call.args]),
    [[entry('clearLastErrorCode'), handle]]);
});

test('booleans of the SDK', () => {
  for (const [name, get, set] of [['renderEnded', 'isRenderEnded'], ['sequenceEnded', 'isSequenceEnded'],
    ['paused', 'getPauseRTStatus'], ['useAnimatedValues', 'getAnimateProperties', 'setAnimateProperties'],
    ['keepInteractiveRunning', 'getKeepInteractiveRunning', 'setKeepInteractiveRunning'],
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
  for (const name of ['options', 'renderEnded', 'sequenceEnded', 'paused', 'state', 'currentEventTime', 'lastError']) {
    recorder.clear();
    const before = renderer[name];
    renderer[name] = 'x';
    assert.deepStrictEqual(renderer[name], before);
    assert.strictEqual(Reflect.set(renderer, name, 1), true);
  }
  assert.ok(recorder.names().every((name) => name.includes('get') || name.includes('is')));
});

test('the accessors stand in their order, enumerable and not deletable', () => {
  const names = ['autoCommit', 'options', 'numThreads', 'inProcess', 'size', 'renderRegion', 'cropRegion', 'frame', 'time',
    'useAnimatedValues', 'renderEnded', 'sequenceEnded', 'renderMode', 'paused', 'camera', 'cameraName', 'state', 'minLogLevel',
    'keepInteractiveRunning', 'currentEventTime', 'lastError', 'progressiveImageUpdatedHasBuffer', 'bucketReadyHasBuffer',
    'maxTypedListsCopyByteSize'];
  const own = Object.getOwnPropertyNames(renderer).filter((name) => names.includes(name));
  assert.deepStrictEqual(own, names);
  for (const name of names) {
    const {enumerable, configurable} = Object.getOwnPropertyDescriptor(renderer, name);
    assert.deepStrictEqual([enumerable, configurable], [true, false], name);
  }
});

test('a closed renderer passes null to everything', () => {
  const own = open();
  own.close();
  recorder.clear();
  for (const name of Object.getOwnPropertyNames(own)) void own[name];
  own.getBoundingBox();
  own.getAutoExposureResult();
  own.clearLastError();
  for (const [name, value] of [['frame', 1], ['time', 1], ['useAnimatedValues', true], ['keepInteractiveRunning', true],
    ['size', {}], ['renderRegion', {}], ['cropRegion', {}], ['camera', 'x'], ['cameraName', 'x']]) own[name] = value;
  const calls = recorder.calls().filter((call) => call.name.startsWith('Kiln_KilnRenderer_'));
  assert.ok(calls.length > 25);
  for (const call of calls) assert.deepStrictEqual([call.args[0], call.stale], [0n, false], call.name);
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
