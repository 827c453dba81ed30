'use strict';

// One render element: what it says of itself, and its pixels as bytes, as an image and as text.

const test = require('node:test');
const assert = require('assert');
const {kiln, recorder, open, elementOf, held, closeAtEnd} = require('./common');
const {collect, forceGc} = require('../helpers');

const DATA = 'Kiln_getRenderElementData';
const IMAGE = 'Kiln_getRenderElementAsImage';
const METADATA = 'Kiln_getRenderElementMetadata';
const NO_PIXELS = {name: 'Error',
  message: 'Error retrieving render element data. A possible cause might be out of range coordinates'};

const renderer = open();
const {handle} = recorder.live().handles[0];
const ID = 0x100000007n;
const NONE = 2n ** 64n - 1n;
const element = elementOf(renderer);
const thrower = (text) => ({valueOf() { throw new RangeError(text); }, toString() { throw new RangeError(text); }});

test.beforeEach(() => recorder.clear());

test('an element says what it is', () => {
  assert.deepStrictEqual(Object.keys(element), ['name', 'type', 'binaryFormat', 'defaultPixelFormat', 'plugin']);
  assert.deepStrictEqual([element.name, element.type, element.binaryFormat, element.defaultPixelFormat],
    ['Element', 'diffuse', '4_floats', '4x4_bytes_float_RGBA']);
  assert.ok(element.plugin instanceof kiln.Plugin);
  assert.strictEqual(element.plugin.getIntegerID(), Number(ID));
  assert.strictEqual(element.plugin, element.plugin);
  assert.strictEqual(element._renderer, renderer);
  assert.strictEqual(element.constructor.name, 'RenderElement');
});

