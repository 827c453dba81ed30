'use strict';

// Scripted answers.

const test = require('node:test');
const assert = require('assert');
const {recorder, encodeStream, decodeStream, record, until, layout} = require('../helpers');

const call = (name, ...args) => recorder.call(name, args);

test.beforeEach(() => {
  recorder.reset();
  recorder.clear();
});

test.afterEach(() => recorder.check());

test('results by the type of the row', () => {
  recorder.answer('Kiln_KilnRenderer_getNumThreads', -3);
  assert.strictEqual(call('Kiln_KilnRenderer_getNumThreads', 0n).result, -3);
  recorder.answer('Kiln_KilnRenderer_getCurrentTime', 0.1);
  assert.strictEqual(call('Kiln_KilnRenderer_getCurrentTime', 0n).result, 0.1);
  recorder.answer('Util_getIESPrescribedIntensity', 0.5);
  assert.strictEqual(call('Util_getIESPrescribedIntensity', 'f').result, 0.5);
  recorder.answer('Kiln_KilnRenderer_commit', 2n ** 63n);
  assert.strictEqual(call('Kiln_KilnRenderer_commit', 0n, 0).result, 2n ** 63n);
  recorder.answer('Kiln_isDR2', true);
  assert.strictEqual(call('Kiln_isDR2').result, 1);
  recorder.answer('Kiln_getKilnVersionDetails', 'stable');
  const {result} = call('Kiln_getKilnVersionDetails');
  assert.strictEqual(String(recorder.read(result, 7)), 'stable\0');
  assert.strictEqual(call('Kiln_getKilnVersionDetails').result, result);
  recorder.answer('Kiln_getKilnVersionDetails', null);
  assert.strictEqual(call('Kiln_getKilnVersionDetails').result, 0n);
});

test('the queue comes before the fixed answer, and what is left of it is known', () => {
  recorder.answer('Kiln_isDR2', 9);
  recorder.once('Kiln_isDR2', 1);
  recorder.once('Kiln_isDR2', 2, 2);
  assert.deepStrictEqual([1, 2].map(() => call('Kiln_isDR2').result), [1, 2]);
  assert.deepStrictEqual(recorder.unused(), {Kiln_isDR2: 1});
  assert.deepStrictEqual([1, 2].map(() => call('Kiln_isDR2').result), [2, 9]);
  assert.deepStrictEqual(recorder.unused() || {}, {});
  recorder.reset('Kiln_isDR2');
  assert.strictEqual(call('Kiln_isDR2').result, 0);
});

test('blocks belong to the caller and are counted', () => {
  const before = recorder.liveCounts().blocks;
  recorder.answer('Kiln_KilnRenderer_clientGetAllHosts', 'a;b');
  const {result} = call('Kiln_KilnRenderer_clientGetAllHosts', 1n, Buffer.alloc(8));
  assert.strictEqual(String(recorder.read(result, 4)), 'a;b\0');
  assert.strictEqual(recorder.liveCounts().blocks, before + 1);
  const [block] = recorder.live().blocks.filter((one) => one.address === result);
  assert.deepStrictEqual([block.size, block.origin], [4, 'Kiln_KilnRenderer_clientGetAllHosts']);
  call('C_memory_free', result);
  assert.strictEqual(recorder.liveCounts().blocks, before);
});

test('out-parameters: numbers, blocks, texts, records', () => {
  recorder.answer('Kiln_KilnRenderer_getImageSize', {result: 1, out: {width: 640, 2: 480}});
  let {after} = call('Kiln_KilnRenderer_getImageSize', 1n, Buffer.alloc(4), Buffer.alloc(4));
  assert.deepStrictEqual(after.map((one) => one.readInt32LE(0)), [640, 480]);

  recorder.answer('Kiln_KiScanInfo_getInfoString', {result: 1, out: {destination: 'name'}});
  ({after} = call('Kiln_KiScanInfo_getInfoString', 1n, 'k', Buffer.alloc(8), 8));
  assert.strictEqual(String(after[1]), 'name\0\0\0\0');

  recorder.answer('Kiln_KilnRenderer_getBoundingBox', {result: 1, out: {box: {lower: [1, 2, 3], upper: [4, 5, 6]}}});
  ({after} = call('Kiln_KilnRenderer_getBoundingBox', 1n, Buffer.alloc(24)));
  assert.deepStrictEqual([...new Float32Array(after[0].buffer.slice(after[0].byteOffset, after[0].byteOffset + 24))],
    [1, 2, 3, 4, 5, 6]);

  const stream = encodeStream({type: 'list', value: [{type: 'int', value: 3}, {type: 'stringPointer', value: 'x'}]});
  recorder.answer('Kiln_getPropertyByteArrayByID', {result: 1, out: {stream, size: stream.bytes.length}});
  ({after} = call('Kiln_getPropertyByteArrayByID', 1n, 2n, 'p', Buffer.alloc(8), Buffer.alloc(4), 0));
  const block = after[1].readBigUInt64LE(0);
  const value = decodeStream(recorder.read(block, after[2].readInt32LE(0)));
  assert.strictEqual(value.value[0].value, 3);
  assert.strictEqual(String(recorder.read(value.value[1].pointer, 2)), 'x\0');
  call('C_memory_free', block);

  recorder.answer('Kiln_getRenderElementInfo', {result: 1, out: {info: {name: 'beauty', type: 7}}});
  ({after} = call('Kiln_getRenderElementInfo', 1n, 2n, 0, Buffer.alloc(16)));
  assert.strictEqual(String(recorder.read(after[0].readBigUInt64LE(0), 7)), 'beauty\0');
  assert.strictEqual(after[0].readUInt32LE(12), 7);
});

