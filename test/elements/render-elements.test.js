'use strict';

// The collection of a renderer's render elements.

const test = require('node:test');
const assert = require('assert');
const {Worker} = require('worker_threads');
const {kiln, recorder, INFO, open, elementOf, held, closeAtEnd} = require('./common');
const {paths, forceGc} = require('../helpers');

const NEW = 'Kiln_newRenderElementPlugin';
const FIND = 'Kiln_getRenderElementPlugin';
const LIST = 'Kiln_getRenderElementPluginsList';
const NO_TYPE = {name: 'Error', message: 'Argument 0 (renderElementType: string) should be passed'};
const UNKNOWN = {name: 'Error',
  message: 'No such render element type. Check the available types with renderElements.getAvailableTypes()'};
const NO_STRINGS = [undefined, null, 5, true, {}, ['color'], new String('color'), Symbol('x')];

// Runs of consecutive codes.
const TYPES = [
  [100, 'atmosphere diffuse reflection refraction self_illumination shadow specular lighting gi caustics raw_gi raw_light ' +
    'raw_shadow velocity render_id material_id node_id z_depth reflection_filter raw_reflection refraction_filter ' +
    'raw_refraction real_color normals background alpha color write_color matte_shadow total_light raw_total_light ' +
    'bump_normals sample_rate sss dr_bucket reflection_glossiness reflection_hilight_glossiness refraction_glossiness ' +
    'shademap_export reflection_alpha reflection_ior material_render_id noise_level world_position denoised ' +
    'world_bump_normals defocus_amount'],
  [153, 'effects_result toon'], [157, 'rendertime cryptomatte'], [160, 'lighting_analysis'], [163, 'light_select'],
  [183, 'sheen_color raw_sheen_reflection sheen_filter sheen_glossiness sheen_reflection_alpha coat_reflection_alpha ' +
    'coat_color raw_coat_reflection coat_filter coat_glossiness'],
  [6001, 'coverage'],
  [6003, 'material_select multimatte multimatte_id object_select extra_tex extra_tex_int extra_tex_float'],
].flatMap(([first, names]) => names.split(' ').map((name, i) => [first + i, name]));

const renderer = open();
const {handle} = recorder.live().handles[0];
const elements = renderer.renderElements;

test.beforeEach(() => recorder.clear());

