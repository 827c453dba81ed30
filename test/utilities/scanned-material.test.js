'use strict';

const test = require('node:test');
const assert = require('assert');
const {loadNative, recorder, collect} = require('../helpers');

const kiln = loadNative();
const {ScannedMaterialInfo, encodeScannedMaterialParams} = kiln;
const CREATE = 'Kiln_KiScanInfo_create';
const DELETE = 'Kiln_KiScanInfo_delete';
const INFO = 'Kiln_KiScanInfo_getInfoString';
const PRESET = 'Kiln_KiScanInfo_getPreset';
const RESET = 'Kiln_KiScansPresets_reset';
const INITIALIZE = 'Kiln_BRDFScannedParams_initialize';
const ENCODE = 'Kiln_encodeBRDFScannedParams';
const inUse = () => {
  try {
    kiln.setSDKLibraryPath('/nowhere');
    return false;
  } catch (error) {
    return true;
  }
};

test('a name that is no string is left out', () => {
  for (const [args, name] of [[['a.scan'], 'a.scan'], [['größe'], 'größe'], [[], null], [[5], null], [[new String('a')], null]]) {
    const info = new ScannedMaterialInfo(...args);
    assert.strictEqual(recorder.last(CREATE).args[0], name);
    info.close();
  }
  const info = ScannedMaterialInfo('a');
  assert(info instanceof ScannedMaterialInfo);
  info.close();
});

test('why it can\'t be made', () => {
  for (const [error, message] of [[1, 'Bad or missing BRDFScanned plugin file.'], [3, 'SDK Broken Error.'],
    [0, 'Instantiation error.'], [2, 'Instantiation error.'], [-1, 'Instantiation error.']]) {
    recorder.once(CREATE, {result: null, out: {error}});
    assert.throws(() => new ScannedMaterialInfo('a'), {name: 'Error', message});
  }
});

test('close gives the handle back once; afterwards the SDK gets none', () => {
  const info = new ScannedMaterialInfo('a');
  const {handle} = recorder.live().handles[0];
  assert.strictEqual(inUse(), true);
  recorder.clear();
  info.close();
  info.close();
  assert.deepStrictEqual(recorder.calls(DELETE).map((call) => call.args[0]), [handle]);
  recorder.once(INFO, 0);
  assert.strictEqual(info.getInfoSync('x'), null);
  assert.strictEqual(recorder.last(INFO).args[0], 0n);
});

test('an object that is dropped gives its handle back', async () => {
  for (let i = 0; i < 100; ++i) new ScannedMaterialInfo('a');
  await collect(() => recorder.live().handles.length === 0);
});

test('getInfoSync', () => {
  const info = new ScannedMaterialInfo('a');
  const message = 'Argument 0 (filename: string) should be passed';
  assert.throws(() => info.getInfoSync(), {name: 'Error', message});
  assert.throws(() => info.getInfoSync(Symbol('x')), TypeError);
  recorder.once(INFO, {result: 1, out: {destination: 'größe'}});
  assert.strictEqual(info.getInfoSync(5), 'größe');
  assert.deepStrictEqual(recorder.last(INFO).args[1], '5');
  assert.deepStrictEqual(recorder.last(INFO).args[3], 500);
  recorder.once(INFO, {result: 1, out: {destination: Buffer.alloc(500, 'x')}});
  assert.strictEqual(info.getInfoSync('full'), 'x'.repeat(500));
  recorder.once(INFO, 0);
  assert.strictEqual(info.getInfoSync('none'), null);
  info.close();
});

const KEYS = ['ccior', 'plain', 'bumpmul', 'bumpstart', 'depthmul', 'ccbump', 'orggls', 'orgglvar', 'ccmul', 'shdhmul', 'shdmul',
  'flakes', 'forcebrdf', 'specbell', 'specmul', 'scratchdens', 'fuzzy', 'topvLs_A', 'keepflakesuv', 'indmul', 'ccmetalrefl',
  'thickness', 'triplanar', 'transpf'];

test('getPresetSync gives each field by its key', () => {
  const info = new ScannedMaterialInfo('a');
  assert.throws(() => info.getPresetSync(), {name: 'Error', message: 'Argument 0 (filename: string) should be passed'});
  const values = Object.fromEntries(KEYS.map((key, i) => [key, i + 1]));
  recorder.clear();
  recorder.once(PRESET, {result: 1, out: {preset: values}});
  const preset = info.getPresetSync('p');
  assert.deepStrictEqual(Object.entries(preset), Object.entries(values));
  assert.deepStrictEqual(recorder.names(), [RESET, PRESET]);
  assert.strictEqual(recorder.last(RESET).args[1], 120);
  assert.deepStrictEqual([recorder.last(PRESET).args[1], recorder.last(PRESET).args[3]], ['p', 120]);
  recorder.once(PRESET, 0);
  assert.throws(() => info.getPresetSync('p'), {name: 'Error', message: 'Error reading presets.'});
  info.close();
});

// The record that reaches the encoder for an object, on defaults of zero.
function encoded(params) {
  recorder.once(ENCODE, 1);
  recorder.once(ENCODE, {result: 1, out: {destination: Buffer.alloc(4)}});
  encodeScannedMaterialParams(params);
  return recorder.last(ENCODE).args[2];
}

const FLOATS = ['invgamma', 'saturation', 'depthMul', 'bumpmul', 'bumpstart', 'cutoff', 'multdirect', 'multrefl', 'multgi',
  'scrambleSize', 'sceneScale', 'ccior', 'ccbump', 'retrace', 'transpMul', 'paintStrength', 'fltStrength', 'ccmetalrefl', 'ccmul',
  'ccglossy', 'ccglossyvar'];
