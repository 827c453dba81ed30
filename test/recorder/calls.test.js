'use strict';

// What crosses the boundary is recorded exactly.

const test = require('node:test');
const assert = require('assert');
const {recorder, encodeStream, decodeStream, record, recordArray, Memory, constants} = require('../helpers');

function lastCall(name, args) {
  recorder.clear();
  recorder.call(name, args);
  return recorder.last(name);
}

test('integers, floats and handles', () => {
  let call = lastCall('Kiln_KilnRenderer_setRTImageUpdateTimeout', [5n, -(2n ** 40n)]);
  assert.deepStrictEqual(call.args, [5n, -(2n ** 40n)]);
  call = lastCall('Kiln_KilnRenderer_setImageSizeEx', [1n, -2, 2147483647, 3]);
  assert.deepStrictEqual(call.args, [1n, -2, 2147483647, 3]);
  assert.strictEqual(call.arg.width, -2);
  call = lastCall('KilnImage_changeGamma', [0n, 2.5]);
  assert.strictEqual(call.arg.gamma, 2.5);
});

test('a double keeps its bits, those of a NaN too', () => {
  for (const bits of [0xFFFFFFFFFFFFFFFEn, 0xFFFFFFFFFFFFFFFFn, 0x7FF8000000000001n, 0x8000000000000000n]) {
    const call = lastCall('Kiln_KilnRenderer_setCurrentTime', [1n, {bits}]);
    assert.strictEqual(call.bits[1], bits);
  }
  assert.strictEqual(lastCall('Kiln_KilnRenderer_setCurrentTime', [1n, 1 / 3]).arg.time, 1 / 3);
});

test('texts are copied, null is null', () => {
  assert.strictEqual(lastCall('Kiln_KilnRenderer_setCameraName', [1n, 'Küche 🎥']).arg.name, 'Küche 🎥');
  assert.strictEqual(lastCall('Kiln_KilnRenderer_setCameraName', [1n, null]).arg.name, null);
  assert.strictEqual(lastCall('Kiln_KilnRenderer_setCameraName', [1n, '']).arg.name, '');
});

test('a record comes with the texts that it points to', () => {
  const options = record('KilnRendererOptions', {pluginLibraryPath: '/plug', kvwDrawStyle: 4, flags: 523});
  const call = lastCall('Kiln_KilnRenderer_create', [options, Buffer.alloc(8, 1)]);
  assert.deepStrictEqual(call.arg.options,
    {pluginLibraryPath: '/plug', kvwDrawStyle: 4, flags: 523, reserved: 0n, kvwLanguage: null});
  assert.strictEqual(call.before.error, 0x0101010101010101n);
  assert.strictEqual(call.bytes('options').length, 32);
});

test('arrays are as long as their count says', () => {
  const ids = new BigUint64Array([1n, 2n ** 63n]);
  assert.deepStrictEqual(lastCall('Kiln_KilnRenderer_deletePluginsByID', [1n, ids, 2, 1]).arg.plugins, [1n, 2n ** 63n]);
  assert.deepStrictEqual(lastCall('Kiln_KilnRenderer_setDeviceListCUDA', [1n, new Int32Array([3, -4]), 2]).arg.ids,
    [3, -4]);
  const sequences = recordArray('KilnSubSequence', [{start: 1, end: 5, step: 2}, {start: 9, end: 9, step: 1}]);
  assert.deepStrictEqual(lastCall('Kiln_KilnRenderer_renderSequence', [1n, sequences, 2]).arg.sequences,
    [{start: 1, end: 5, step: 2}, {start: 9, end: 9, step: 1}]);
  const items = recordArray('KilnContextMenuItem', [{id: 1, text: 'A'}, {id: 2, type: 1, text: null}]);
  const call = lastCall('Kiln_KilnRenderer_setKvwContextMenuItems', [1n, items, 2]);
  assert.deepStrictEqual(call.arg.items.map(({id, type, text}) => [id, type, text]), [[1, 0, 'A'], [2, 1, null]]);
});