test('a null out-parameter is left alone', () => {
  recorder.answer('Kiln_KilnRenderer_getImageSize', {result: 1, out: {width: 640}});
  assert.strictEqual(call('Kiln_KilnRenderer_getImageSize', 1n, null, null).result, 1);
});

test('records as blocks: links, picks, statistics, devices', () => {
  recorder.answer('Util_getChildPlugins', {result: 2, out: {links: [{to: 1n, from: 2n}, {to: 3n, property_index: 4}]}});
  let {after} = call('Util_getChildPlugins', 1n, 2n, 0, Buffer.alloc(8));
  let block = after[0].readBigUInt64LE(0);
  assert.strictEqual(recorder.read(block, 48).readInt32LE(44), 4);
  call('C_memory_free', block);

  recorder.answer('Kiln_KilnRenderer_pickPluginsByXY', {result: 1, out: {result: [{plugin: 5n, distance: 2.5}]}});
  ({after} = call('Kiln_KilnRenderer_pickPluginsByXY', 1n, 0, 0, 1, 1, Buffer.alloc(8)));
  block = after[0].readBigUInt64LE(0);
  assert.strictEqual(recorder.read(block, 8).readUInt32LE(0), 1);
  assert.strictEqual(recorder.read(block, 32).readDoubleLE(16), 2.5);
  call('C_memory_free', block);

  const statistics = {sampleLevel: 3, devices: [{name: 'gpu', freeMem: 1}], counters: [1, 2, 3]};
  recorder.answer('Kiln_KilnRenderer_getRTStatistics', {result: 1, out: {statistics}});
  ({after} = call('Kiln_KilnRenderer_getRTStatistics', 1n, Buffer.alloc(8)));
  block = after[0].readBigUInt64LE(0);
  const bytes = recorder.read(block, 28 + 24 + 88);
  assert.strictEqual(bytes.readInt32LE(24), 1);
  assert.strictEqual(String(recorder.read(bytes.readBigUInt64LE(28), 4)), 'gpu\0');
  assert.strictEqual(bytes.readBigUInt64LE(52 + 16), 3n);
  call('C_memory_free', block);

  recorder.answer('Kiln_KilnRenderer_getDeviceListCUDA', {result: [{name: 'a'}, {name: 'b'}], out: {count: 2}});
  const list = call('Kiln_KilnRenderer_getDeviceListCUDA', 1n, Buffer.alloc(4), 112);
  assert.strictEqual(list.after[0].readInt32LE(0), 2);
  const {size} = layout('KilnComputeDevice');
  assert.strictEqual(String(recorder.read(recorder.read(list.result, 2 * size).readBigUInt64LE(size + 16), 2)), 'b\0');
  call('C_memory_free', list.result);
});

test('a write through a pointer of the host\'s record', () => {
  const data = record('ProxyDataRecord', {vertices: new Float32Array(3), vertices_floats: 3n});
  recorder.answer('Kiln_ProxyCommon_readProxyFullFinalize',
    {result: 1, out: {record: {version: 9, '*vertices': new Float32Array([1, 2, 3])}}});
  const [after] = call('Kiln_ProxyCommon_readProxyFullFinalize', data, 0n).after;
  assert.strictEqual(after.readInt32LE(0), 9);
  assert.strictEqual(after.readFloatLE(data.targets.vertices + 8), 3);
});

test('string vectors', () => {
  recorder.answer('Kiln_KilnRenderer_getPluginClassNames', ['Light', 'Geom']);
  const vector = call('Kiln_KilnRenderer_getPluginClassNames', 1n).result;
  assert.strictEqual(call('getVectorSize', vector).result, 2);
  assert.strictEqual(String(recorder.read(call('getVectorElement', vector, 1).result, 5)), 'Geom\0');
  assert.strictEqual(recorder.live().vectors, 1);
  call('releaseVector', vector);
  assert.strictEqual(recorder.live().vectors, 0);
  call('releaseVector', vector);
  assert.match(recorder.faults()[0].text, /No live string vector was released/);
});