const INTS = ['plain', 'disablewmap', 'usemap', 'nsamples', 'mapChannel', 'dome', 'traceDepth', 'cchlight', 'unfRefl', 'twoside',
  'displace', 'noPrimGI', 'noTransp', 'mapChBitmask', 'clrSpace', 'triplanar', 'fasttrans', 'BWforGI'];

test('every number, by its key in any case', () => {
  for (const key of FLOATS) {
    assert.strictEqual(encoded({[key.toUpperCase()]: '1.5'})[key], 1.5, key);
  }
  for (const key of INTS) {
    assert.strictEqual(encoded({[key.toLowerCase()]: 7.9})[key], 7, key);
  }
  assert.strictEqual(encoded({colorspace: 2}).clrSpace, 2);
  for (const [value, word] of [[true, 1], ['x', 1], [0, 0], [null, 0]]) {
    assert.strictEqual(encoded({noCachedGI: value}).noCachedGI, word);
  }
});

test('names stand for numbers', () => {
  for (const [name, word] of [['PL_NONE', 0], ['plnone', 0], ['pl_hmg', 1], ['PlHmg', 1], ['PL_HMGSYM', 2], ['PlHmgSym', 2],
    ['PL_SCRAMBLE', 3], ['plscramble', 3]]) {
    assert.strictEqual(encoded({plain: 9, PLAIN: name}).plain, word, name);
  }
  for (const [name, word] of [['CS_SRGB', 0], ['CSsrgb', 0], ['CS_ADOBE', 1], ['csAdobe', 1], ['cs_pp', 2], ['csPP', 2],
    [new String('csPP'), 2]]) {
    assert.strictEqual(encoded({clrSpace: 9, ColorSpace: name}).clrSpace, word, String(name));
  }
  assert.strictEqual(encoded({plain: 9, PLAIN: 'other'}).plain, 9);
  assert.strictEqual(encoded({clrSpace: 9, ColorSpace: 'other'}).clrSpace, 9);
});

test('objects', () => {
  assert.deepStrictEqual([...encoded({filter: {r: 1, g: 0.5, b: 2}}).filter], [1, 0.5, 2]);
  assert.deepStrictEqual([...encoded({filter: null}).filter], [0, 0, 0]);
  const rows = [0, 1, 2, 3, 4].map((i) => ({x: 3 * i, y: 3 * i + 1, z: 3 * i + 2}));
  assert.deepStrictEqual([...encoded({uvtrans: rows}).uvtrans], [0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11]);
  assert.strictEqual(encoded({uvtrans: rows}).usemap, 0);
  assert.deepStrictEqual([...encoded({uvtrans: {1: {y: 5}}}).uvtrans], [0, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0]);
});

test('bits by name work for triplanar and have no effect on mapChBitmask', () => {
  assert.strictEqual(encoded({triplanar: {enabled: true, randomRotation: true}}).triplanar, 5);
  assert.strictEqual(encoded({triplanar: {TP_ENABLED: 1, tp_rndoffs: 'x', TP_RNDROT: {}}}).triplanar, 7);
  assert.strictEqual(encoded({triplanar: 7, TRIPLANAR: {randomOffset: false, other: true}}).triplanar, 5);
  assert.strictEqual(encoded({mapChBitmask: {PAINT: true}}).mapChBitmask, 0);
  assert.strictEqual(encoded({mapChBitmask: 3}).mapChBitmask, 3);
});

test('what is undefined, unknown, or fails, leaves its word', () => {
  const fails = {valueOf() { throw new Error('no'); }};
  recorder.answer(INITIALIZE, {out: {params: {invgamma: 2.5, plain: 4, usemap: 1}}});
  const record = encoded({
    invgamma: undefined, plain: fails, get usemap() { throw new Error('no'); }, stranger: 5, filter: {r: fails, g: 2},
    triplanar: {get enabled() { throw new Error('no'); }, randomOffset: true}, saturation: 3n, __proto__: {multgi: 4},
  });
  assert.deepStrictEqual([record.invgamma, record.plain, record.usemap, record.multgi, record.triplanar, record.saturation],
    [2.5, 4, 1, 4, 2, 0]);
  assert.deepStrictEqual([...record.filter], [0, 2, 0]);
  assert.strictEqual(recorder.last(INITIALIZE).args[1], 220);
  recorder.reset(INITIALIZE);
});

test('the integers as a plain Int32Array', () => {
  recorder.clear();
  recorder.once(ENCODE, 3);
  recorder.once(ENCODE, {result: 2, out: {destination: Buffer.from(Int32Array.of(5, -6, 7).buffer)}});
  const list = encodeScannedMaterialParams({});
  assert.strictEqual(Object.getPrototypeOf(list), Int32Array.prototype);
  assert.deepStrictEqual([...list], [5, -6]);
  const [count, fill] = recorder.calls(ENCODE).map((call) => call.args);
  assert.deepStrictEqual([count[0], count[3], fill[1], fill[3]], [0n, 220, 3, 220]);
});

test('errors', () => {
  const broken = {name: 'Error', message: 'Internal error (the SDK is broken)'};
  recorder.once(ENCODE, 0);
  assert.throws(() => encodeScannedMaterialParams({}), broken);
  recorder.once(ENCODE, -5);
  assert.throws(() => encodeScannedMaterialParams({}), broken);
  recorder.once(ENCODE, 2);
  recorder.once(ENCODE, 0);
  assert.throws(() => encodeScannedMaterialParams({}), broken);
  for (const args of [[], [null], [undefined]]) {
    assert.throws(() => encodeScannedMaterialParams(...args),
      {name: 'Error', message: 'An object argument containing ScannedMaterialParams is expected'});
  }
});