test('arrays of texts', () => {
  const texts = new Memory(24);
  texts.point(0, texts.append(Buffer.from('one\0')));
  texts.point(16, texts.append(Buffer.from('three\0')));
  const call = lastCall('Kiln_KilnRenderer_appendMulti', [1n, texts, 3, 1]);
  assert.deepStrictEqual(call.arg.files, ['one', null, 'three']);
  assert.strictEqual(call.arg.flag, 1);
});

test('scene buffers come with their bytes', () => {
  const {release} = recorder.probes();
  const buffers = recordArray('KilnSceneBuffer', [
    {data: Buffer.from('abc'), size: 3n, release, user: 11n}, {data: Buffer.from('de'), size: 2n, release, user: 12n}]);
  const call = lastCall('Kiln_KilnRenderer_appendMultiAsBuffer', [1n, buffers, 2]);
  assert.deepStrictEqual(call.arg.buffers.map((one) => [String(one.data), one.user]), [['abc', 11n], ['de', 12n]]);
  assert.deepStrictEqual(recorder.probeCalls().map((one) => one.cookie), ['b', 'c']);
});

test('the settings of an export, with all their lists', () => {
  const settings = record('KilnExportSettings', {
    subFileInfos: [{type: 'lights', suffix: '_l'}, {type: 'view', suffix: null}], subFileInfosCount: 2,
    pluginExportList: new BigUint64Array([7n, 8n]), pluginExportListCount: 2, hostAppString: 'host',
    additionalIncludeFiles: Buffer.from('a\0bc\0\0'), leftInterval: -0.5,
  });
  const {arg} = lastCall('Kiln_KilnRenderer_exportScene', [1n, 'out', settings]);
  assert.deepStrictEqual(arg.settings.subFileInfos, [{type: 'lights', suffix: '_l'}, {type: 'view', suffix: null}]);
  assert.deepStrictEqual(arg.settings.pluginExportList, [7n, 8n]);
  assert.deepStrictEqual(arg.settings.additionalIncludeFiles, ['a', 'bc']);
  assert.strictEqual(arg.settings.hostAppString, 'host');
  assert.strictEqual(arg.settings.leftInterval, -0.5);
});

test('the columns of a mesh', () => {
  const mesh = record('ProxyMeshData', {
    version: 2, verticesFrames: 2, verticesCounts: new Int32Array([1, 2]), verticesFrameNumbers: new Int32Array([0, 5]),
    shadersCount: 1, shaderIDs: new Int32Array([4]),
  });
  const columns = mesh.append(Buffer.alloc(16));
  mesh.point(columns, mesh.append(Buffer.from(new Float32Array([1, 2, 3]).buffer)));
  mesh.point(columns + 8, mesh.append(Buffer.from(new Float32Array([4, 5, 6, 7, 8, 9]).buffer)));
  mesh.point(8, columns);
  const names = mesh.append(Buffer.alloc(8));
  mesh.point(names, mesh.append(Buffer.from('red\0')));
  mesh.point(208, names);
  const meshes = new Memory(16);
  const start = meshes.append(mesh.bytes);
  for (const [offset, target] of mesh.pointers) meshes.point(start + offset, start + target);
  meshes.point(0, start);
  const params = record('ProxyCreateParams', {path: 'p', objectIDs: new Int32Array([1, 2]), objectNames: ['a', 'b']});
  const call = lastCall('Kiln_ProxyCommon_createProxyFile', [meshes, 0, 2, null, null, params]);
  const [first, second] = call.arg.meshes;
  assert.deepStrictEqual(first.vertices, [[1, 2, 3], [4, 5, 6, 7, 8, 9]]);
  assert.deepStrictEqual(first.verticesFrameNumbers, [0, 5]);
  assert.deepStrictEqual(first.shaderNames, ['red']);
  assert.strictEqual(second, null);
  assert.deepStrictEqual(call.arg.params.objectIDs, [1, 2]);
  assert.deepStrictEqual(call.arg.params.objectNames, ['a', 'b']);
  assert.strictEqual(call.arg.transforms, null);
});