test('a gate holds a call on its own thread until it is opened', async () => {
  const gate = recorder.gate('held');
  recorder.answer('Kiln_KilnRenderer_load', {result: 0, gate});
  const loading = recorder.call('Kiln_KilnRenderer_load', [1n, 'scene'], {async: true});
  await until(() => gate.waiting() === 1);
  assert.strictEqual(recorder.last('Kiln_KilnRenderer_load').done, false);
  gate.open();
  await loading;
  assert.strictEqual(recorder.last('Kiln_KilnRenderer_load').done, true);
});

test('a delay delays', () => {
  recorder.once('Kiln_isDR2', {result: 1, delay: 30});
  call('Kiln_isDR2');
  assert.ok(recorder.last('Kiln_isDR2').ms >= 30);
});

test('the filter is asked for each name on the calling thread', async () => {
  const {filter} = recorder.probes();
  recorder.probeCalls();
  recorder.answer('Kiln_KilnRenderer_loadFiltered',
    {result: 0, filter: [['Light', 'keep'], ['Light', 'drop'], ['Geom', 'old']]});
  await recorder.call('Kiln_KilnRenderer_loadFiltered', [1n, 'f', filter, 99n], {async: true});
  const made = recorder.last('Kiln_KilnRenderer_loadFiltered');
  assert.deepStrictEqual(made.filter.map((one) => [one.second, one.outcome, one.name]),
    [['keep', 'kept', ''], ['drop', 'left out', ''], ['old', 'renamed', 'new']]);
  const asked = recorder.probeCalls();
  assert.deepStrictEqual(asked.map((one) => one.user), ['63', '63', '63']);
  assert.ok(asked.every((one) => one.thread === made.thread));
});

test('kept memory stays until it is released, here or on another thread', async () => {
  const {release} = recorder.probes();
  recorder.probeCalls();
  const buffer = () => record('KilnSceneBuffer', {data: Buffer.from('xyz'), size: 3n, release, user: 5n});
  recorder.answer('Kiln_KilnRenderer_loadAsBuffer', {result: 0, keep: true});
  call('Kiln_KilnRenderer_loadAsBuffer', 1n, buffer());
  call('Kiln_KilnRenderer_loadAsBuffer', 1n, buffer());
  assert.deepStrictEqual(recorder.probeCalls(), []);
  const [first] = recorder.kept();
  assert.strictEqual(String(recorder.read(first.data, first.size)), 'xyz');
  assert.strictEqual(recorder.releaseKept({ids: [first.id]}), 1);
  assert.strictEqual(recorder.probeCalls()[0].thread, recorder.threadId);
  assert.strictEqual(await recorder.releaseKept({thread: true}), 1);
  assert.notStrictEqual(recorder.probeCalls()[0].thread, recorder.threadId);
  assert.strictEqual(recorder.live().kept, 0);
});

test('a denoise request is completed once, with an image', async () => {
  const {completion} = recorder.probes();
  recorder.probeCalls();
  recorder.answer('Kiln_KilnRenderer_denoiseNow', {result: 1, complete: {image: {width: 4, height: 2}}});
  call('Kiln_KilnRenderer_denoiseNow', 1n, record('KilnDenoiseRequest', {completion}));
  const [made] = await until(() => {
    const calls = recorder.probeCalls();
    return calls.length > 0 && calls;
  });
  const image = BigInt(`0x${made.image}`);
  assert.strictEqual(call('KilnImage_getMemorySize', image).result, 64n + 4n * 2n * 16n);
  call('C_memory_free', image);
});

test('an answer without a result is the recorder\'s own', () => {
  recorder.answer('Kiln_KilnRenderer_create', {delay: 1, out: {error: 5n}});
  const {result, after} = call('Kiln_KilnRenderer_create', null, Buffer.alloc(8));
  assert.ok(result > 0n);
  assert.strictEqual(after[0].readBigUInt64LE(0), 5n);
  call('Kiln_KilnRenderer_release', result);
});

test('mistakes in a script are told at once', () => {
  assert.throws(() => recorder.answer('Kiln_KilnRenderer_getImageSize', {out: {depth: 1}}), /no parameter "depth"/);
  assert.throws(() => recorder.answer('Kiln_KilnRenderer_getImageSize', {out: {renderer: 1}}), /nothing to write to/);
  assert.throws(() => recorder.answer('Kiln_KilnRenderer_getBoundingBox', {out: {box: {middle: 1}}}), /no field "middle"/);
});