test('renderElements is the fourth part of a renderer, and the last of the scene', () => {
  const parts = Object.getOwnPropertyNames(renderer).filter((name) => /^(plugins|class|renderElements)/.test(name));
  assert.deepStrictEqual(parts, ['plugins', 'classes', 'classCategories', 'renderElements']);
  const {writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(renderer, 'renderElements');
  assert.deepStrictEqual([writable, enumerable, configurable], [false, true, true]);
  assert.strictEqual(renderer.renderElements, elements);
});

test('its functions are its own, read-only and not deletable', () => {
  const names = ['add', 'get', 'getAll', 'getAvailablePixelFormats', 'getAvailableBinaryFormats', 'getAvailableTypes'];
  assert.deepStrictEqual(Object.keys(elements), names);
  for (const name of names) {
    const {value, ...attributes} = Object.getOwnPropertyDescriptor(elements, name);
    assert.deepStrictEqual(attributes, {writable: false, enumerable: true, configurable: false});
    assert.strictEqual(value.name, name);
    assert.throws(() => { elements[name] = 5; }, TypeError);
    assert.throws(() => { delete elements[name]; }, TypeError);
  }
});

test('the vocabulary', () => {
  assert.strictEqual(TYPES.length, 71);
  assert.deepStrictEqual(elements.getAvailableTypes(), TYPES.map(([, name]) => name));
  assert.deepStrictEqual(elements.getAvailableBinaryFormats(),
    ['single_float', '3_floats', '2_signed_floats', 'single_integer', '3_signed_floats', '4_floats']);
  assert.deepStrictEqual(elements.getAvailablePixelFormats(), ['1_byte_int_grayscale', '2_byte_int_grayscale',
    '4_byte_int_grayscale', '4_byte_float_grayscale', '3x1_bytes_int_RGB', '3x2_bytes_int_RGB', '3x4_bytes_float_RGB',
    '4x1_bytes_int_RGBA', '4x2_bytes_int_RGBA', '4x4_bytes_float_RGBA']);
  assert.deepStrictEqual(recorder.names(), []);
  for (const name of ['getAvailableTypes', 'getAvailableBinaryFormats', 'getAvailablePixelFormats']) {
    assert.notStrictEqual(elements[name](), elements[name]());
    assert.deepStrictEqual(elements[name].call(undefined), elements[name](5));
  }
});

test('every type in any case has its code, and elements name it', () => {
  for (const [code, name] of TYPES) {
    for (const spelt of [name, name.toUpperCase()]) {
      recorder.once(FIND, 9n);
      recorder.once(INFO, {result: 1, out: {info: {name: 'x', binary_format: 1, type: code}}});
      assert.strictEqual(elements.get(spelt).type, name);
      assert.deepStrictEqual(recorder.last(FIND).args, [handle, code]);
      assert.deepStrictEqual(recorder.last(INFO).args.slice(0, 3), [handle, 9n, code]);
    }
  }
});

test('add', () => {
  const info = {name: 'Größe', binary_format: 2, type: 101};
  for (const [args, ...passed] of [[['diffuse'], 101, null, null], [['DIFFUSE', 'ü'], 101, 'ü', null],
    [['diffuse', '', 'Anzeige'], 101, '', 'Anzeige'], [['color', 'a'.repeat(5000), 'b', 5], 126, 'a'.repeat(5000), 'b']]) {
    recorder.once(NEW, {result: 0, out: {plugin: 0x100000007n}});
    recorder.once(INFO, {result: -1, out: {info}});
    const element = elements.add(...args);
    assert.strictEqual(element.name, 'Größe');
    assert.strictEqual(element.plugin.getIntegerID(), 0x100000007);
    assert.deepStrictEqual(recorder.last(NEW).args.slice(0, 4), [handle, ...passed]);
    assert.deepStrictEqual(recorder.last(INFO).args.slice(0, 3), [handle, 0x100000007n, passed[0]]);
  }
});

test('add is null when the SDK makes nothing, or does not describe what it made', () => {
  recorder.once(INFO, {result: 1, out: {info: {name: 'x', type: 101}}});
  for (const result of [1, -1]) {
    recorder.once(NEW, result);
    assert.strictEqual(elements.add('diffuse'), null);
  }
  assert.strictEqual(recorder.count(INFO), 0);
  recorder.reset();
  recorder.once(NEW, {result: 0, out: {plugin: 7n}});
  recorder.once(INFO, 0);
  assert.strictEqual(elements.add('diffuse'), null);
});

test('add looks at its arguments first, and at the type last', () => {
  const instance = {name: 'Error', message: 'Argument 1 (instanceName: string) wrong type'};
  const display = {name: 'Error', message: 'Argument 2 (displayName: string) wrong type'};
  assert.throws(() => elements.add(), NO_TYPE);
  for (const value of NO_STRINGS) {
    assert.throws(() => elements.add(value, 5), NO_TYPE);
    assert.throws(() => elements.add('diffuse', value), instance);
    assert.throws(() => elements.add('nonsense', value, 5), instance);
    assert.throws(() => elements.add('diffuse', 'x', value), display);
    assert.throws(() => elements.add('nonsense', 'x', value), display);
  }
  for (const type of ['nonsense', '', 'diffuse ', 'other', '101', 'diffuse\0']) {
    assert.throws(() => elements.add(type), UNKNOWN);
  }
  assert.deepStrictEqual(recorder.names(), []);
});

test('get', () => {
  recorder.once(FIND, 0x100000007n);
  recorder.once(INFO, {result: 1, out: {info: {name: 'a', binary_format: 1, type: 117}}});
  const element = elements.get('Z_depth', 'ignored');
  assert.deepStrictEqual([element.name, element.type, element.binaryFormat], ['a', 'z_depth', 'single_float']);
  for (const id of [0n, 2n ** 64n - 1n, 7n]) {
    recorder.once(FIND, id);
    recorder.once(INFO, 0);
    assert.strictEqual(elements.get('diffuse'), undefined);
    assert.deepStrictEqual(recorder.last(INFO).args.slice(0, 3), [handle, id, 101]);
  }
  recorder.clear();
  assert.throws(() => elements.get(), NO_TYPE);
  for (const value of NO_STRINGS) assert.throws(() => elements.get(value), NO_TYPE);
  assert.throws(() => elements.get('nonsense'), UNKNOWN);
  assert.deepStrictEqual(recorder.names(), []);
});

test('getAll', () => {
  for (const [args, code] of [[[], -1], [['DIFFUSE'], 101], [['coverage', 5], 6001]]) {
    recorder.once(LIST, {result: [5n, 0x100000007n, 6n], out: {count: 3}});
    recorder.once(INFO, {result: 1, out: {info: {name: 'a', binary_format: 6, type: 126}}});
    recorder.once(INFO, 0);
    recorder.once(INFO, {result: 1, out: {info: {name: 'c', binary_format: 4, type: 114}}});
    const all = elements.getAll(...args);
    assert.strictEqual(held(), 0);
    assert.ok(Array.isArray(all));
    assert.deepStrictEqual(all.map((one) => one && [one.name, one.type, one.plugin.getIntegerID()]),
      [['a', 'color', 5], null, ['c', 'render_id', 6]]);
    assert.deepStrictEqual(recorder.last(LIST).args.slice(0, 2), [handle, code]);
    assert.deepStrictEqual(recorder.calls(INFO).slice(-3).map((call) => call.args.slice(0, 3)),
      [[handle, 5n, code], [handle, 0x100000007n, code], [handle, 6n, code]]);
  }
});

test('getAll of nothing, and of a count that lies', () => {
  assert.deepStrictEqual(elements.getAll(), []);
  for (const [result, count] of [[null, 3], [[], 0], [[5n], -1]]) {
    recorder.once(LIST, {result, out: {count}});
    assert.deepStrictEqual(elements.getAll(), []);
    assert.strictEqual(held(), 0);
  }
});

test('getAll takes a known type or no argument', () => {
  recorder.clear();
  for (const value of NO_STRINGS) assert.throws(() => elements.getAll(value), NO_TYPE);
  assert.throws(() => elements.getAll('nonsense'), UNKNOWN);
  assert.deepStrictEqual(recorder.names(), []);
});

test('an element without a name, or with codes that are in no table', () => {
  for (const info of [{name: null}, {name: ''}]) assert.strictEqual(elementOf(renderer, info).name, '');
  const element = elementOf(renderer, {type: 5, binary_format: 7});
  assert.deepStrictEqual([element.type, element.binaryFormat, element.defaultPixelFormat],
    ['other', 'other', '4x4_bytes_float_RGBA']);
  assert.strictEqual(elementOf(renderer, {type: 0xFFFFFFFF, binary_format: 0}).type, 'other');
});

test('a foreign receiver is refused', () => {
  for (const name of ['add', 'get', 'getAll']) {
    for (const receiver of [undefined, {}, renderer, renderer.plugins, Object.create(elements), elementOf(renderer)]) {
      assert.throws(() => elements[name].call(receiver, 'diffuse'), {name: 'TypeError', message: 'Illegal invocation'});
    }
  }
});

test('a closed renderer passes null, and finds nothing', () => {
  const own = open();
  const {renderElements} = own;
  own.close();
  recorder.clear();
  recorder.once(NEW, 1);
  assert.strictEqual(renderElements.add('diffuse'), null);
  assert.strictEqual(renderElements.get('diffuse'), undefined);
  assert.deepStrictEqual(renderElements.getAll(), []);
  assert.strictEqual(renderElements.getAvailableTypes().length, 71);
  for (const call of recorder.calls()) assert.deepStrictEqual([call.args[0], call.stale], [0n, false]);
});

test('an element outlives everything but its renderer, which it keeps', async () => {
  const element = (() => elementOf(open(), {plugin: 0x300000001n}))();
  for (let i = 0; i < 5; ++i) {
    forceGc();
    await new Promise(setImmediate);
  }
  assert.deepStrictEqual([element.name, element.plugin.getIntegerID()], ['Element', 0x300000001]);
  assert.ok(element._renderer instanceof kiln.KilnRenderer);
  element._renderer.close();
});

test('many elements and collections under the collector', () => {
  for (let i = 0; i < 2000; ++i) {
    const element = elementOf(renderer, {plugin: BigInt(i) + 1000n, name: `element ${i}`});
    if (i % 500 === 0) forceGc();
    assert.strictEqual(element.name, `element ${i}`);
  }
  forceGc();
});

test('elements in a worker', async () => {
  const worker = new Worker(`
    const kiln = require(${JSON.stringify(paths.native)});
    kiln.enableFrameBuffer(false);
    const renderer = new kiln.KilnRenderer();
    require('worker_threads').parentPort.postMessage([renderer.renderElements.getAvailableTypes().length,
      renderer.renderElements.get('diffuse'), renderer.renderElements.getAll().length]);
    renderer.close();
  `, {eval: true});
  // The end may be told in the same turn as the message.
  const ended = new Promise((resolve) => worker.once('exit', resolve));
  assert.deepStrictEqual(await new Promise((resolve, reject) => worker.once('message', resolve).once('error', reject)),
    [71, undefined, 0]);
  await ended;
});

closeAtEnd(renderer);