test('value streams are captured whole, with the lists that they point to', () => {
  const value = {type: 'list', value: [
    {type: 'int', value: -1}, {type: 'double', value: 1.5}, {type: 'string', value: 'four'},
    {type: 'string', value: ''}, {type: 'transform', value: [1, 0, 0, 0, 1, 0, 0, 0, 1, 7, 8, 9]},
    {type: 'plugin', value: null}, {type: 'pluginOutput', value: 3n, output: 2},
    {type: 'stringList', value: ['a', 'bcd']}, {type: 'stringPointer', value: 'far'},
    {type: 'vectorList', value: [1, 2, 3, 4, 5, 6]}, {type: 'list', value: []}]};
  const {stream} = lastCall('Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID',
    [1n, 2n, 'p', encodeStream(value), 0, 1]).arg;
  const plain = stream.value.map((one) => [one.type, one.value]);
  assert.deepStrictEqual(plain, value.value.map((one) => [one.type, one.type === 'plugin' ? 2n ** 64n - 1n : one.value]));
  assert.strictEqual(stream.value[6].output, 2);
});

test('borrowed and kept lists', () => {
  const {release} = recorder.probes();
  const memory = new Memory(16);
  memory.bytes.writeUInt32LE(constants.KILN_VALUE_BORROWED_VECTOR_LIST, 0);
  memory.bytes.writeUInt32LE(1, 4);
  memory.point(8, memory.append(Buffer.from(new Float32Array([1, 2, 3]).buffer)));
  const set = 'Kiln_KilnRenderer_setPropertyBytesValueAtTime';
  let {stream} = lastCall(set, [1n, 'a', 'p', memory, 0, 1]).arg;
  assert.deepStrictEqual([stream.type, stream.form, stream.value], ['vectorList', 'borrowed', [1, 2, 3]]);

  const kept = new Memory(32);
  kept.bytes.writeUInt32LE(constants.KILN_VALUE_KEPT_INT_LIST, 0);
  kept.bytes.writeUInt32LE(2, 4);
  kept.point(8, kept.append(Buffer.from(new Int32Array([5, 6]).buffer)));
  kept.bytes.writeBigUInt64LE(release, 16);
  kept.bytes.writeBigUInt64LE(77n, 24);
  ({stream} = lastCall(set, [1n, 'a', 'p', kept, 0, 1]).arg);
  assert.deepStrictEqual([stream.form, stream.value, stream.cookie], ['kept', [5, 6], 77n]);
  assert.deepStrictEqual(recorder.probeCalls().map((one) => one.cookie), ['4d']);
});

test('a text of a whole number of words has a word of zeros behind it', () => {
  assert.strictEqual(encodeStream({type: 'string', value: 'abc'}).bytes.length, 12);
  assert.strictEqual(encodeStream({type: 'string', value: 'abcd'}).bytes.length, 16);
  const dirty = encodeStream({type: 'string', value: 'abc'}).bytes;
  dirty[11] = 1;
  assert.throws(() => decodeStream(dirty), /not zero/);
});

test('threads, numbers and answers of calls', async () => {
  recorder.clear();
  recorder.call('Kiln_isDR2', []);
  await recorder.call('Kiln_isDR2', [], {async: true});
  const [here, there] = recorder.calls('Kiln_isDR2');
  assert.ok(here.onJsThread && !there.onJsThread && here.thread !== there.thread);
  assert.ok(here.seq < there.seq && here.done && there.done);
  assert.deepStrictEqual(recorder.names(), ['Kiln_isDR2', 'Kiln_isDR2']);
  recorder.ignore('Kiln_isDR2');
  recorder.call('Kiln_isDR2', []);
  assert.strictEqual(recorder.calls().length, 2);
  assert.strictEqual(recorder.count('Kiln_isDR2'), 3);
  recorder.ignore('Kiln_isDR2', false);
});

test('a name that is none is refused', () => {
  assert.throws(() => recorder.call('Kiln_none', []), /no entry point "Kiln_none"/);
  assert.throws(() => recorder.answer('Kiln_none', 1), /no entry point "Kiln_none"/);
});
