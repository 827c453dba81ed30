'use strict';

// What the exports hold, in which order, and with which attributes.
const test = require('node:test');
const assert = require('assert');
const {loadNative} = require('../helpers');

const kiln = loadNative();

const NAMES = [
  'setSDKLibraryPath', 'getSDKLibraryErrorString', 'getSDKLibraryMissingFunctions', 'enableFrameBuffer', 'close',
  'setProcessPriority', 'createKilnRenderer', 'createKilnServer', 'encodeScannedMaterialParams', 'getOSLParameters', 'getOSLParametersSync', 'setEnvVar', 'getEnvVar', 'setNumaNode', 'setupKilnTypesInternal',
  'isVectorList', 'isColorList', 'intListToString', 'floatListToString', 'vectorListToString', 'colorListToString',
  'typedListToString', 'getAPIVersion', 'getKilnVersion', 'getKilnVersionDetails', 'getMaterialLibraryPath', 'isDR2', 'checkDRHost',
  'checkDRHostSync', 'LOGLEVEL_ERROR', 'LOGLEVEL_WARNING', 'LOGLEVEL_INFO', 'LOGLEVEL_DEBUG', 'RENDER_PASS_FINAL',
  'RENDER_PASS_LIGHT_CACHE', 'RENDER_PASS_IRRADIANCE_MAP', 'PROFILER_MODE_OFF', 'PROFILER_MODE_SIMPLE',
  'PROFILER_MODE_FULL', 'stringify', 'KilnServer', 'KilnRenderer', 'KilnImage', 'Plugin', 'PluginRef', 'Class', 'Category', 'Proxy', 'Util', 'Language', 'Matrix',
  'Color', 'AColor', 'Vector', 'Transform', 'ScannedMaterialInfo', 'BinUserAttributesWriter',
];

const attributes = (object, name) => {
  const {writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(object, name);
  return (writable ? 0 : 1) | (enumerable ? 0 : 2) | (configurable ? 0 : 4);
};

test('the exports are defined in their order', () => {
  const present = Object.getOwnPropertyNames(kiln);
  assert.deepStrictEqual(present.filter((name) => NAMES.includes(name)), NAMES);
});

test('functions and constants are read-only and stay; the set-up function is hidden but may be replaced', () => {
  for (const name of NAMES.slice(0, NAMES.indexOf('stringify'))) {
    assert.strictEqual(attributes(kiln, name), name === 'setupKilnTypesInternal' ? 2 : 5, name);
  }
  assert(!Object.keys(kiln).includes('setupKilnTypesInternal'));
  assert(Object.keys(kiln).includes('stringify'));
});

test('stringify, the classes and the languages are plain properties', () => {
  for (const name of NAMES.slice(NAMES.indexOf('stringify'))) {
    assert.strictEqual(attributes(kiln, name), 0, name);
  }
  const {KilnImage} = kiln;
  kiln.KilnImage = 5;
  assert.strictEqual(kiln.KilnImage, 5);
  kiln.KilnImage = KilnImage;
  assert.throws(() => { kiln.getAPIVersion = 5; }, TypeError);
});

test('functions carry their names', () => {
  for (const name of NAMES) {
    if (typeof kiln[name] === 'function') assert.strictEqual(kiln[name].name, name);
  }
});

test('constants have their values', () => {
  const values = NAMES.filter((name) => typeof kiln[name] === 'number').map((name) => kiln[name]);
  assert.deepStrictEqual(values, [0, 1, 2, 3, 0, 1, 2, 0, 1, 2]);
  assert.deepStrictEqual({...kiln.Language}, {EN_US: 'en-US', ZH_CN: 'zh-CN'});
  assert.deepStrictEqual(['EN_US', 'ZH_CN'].map((name) => attributes(kiln.Language, name)), [5, 5]);
});

test('a method refuses a foreign receiver', () => {
  const {prototype} = kiln.KilnImage;
  for (const receiver of [{}, null, 5, prototype, Object.create(prototype), new Proxy({}, {})]) {
    assert.throws(() => prototype.close.call(receiver), TypeError);
    assert.throws(() => kiln.KilnRenderer.prototype.stop.call(receiver), TypeError);
  }
});