test('accessors are its own, without a setter; the renderer is hidden', () => {
  for (const name of Object.keys(element)) {
    const before = element[name];
    element[name] = 5;
    assert.strictEqual(element[name], before);
    const {enumerable, configurable} = Object.getOwnPropertyDescriptor(element, name);
    assert.deepStrictEqual([enumerable, configurable], [true, false]);
    assert.throws(() => { delete element[name]; }, TypeError);
  }
  const {writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(element, '_renderer');
  assert.deepStrictEqual([writable, enumerable, configurable], [false, false, false]);
  assert.throws(() => { element._renderer = 5; }, TypeError);
  assert.strictEqual(element._renderer, renderer);
});

test('methods stand on the prototype, hidden, and refuse a foreign receiver', () => {
  const {prototype} = element.constructor;
  for (const name of ['getData', 'getImage', 'getMetadata']) {
    const {value, ...attributes} = Object.getOwnPropertyDescriptor(prototype, name);
    assert.deepStrictEqual(attributes, {writable: false, enumerable: false, configurable: false});
    for (const receiver of [undefined, {}, renderer, element.plugin, prototype, Object.create(element)]) {
      assert.throws(() => value.call(receiver), TypeError);
    }
  }
});

test('an element that the collection did not make is empty', () => {
  const empty = new element.constructor();
  for (const name of ['_renderer', 'name', 'type', 'binaryFormat', 'defaultPixelFormat', 'plugin']) {
    assert.strictEqual(empty[name], undefined);
  }
  for (const name of ['getData', 'getImage', 'getMetadata']) assert.strictEqual(empty[name](5), undefined);
  assert.deepStrictEqual(recorder.names(), []);
});

test('formats', () => {
  for (const [code, text, pixels] of [[1, 'single_float', '4_byte_float_grayscale'], [2, '3_floats', '3x4_bytes_float_RGB'],
    [3, '2_signed_floats', '3x4_bytes_float_RGB'], [4, 'single_integer', '4_byte_int_grayscale'],
    [5, '3_signed_floats', '3x4_bytes_float_RGB'], [6, '4_floats', '4x4_bytes_float_RGBA'],
    [0, 'other', '4x4_bytes_float_RGBA'], [7, 'other', '4x4_bytes_float_RGBA']]) {
    const one = elementOf(renderer, {binary_format: code});
    assert.deepStrictEqual([one.binaryFormat, one.defaultPixelFormat], [text, pixels]);
  }
});

test('a plugin that is none is null, and all ones to the SDK', () => {
  for (const plugin of [0n, NONE]) {
    const one = elementOf(renderer, {plugin});
    assert.strictEqual(one.plugin, null);
    one.getMetadata();
    assert.strictEqual(recorder.last(METADATA).args[1], NONE);
  }
});

// --- getData. What was passed, by default {no region, layer 0, 4x4 float, no alpha plugin, no RGB order}.

const OWN = {alpha: NONE, type: 101, layer: 0, format: 303, rgb: 0, region: null};
const ZEROS = [0, 0, 0, 0];

function passedData(...args) {
  recorder.clear();
  recorder.once(DATA, {result: 4n, out: {data: Buffer.from([1, 2, 3, 4])}});
  const buffer = element.getData(...args);
  assert.deepStrictEqual([...buffer], [1, 2, 3, 4]);
  const call = recorder.last(DATA);
  const [rendererHandle, plugin, alpha, type, layer, format, rgb, region] = call.args;
  assert.deepStrictEqual([rendererHandle, plugin, call.onJsThread], [handle, ID, true]);
  return {alpha, type, layer, format, rgb, region: region && Object.values(region)};
}

// Properties on the element, as long as the body runs.
function withKeys(keys, body) {
  for (const key of keys) element[key] = `the element's own`;
  try {
    return body();
  } finally {
    for (const key of keys) delete element[key];
  }
}

test('getData without an argument passes no region; with one it passes zeros', () => {
  assert.deepStrictEqual(passedData(), OWN);
  for (const options of [{}, [], () => {}, new Date()]) assert.deepStrictEqual(passedData(options), {...OWN, region: ZEROS});
});

test('getData wants an object', () => {
  for (const options of [undefined, null, 5, 'x', true]) {
    assert.throws(() => element.getData(options), {name: 'Error', message: 'Argument 0 (options) should be an object'});
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('keys count only where the element has them; otherwise they are not even read', () => {
  const all = {x: 1, y: 2, width: 3, height: 4, layerIndex: 5, pixelFormat: '1_byte_int_grayscale', alphaChannelPlugin: element,
    rgbOrder: true};
  assert.deepStrictEqual(passedData(all), {...OWN, region: ZEROS});
  assert.deepStrictEqual(passedData(new Proxy({}, {get() { throw new Error('read'); }, has() { throw new Error('asked'); }})),
    {...OWN, region: ZEROS});
  withKeys(Object.keys(all), () => {
    assert.deepStrictEqual(passedData(all), {alpha: ID, type: 101, layer: 5, format: 100, rgb: 1, region: [1, 2, 4, 6]});
    const asked = [];
    const watching = new Proxy(all, {get(target, key) { asked.push(key); return target[key]; }});
    passedData(watching);
    assert.deepStrictEqual(asked, Object.keys(all));
    assert.deepStrictEqual(passedData(Object.create(all)).region, [1, 2, 4, 6], 'inherited values count');
  });
  const {prototype} = element.constructor;
  for (const key of Object.keys(all)) prototype[key] = 0;
  try {
    assert.strictEqual(passedData(all).layer, 5, 'the element may inherit the key');
  } finally {
    for (const key of Object.keys(all)) delete prototype[key];
  }
});

test('one to three keys of a region are not enough', () => {
  const message = 'All 4 region variables are needed: x, y, width, height';
  const keys = ['x', 'y', 'width', 'height'];
  for (let mask = 1; mask < 15; ++mask) {
    withKeys(keys.filter((_, i) => mask & (1 << i)), () => {
      assert.throws(() => element.getData({x: 5}), {name: 'Error', message});
      assert.throws(() => element.getData({x: 0, y: 0, width: 1, height: 1}), {name: 'Error', message});
    });
  }
  assert.strictEqual(recorder.count(DATA), 0);
});

test('the region of getData', () => {
  withKeys(['x', 'y', 'width', 'height'], () => {
    for (const [options, ...region] of [[{x: 10, y: 20, width: 30, height: 40}, 10, 20, 40, 60],
      [{x: -1, y: '2', width: 2.9, height: null}, -1, 2, 1, 2], [{}, 0, 0, 0, 0],
      [{x: 0x7FFFFFFF, y: 0, width: 1, height: -5}, 0x7FFFFFFF, 0, -0x80000000, -5]]) {
      assert.deepStrictEqual(passedData(options), {...OWN, region});
    }
    recorder.clear();
    for (const key of ['x', 'y', 'width', 'height']) {
      const whole = {x: 0, y: 0, width: 1, height: 1};
      assert.throws(() => element.getData({...whole, [key]: thrower(key)}), {name: 'RangeError', message: key});
      assert.throws(() => element.getData({...whole, get [key]() { throw new RangeError(key); }}), {name: 'RangeError'});
      assert.throws(() => element.getData({...whole, [key]: Symbol('x')}), TypeError);
    }
    assert.deepStrictEqual(recorder.names(), []);
  });
});

test('the layer of getData', () => {
  withKeys(['layerIndex'], () => {
    for (const [layerIndex, layer] of [[3, 3], ['4', 4], [-1.5, -1], [undefined, 0], [null, 0], [{}, 0]]) {
      assert.deepStrictEqual(passedData({layerIndex}), {...OWN, region: ZEROS, layer});
    }
    recorder.clear();
    assert.throws(() => element.getData({layerIndex: thrower('no')}), {name: 'RangeError'});
    assert.deepStrictEqual(recorder.names(), []);
  });
});

test('the pixel format of getData', () => {
  const codes = [100, 101, 102, 104, 200, 201, 203, 300, 301, 303];
  withKeys(['pixelFormat'], () => {
    renderer.renderElements.getAvailablePixelFormats().forEach((text, i) => {
      for (const pixelFormat of [text, text.toUpperCase(), [text]]) {
        assert.deepStrictEqual(passedData({pixelFormat}), {...OWN, region: ZEROS, format: codes[i]});
      }
    });
    for (const pixelFormat of ['nonsense', '', 303, {}]) {
      assert.deepStrictEqual(passedData({pixelFormat}), {...OWN, region: ZEROS, format: 0});
    }
    recorder.clear();
    for (const pixelFormat of [null, undefined]) assert.strictEqual(element.getData({pixelFormat}), undefined);
    assert.strictEqual(element.getData({}), undefined);
    assert.throws(() => element.getData({pixelFormat: thrower('no')}), {name: 'RangeError'});
    assert.throws(() => element.getData({pixelFormat: Symbol('x')}), TypeError);
    assert.deepStrictEqual(recorder.names(), []);
  });
});

test('without a pixel format the element\'s default is passed', () => {
  for (const [code, format] of [[1, 104], [2, 203], [3, 203], [4, 102], [5, 203], [6, 303]]) {
    const one = elementOf(renderer, {binary_format: code});
    for (const args of [[], [{}]]) {
      recorder.once(DATA, {result: 4n, out: {data: Buffer.alloc(4)}});
      one.getData(...args);
      assert.strictEqual(recorder.last(DATA).arg.pixel_format, format);
    }
  }
});

test('the alpha plugin of getData', () => {
  const other = elementOf(renderer, {plugin: 0x200000009n});
  withKeys(['alphaChannelPlugin'], () => {
    for (const [alphaChannelPlugin, alpha] of [[other, 0x200000009n], [other.plugin, 0x200000009n],
      [elementOf(renderer, {plugin: 0n}), NONE], [new element.constructor(), NONE], [new kiln.Plugin(), 0n], [null, NONE],
      [undefined, NONE], [5, NONE], ['x', NONE], [{plugin: other.plugin}, NONE], [renderer, NONE]]) {
      assert.deepStrictEqual(passedData({alphaChannelPlugin}), {...OWN, region: ZEROS, alpha});
    }
  });
});

test('the order of getData', () => {
  withKeys(['rgbOrder'], () => {
    for (const [rgbOrder, rgb] of [[true, 1], ['x', 1], [{}, 1], [0, 0], [null, 0], [undefined, 0], [Symbol('x'), 1]]) {
      assert.deepStrictEqual(passedData({rgbOrder}), {...OWN, region: ZEROS, rgb});
    }
  });
});

test('an exception of each key of getData is left pending', () => {
  for (const key of ['alphaChannelPlugin', 'rgbOrder', 'pixelFormat', 'layerIndex']) {
    withKeys([key], () => {
      assert.throws(() => element.getData({get [key]() { throw new RangeError(key); }}), {name: 'RangeError', message: key});
    });
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('getData without data throws', async () => {
  await collect(() => held() === 0);
  for (const [args, answer] of [[[], 0n], [[{}], 0n], [[], {result: 5n, out: {data: null}}],
    [[], {result: 0n, out: {data: Buffer.alloc(8)}}]]) {
    recorder.once(DATA, answer);
    assert.throws(() => element.getData(...args), NO_PIXELS);
    assert.strictEqual(held(), 0);
  }
});

test('the bytes are the SDK\'s own, and go back with the buffer', async () => {
  recorder.once(DATA, {result: 16n, out: {data: Buffer.alloc(16, 7)}});
  (() => {
    const buffer = element.getData();
    assert.ok(Buffer.isBuffer(buffer));
    assert.deepStrictEqual([buffer.length, buffer.byteOffset, buffer.buffer.byteLength], [16, 0, 16]);
    buffer[3] = 9;
    assert.strictEqual(buffer[3], 9);
    forceGc();
    assert.strictEqual(buffer[15], 7);
  })();
  await collect(() => held() === 0);
});

// --- getImage. What was passed, by default {layer 0, no region, mode 0}; and the place of the image.

function passedImage(...args) {
  recorder.clear();
  recorder.once(IMAGE, {width: 4, height: 3});
  const image = element.getImage(...args);
  assert.ok(image instanceof kiln.KilnImage);
  const call = recorder.last(IMAGE);
  const [rendererHandle, plugin, type, layer, region, mode] = call.args;
  assert.deepStrictEqual([rendererHandle, plugin, type, call.onJsThread], [handle, ID, 101, true]);
  const at = [image.x, image.y];
  assert.strictEqual(image.host, undefined);
  image.close();
  return [layer, region && Object.values(region), mode, ...at];
}

const WHOLE = [0, null, 0, undefined, undefined];

test('getImage without an argument, and with one that says nothing', () => {
  for (const args of [[], [undefined], [null], ['x'], [true, 5], ['1', '2', '3', '4'], [undefined, 1, 2, 3, 4]]) {
    assert.deepStrictEqual(passedImage(...args), WHOLE);
  }
});

test('getImage with four numbers and more', () => {
  for (const [args, ...passed] of [[[0, 0, 10, 10], 0, [0, 0, 10, 10], 0, 0, 0], [[1.9, '2', 3, 4], 1, null, 0, undefined, undefined],
    [[1.9, 2.9, 3.9, 4.9], 0, [1, 2, 4, 6], 0, 1, 2], [[-1, 2, 3, 4], 0, [-1, 2, 2, 6], 0, undefined, undefined],
    [[0, 0, 10, 10, 2], 2, [0, 0, 10, 10], 0, 0, 0], [[0, 0, 10, 10, 'a', 1], 0, [0, 0, 10, 10], 1, 0, 0],
    [[0, 0, 10, 10, null, 0], 0, [0, 0, 10, 10], 2, 0, 0], [[0, 0, 10, 10, 2, 1], 2, [0, 0, 10, 10], 0, 0, 0],
    [[0, 0, 10, 10, 'a', true], 0, [0, 0, 10, 10], 0, 0, 0], [[NaN, Infinity, 0x7FFFFFFF, -1], 0, [0, 0, 0x7FFFFFFF, -1], 0, 0, 0],
    [[2, 2, 0x7FFFFFFF, -1], 0, [2, 2, -0x7FFFFFFF, 1], 0, 2, 2]]) {
    assert.deepStrictEqual(passedImage(...args), passed);
  }
});

test('getImage with a number is that layer', () => {
  for (const [args, layer] of [[[3], 3], [[-1.5], -1], [[3, 4], 3], [[3, 4, 5], 3], [[3, {}], 3]]) {
    assert.deepStrictEqual(passedImage(...args), [layer, null, 0, undefined, undefined]);
  }
});

test('getImage with an object reads its own keys', () => {
  const region = {x: 1, y: 2, width: 3, height: 4};
  for (const [args, ...passed] of [[[{}], ...WHOLE], [[region], 0, [1, 2, 4, 6], 0, 1, 2],
    [[Object.create(region)], 0, [1, 2, 4, 6], 0, 1, 2], [[{...region, x: -5}], 0, [-5, 2, -2, 6], 0, undefined, undefined],
    [[{...region, width: '7', height: null}], 0, [1, 2, 8, 2], 0, 1, 2], [[{...region, x: undefined}], 0, [0, 2, 3, 6], 0, 0, 2],
    [[{x: 0}], ...WHOLE], [[{x: 0, y: 0, width: 5}], ...WHOLE],
    [[{doColorCorrect: true}], 0, null, 1, undefined, undefined], [[{doColorCorrect: 0}], 0, null, 2, undefined, undefined],
    [[{doColorCorrect: undefined}], 0, null, 2, undefined, undefined],
    [[{layerIndex: 5}], 5, null, 0, undefined, undefined], [[{layerIndex: '6'}, 3], 6, null, 0, undefined, undefined],
    [[{layerIndex: undefined}, 3], 0, null, 0, undefined, undefined],
    [[{}, 3], 3, null, 0, undefined, undefined], [[{}, 3.9], 3, null, 0, undefined, undefined], [[{}, '3'], ...WHOLE],
    [[{}, 3, 4], ...WHOLE], [[{}, 3, undefined], ...WHOLE], [[[]], ...WHOLE], [[() => {}, 2], 2, null, 0, undefined, undefined],
    [[{...region, layerIndex: 2, doColorCorrect: 'x'}], 2, [1, 2, 4, 6], 1, 1, 2]]) {
    assert.deepStrictEqual(passedImage(...args), passed);
  }
});

test('a key of getImage that can\'t be read ends the call', () => {
  const region = {x: 1, y: 2, width: 3, height: 4};
  for (const key of ['x', 'y', 'width', 'height', 'doColorCorrect', 'layerIndex']) {
    const options = Object.defineProperty({...region}, key, {get() { throw new RangeError(key); }});
    assert.throws(() => element.getImage(options), {name: 'RangeError', message: key});
    if (key === 'doColorCorrect') continue;
    assert.throws(() => element.getImage({...region, [key]: thrower(key)}), {name: 'RangeError', message: key});
    assert.throws(() => element.getImage({...region, [key]: Symbol('x')}), TypeError);
  }
  const hides = new Proxy({}, {has() { throw new RangeError('has'); }});
  assert.throws(() => element.getImage(hides), {name: 'RangeError', message: 'has'});
  assert.deepStrictEqual(recorder.names(), []);
  const partial = {get x() { throw new Error('read'); }, y: 0, width: 1};
  assert.deepStrictEqual(passedImage(partial), WHOLE, 'no part of an incomplete region is read');
});

test('getImage without an image throws', () => {
  recorder.once(IMAGE, null, 3);
  for (const args of [[], [{}], [0, 0, 1, 1]]) assert.throws(() => element.getImage(...args), NO_PIXELS);
});

test('the image owns its memory', async () => {
  recorder.once(IMAGE, {width: 4, height: 3}, 10);
  for (let i = 0; i < 10; ++i) element.getImage();
  await collect(() => held() === 0);
});

// --- getMetadata

test('getMetadata asks twice with one slot, the second time to give the text back', () => {
  recorder.once(METADATA, {result: 'größe={}', out: {slot: 0x123456789An}});
  recorder.once(METADATA, {result: 'another'});
  assert.strictEqual(element.getMetadata('ignored'), 'größe={}');
  const calls = recorder.calls(METADATA);
  assert.deepStrictEqual(calls.map((call) => [call.args.slice(0, 3), call.before.slot]),
    [[[handle, ID, 101], 0n], [[handle, ID, 101], 0x123456789An]]);
});

test('getMetadata without a text is null, and asks once', () => {
  recorder.once(METADATA, null);
  assert.strictEqual(element.getMetadata(), null);
  assert.strictEqual(recorder.count(METADATA), 1);
  recorder.once(METADATA, '', 2);
  assert.strictEqual(element.getMetadata(), '');
});

test('the type is passed by its code, 0 for another', () => {
  for (const [type, code] of [[117, 117], [6009, 6009], [5, 0]]) {
    const one = elementOf(renderer, {type});
    one.getMetadata();
    assert.strictEqual(recorder.last(METADATA).arg.type, code);
    recorder.once(IMAGE, {width: 1, height: 1});
    one.getImage().close();
    assert.strictEqual(recorder.last(IMAGE).arg.type, code);
    recorder.once(DATA, {result: 4n, out: {data: Buffer.alloc(4)}});
    one.getData();
    assert.strictEqual(recorder.last(DATA).arg.type, code);
  }
});

test('a closed renderer passes null, also when a key closed it', () => {
  const own = open();
  const one = elementOf(own);
  one.layerIndex = 0;
  recorder.clear();
  assert.throws(() => one.getData({get layerIndex() { own.close(); return 1; }}), NO_PIXELS);
  assert.throws(() => one.getData(), NO_PIXELS);
  recorder.once(IMAGE, null);
  assert.throws(() => one.getImage(), NO_PIXELS);
  assert.strictEqual(one.getMetadata(), null);
  const calls = recorder.calls().filter((call) => call.name.startsWith('Kiln_getRenderElement'));
  assert.strictEqual(calls.length, 4);
  for (const call of calls) assert.deepStrictEqual([call.args[0], call.stale], [0n, false]);
  assert.strictEqual(one.name, 'Element');
});

closeAtEnd(renderer);
