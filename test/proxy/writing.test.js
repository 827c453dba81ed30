'use strict';

// Proxy: files of one object and of several, out of plugins and out of plain objects with typed arrays.
const test = require('node:test');
const assert = require('assert');
const {MessageChannel} = require('worker_threads');
const {kiln, recorder, entry, pluginOf, IntList, FloatList, VectorList, ColorList} = require('./common');
const {collect, layout, runChild} = require('../helpers');

const {Proxy: Mesh} = kiln;
const COMMON = 'Kiln_ProxyCommon_createProxyFile';
const RENDERER = entry('createProxyFile');
const renderer = new kiln.KilnRenderer();
const {handle} = recorder.live().handles[0];
const boom = () => { throw new Error('no'); };
const fails = {toString: boom, valueOf: boom};
const floats = (...numbers) => Float32Array.from(numbers);
const ints = (...numbers) => Int32Array.from(numbers);
/** An object with a key that can't be read. */
const trap = (key, rest = {}) => Object.defineProperty({...rest}, key, {enumerable: true, get: boom});
/** An array with an element that can't be read. */
const trappedArray = (...elements) => Object.defineProperty([...elements], elements.length, {enumerable: true, configurable: true, get: boom});

const ONE = 'Argument 0 (Either GeomStaticMesh/GeomMayaHair/GeomParticleSystem plugin or a MeshFileData container) and Argument 1 (path ' +
  'string) should be passed';
const MANY = 'Argument 0 (Either GeomStaticMesh/GeomMayaHair/GeomParticleSystem plugin array, or a MeshFileData array) and Argument 1 ' +
  '(path string) should be passed';
const EMPTY = 'Argument 0 must be a non-empty array of either GeomStaticMesh/GeomMayaHair/GeomParticleSystem plugins or MeshFileData ' +
  'instances';

/** The arguments of the one call that the function makes. */
function callOf(name, write, result = true) {
  recorder.clear();
  assert.strictEqual(write(), result);
  assert.deepStrictEqual(recorder.names().filter((one) => one.endsWith('createProxyFile')), [name]);
  return recorder.last(name);
}
/** What the function answers without a call. */
function withoutCall(write) {
  recorder.clear();
  const result = write();
  assert.strictEqual(recorder.count(COMMON) + recorder.count(RENDERER), 0);
  return result;
}
const meshOf = (data) => callOf(COMMON, () => Mesh.createMeshFile(data, 'a')).arg.meshes[0];
const paramsOf = (options) => callOf(COMMON, () => Mesh.createMeshFile({}, 'a', options)).arg.params;
const withoutReserved = (record) => Object.fromEntries(Object.entries(record).filter(([key]) => !key.startsWith('reserved')));

// Key, what it holds, where its columns stand, where its number of frames stands.
const LISTS = [
  ['vertices', 'vector', 8, 232], ['faces', 'int', 32, 236], ['normals', 'vector', 56, 240], ['faceNormals', 'int', 80, 244],
  ['velocities', 'vector', 104, 248], ['faceMtlIDs', 'int', 128, 252], ['edgeVisibility', 'int', 272, 296],
  ['hairVertices', 'vector', 304, 328], ['hairVerticesPerStrand', 'int', 336, 360], ['hairWidths', 'float', 368, 392],
  ['particleVertices', 'vector', 400, 424], ['particleWidths', 'float', 432, 456],
];
const PARAMS = {
  version: 6, path: 'a', voxelElements: 0, numPreviewElements: 10000, previewType: 3, isAnimated: 0, startFrame: 0, endFrame: 0,
  mergeVoxels: 0, objectNames: null, objectIDs: null, customPreviewFile: null, voxelInfoWireColor: null, voxelInfoSmoothed: null,
  voxelInfoFlipNormals: null, exportPointCloud: 0, pointSize: Math.fround(2.2), previewHairs: 1000, previewParticles: 20000,
};
/** The record of an object without any data. */
const NOTHING = Object.fromEntries(layout('ProxyMeshData').fields.map(({name, type}) => [name, type.includes('*') ? null : 0]));
const EMPTY_MESH = withoutReserved({...NOTHING, version: 2});
const filledIn = (fields) => ({...EMPTY_MESH, ...fields});
const listFields = (key, data, counts, frameNumbers) => ({
  [key]: data, [`${key}Counts`]: counts, [`${key}FrameNumbers`]: frameNumbers, [`${key}Frames`]: data.length,
});

test('functions that nobody can replace', () => {
  for (const name of ['createMeshFile', 'createCombinedMeshFile']) {
    const {writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(Mesh, name);
    assert.deepStrictEqual([writable, enumerable, configurable], [false, true, false], name);
  }
});

test('refusals', () => {
  for (const args of [[], [{}], [{}, 5], [{}, null], [{}, new String('a')], [null, 'a'], [undefined, 'a']]) {
    assert.throws(() => withoutCall(() => Mesh.createMeshFile(...args)), {name: 'Error', message: ONE});
  }
  for (const args of [[], [[{}]], [[{}], 5], [{}, 'a'], [null, 'a'], [new Float32Array(3), 'a'], [[], 5]]) {
    assert.throws(() => withoutCall(() => Mesh.createCombinedMeshFile(...args)), {name: 'Error', message: MANY});
  }
  assert.throws(() => withoutCall(() => Mesh.createCombinedMeshFile([], 'a')), {name: 'Error', message: EMPTY});
});

// --- Plain objects.

test('an object without data', () => {
  const call = callOf(COMMON, () => Mesh.createMeshFile({stranger: floats(1)}, 'größe'));
  const {meshes, reserved, count, transforms, animations, params} = call.arg;
  assert.deepStrictEqual(meshes.map(withoutReserved), [EMPTY_MESH]);
  assert.deepStrictEqual([reserved, count, transforms, animations], [0, 1, null, null]);
  assert.deepStrictEqual(withoutReserved(params), {...PARAMS, path: 'größe'});
  assert.strictEqual(call.onJsThread, true);
  assert.strictEqual(layout('ProxyMeshData').size, 464);
  for (const source of [5, 'abc', true, () => {}]) assert.deepStrictEqual(withoutReserved(meshOf(source)), EMPTY_MESH);
});

test('the bytes of the parameters', () => {
  const bytes = callOf(COMMON, () => Mesh.createMeshFile({}, 'a', {
    voxelElements: 11, numPreviewElements: 12, previewType: 'clustering', isAnimated: 1, startFrame: -3, endFrame: 14, mergeVoxels: 'x',
    exportPointCloud: true, pointSize: 1.5, previewHairs: 15, previewParticles: 16,
  })).bytes('params');
  assert.strictEqual(bytes.length, 112);
  const words = Array.from({length: 28}, (_, i) => bytes.readInt32LE(4 * i));
  assert.deepStrictEqual([words[0], words[1], ...words.slice(4, 12)], [6, 0, 11, 12, 1, 1, -3, 14, 1, 0]);
  assert.deepStrictEqual(words.slice(12, 24), Array(12).fill(0));
  assert.deepStrictEqual([words[24], bytes.readFloatLE(100), words[26], words[27]], [1, 1.5, 15, 16]);
  assert.notStrictEqual(bytes.readBigUInt64LE(8), 0n);
});

test('where the columns of a list stand', () => {
  for (const [key, , data, frames] of LISTS) {
    const at = (name) => layout('ProxyMeshData').fields.find((field) => field.name === name).offset;
    assert.deepStrictEqual(['', 'Counts', 'FrameNumbers', 'Frames'].map((suffix) => at(key + suffix)), [data, data + 8, data + 16, frames], key);
  }
});

const NUMBERS = {vector: floats(1, 2, 3, 4, 5, 6), float: floats(1.5, 2.5), int: ints(3, -4, 5)};
const COUNTS = {vector: 2, float: 2, int: 3};
for (const [key, kind] of LISTS) {
  test(`${key}: one frame and several, and what is no such list`, () => {
    const numbers = NUMBERS[kind];
    const right = [numbers, kind === 'vector' ? VectorList.from(numbers) : kind === 'int' ? IntList.from(numbers) : FloatList.from(numbers)];
    if (kind === 'int') right.push(Uint32Array.from([3, 2 ** 32 - 4, 5]));
    const single = filledIn(listFields(key, [[...numbers]], [COUNTS[kind]], [0]));
    for (const list of right) {
      for (const name of [key, key.toUpperCase(), key.toLowerCase()]) assert.deepStrictEqual(withoutReserved(meshOf({[name]: list})), single);
    }
    assert.deepStrictEqual(withoutReserved(meshOf(Object.create({[key]: numbers}))), single);
    const wrong = [Float64Array, Uint8Array, Int16Array, kind === 'int' ? Float32Array : Int32Array].map((Class) => Class.from([1, 2, 3]));
    for (const value of [...wrong, numbers.buffer, new DataView(numbers.buffer), 5, 'abc', null, undefined, {length: 1, 0: [numbers, 1]}, []]) {
      assert.deepStrictEqual(withoutReserved(meshOf({[key]: value})), EMPTY_MESH);
    }
    const other = numbers.subarray(kind === 'vector' ? 3 : 1);
    const frames = [[numbers, 7], [-2.9, other], 'x', [wrong[0], 9], [numbers], [3], [], ['y', {}, 4, null, other], , [wrong[3], 1, numbers, 2]];
    assert.deepStrictEqual(withoutReserved(meshOf({[key]: frames})), filledIn(listFields(key,
      [numbers, other, null, null, numbers, null, null, other, null, numbers].map((one) => [...(one || [])]),
      [numbers, other, null, null, numbers, null, null, other, null, numbers].map((one) => (one ? Math.floor(one.length / (kind === 'vector' ? 3 : 1)) : 0)),
      [7, -2, 0, 9, 0, 3, 0, 4, 0, 2])));
  });
}

test('vertices and faces', () => {
  assert.deepStrictEqual(withoutReserved(meshOf({vertices: floats(1, 2, 3), faces: ints(0, 0, 0)})), filledIn({
    vertices: [[1, 2, 3]], verticesCounts: [1], verticesFrameNumbers: [0], verticesFrames: 1,
    faces: [[0, 0, 0]], facesCounts: [3], facesFrameNumbers: [0], facesFrames: 1,
  }));
});

test('incomplete vectors don\'t count', () => {
  const {vertices, verticesCounts} = meshOf({vertices: floats(1, 2, 3, 4, 5)});
  assert.deepStrictEqual([vertices, verticesCounts], [[[1, 2, 3]], [1]]);
});

test('map channels', () => {
  const channels = [[5, floats(1, 2, 3), ints(0, 0, 0)], [Uint32Array.from([1]), floats(4, 5, 6, 7, 8, 9), 6], [floats(1, 2, 3)], [1.5, 2 ** 31],
    'x', [new Float64Array(3), -7]];
  assert.deepStrictEqual(withoutReserved(meshOf({mapchannels: channels})), filledIn({
    mapChannelIndices: [5, 6, 0, 0, 0, -7], mapChannelVertices: [[1, 2, 3], [4, 5, 6, 7, 8, 9], [1, 2, 3], [], [], []],
    mapChannelFaces: [[0, 0, 0], [1], [], [], [], []], mapChannelVertexCounts: [1, 2, 1, 0, 0, 0],
    mapChannelFaceCounts: [3, 1, 0, 0, 0, 0], mapChannelsCount: 6,
  }));
  for (const value of [[], floats(1, 2, 3), 'x', null, {}]) assert.deepStrictEqual(withoutReserved(meshOf({mapChannels: value})), EMPTY_MESH);
});

test('names of map channels and shaders', () => {
  assert.deepStrictEqual(withoutReserved(meshOf({mapChNames: ['uv', 'größe', '', 5, null, {toString: () => 'x'}], SHADERNAMES: []})), filledIn({
    mapChNames: ['uv', 'größe', '', null, null, null], mapChNameLengths: [2, 7, 0, 0, 0, 0], mapChNamesCount: 6,
  }));
  assert.deepStrictEqual(withoutReserved(meshOf({shaderNames: [[3, 'red'], ['größe', -4], 'x', ['only'], [5], [1.5, 'half']]})), filledIn({
    shaderNames: ['red', 'größe', null, 'only', null, 'half'], shaderNameLengths: [3, 7, 0, 4, 0, 4], shaderIDs: [3, -4, 0, 0, 5, 0], shadersCount: 6,
  }));
  for (const key of ['mapChNames', 'shaderNames']) {
    for (const value of [[], 'x', 5, null, {0: 'x', length: 1}]) assert.deepStrictEqual(withoutReserved(meshOf({[key]: value})), EMPTY_MESH);
  }
});

test('of keys that differ in their case the last one counts', () => {
  assert.deepStrictEqual(meshOf({faces: ints(1), FACES: ints(2, 3)}).faces, [[2, 3]]);
  assert.deepStrictEqual(meshOf({faces: ints(1), FACES: undefined}).faces, [[1]]);
});

test('nothing is copied', () => {
  const address = (options, offset) => callOf(COMMON, () => Mesh.createMeshFile({}, 'a', options)).bytes('params').readBigUInt64LE(offset);
  const list = new Int32Array(64);
  const first = address({voxelInfoSmoothed: list}, 80);
  assert.strictEqual(address({voxelInfoFlipNormals: list}, 88), first);
  assert.strictEqual(address({voxelInfoSmoothed: list.subarray(3)}, 80), first + 12n);
  assert.strictEqual(address({voxelInfoWireColor: new Float32Array(list.buffer, 20, 3)}, 72), first + 20n);
});

test('views into buffers, shared memory and lists that live on the heap', () => {
  const {buffer} = floats(9, 9, 1, 2, 3, 9);
  assert.deepStrictEqual(meshOf({vertices: new Float32Array(buffer, 8, 3)}).vertices, [[1, 2, 3]]);
  const shared = new Float32Array(new SharedArrayBuffer(24), 12);
  shared.set([4, 5, 6]);
  assert.deepStrictEqual(meshOf({vertices: [[shared, 1], [floats(7, 8, 9), 2]]}).vertices, [[4, 5, 6], [7, 8, 9]]);
});

/** Sends a buffer away, which leaves nothing behind. */
function detach({buffer}) {
  const {port1} = new MessageChannel();
  port1.postMessage(null, [buffer]);
  port1.close();
}

test('a buffer that has gone away has no elements, whenever it went', () => {
  const gone = floats(1, 2, 3);
  detach(gone);
  const mesh = meshOf({vertices: gone});
  assert.deepStrictEqual([mesh.verticesCounts, mesh.verticesFrames], [[0], 1]);

  // Behind the add-on's back: while another frame, a later key or the options are read.
  for (const take of [
    (list) => Mesh.createMeshFile({vertices: Object.defineProperty([[list, 1]], 1, {get() { detach(list); return []; }})}, 'a'),
    (list) => Mesh.createMeshFile({vertices: list, faces: Object.defineProperty([], 0, {get() { detach(list); return []; }})}, 'a'),
    (list) => Mesh.createMeshFile({vertices: list}, 'a', {get objectName() { detach(list); return 'a'; }}),
    (list) => Mesh.createCombinedMeshFile([{vertices: list}, {get faces() { detach(list); return []; }}], 'a'),
  ]) {
    const {arg} = callOf(COMMON, () => take(floats(1, 2, 3)));
    assert.strictEqual(arg.meshes[0].verticesCounts[0], 0);
  }
  const colors = new Float32Array(3);
  const {params} = callOf(COMMON, () => Mesh.createMeshFile({}, 'a', {voxelInfoWireColor: colors, get objectName() { detach(colors); return 'a'; }})).arg;
  assert.strictEqual(params.voxelInfoWireColor, null);
});

test('a buffer that shrinks behind the back', (t) => {
  const buffer = new ArrayBuffer(1 << 20, {maxByteLength: 1 << 20});
  if (!buffer.resize) return t.skip('this host has no such buffers');
  const {meshes} = callOf(COMMON, () => Mesh.createMeshFile({vertices: new Float32Array(buffer), faces: new Int32Array(buffer, 64, 100)}, 'a',
    {get objectName() { buffer.resize(24); return 'a'; }})).arg;
  assert.deepStrictEqual([meshes[0].verticesCounts, meshes[0].facesCounts, meshes[0].vertices], [[2], [0], [[0, 0, 0, 0, 0, 0]]]);
});

test('arrays that change their length while they are read', () => {
  const shrinking = [[floats(1, 2, 3), 1], 0, [floats(4, 5, 6), 2], [floats(7, 8, 9), 3]];
  Object.defineProperty(shrinking, 1, {configurable: true, get() { shrinking.length = 2; return []; }});
  assert.deepStrictEqual(meshOf({vertices: shrinking}).vertices, [[1, 2, 3], [], [], []]);
  const growing = [0, [ints(1), 1]];
  Object.defineProperty(growing, 0, {get() { growing.push([ints(2), 2]); return []; }});
  assert.deepStrictEqual(meshOf({faces: growing}).faces, [[], [1]]);
  const names = [['a'], 'b'];
  names[0].toString = () => { names.length = 1; return 'x'; };
  const many = () => Mesh.createCombinedMeshFile([{}, {}], 'a', {objectNames: names});
  assert.deepStrictEqual(callOf(COMMON, many).arg.params.objectNames, ['x']);
});

test('counts that no record holds', () => {
  const endless = new Array(2 ** 32 - 1);
  for (const key of ['vertices', 'faces', 'hairWidths', 'mapChannels', 'mapChNames', 'shaderNames']) {
    assert.strictEqual(withoutCall(() => Mesh.createMeshFile({[key]: endless}, 'a')), false, key);
  }
  assert.strictEqual(withoutCall(() => Mesh.createMeshFile({vertices: [endless]}, 'a')), false);
  assert.strictEqual(withoutCall(() => Mesh.createCombinedMeshFile(endless, 'a')), false);
  assert.strictEqual(withoutCall(() => Mesh.createMeshFile({}, 'a', {animTransform: {keyFrames: endless}})), undefined);
});

test('more elements than the record\'s counts can tell', (t) => {
  let list;
  try {
    list = new Int32Array(2 ** 31);
  } catch {
    return t.skip('this host makes no such array');
  }
  assert.strictEqual(withoutCall(() => Mesh.createMeshFile({faces: list}, 'a')), false);
  assert.strictEqual(withoutCall(() => Mesh.createMeshFile({mapChannels: [[list]]}, 'a')), false);
});

test('what can\'t be read is not written', () => {
  for (const [key] of [...LISTS, ['mapChannels'], ['mapChNames'], ['shaderNames']]) {
    assert.strictEqual(withoutCall(() => Mesh.createMeshFile(trap(key), 'a')), false, key);
    assert.strictEqual(withoutCall(() => Mesh.createMeshFile({[key]: trappedArray()}, 'a')), false, key);
    if (key !== 'mapChNames') assert.strictEqual(withoutCall(() => Mesh.createMeshFile({[key]: [trappedArray(5)]}, 'a')), false, key);
  }
  assert.strictEqual(withoutCall(() => Mesh.createMeshFile(trap('stranger'), 'a')), false);
  for (const sources of [[{}, trap('faces')], [{}, {faces: trappedArray()}], [{}, null], [undefined], [, {}]]) {
    assert.strictEqual(withoutCall(() => Mesh.createCombinedMeshFile(sources, 'a')), false);
  }
  assert.throws(() => withoutCall(() => Mesh.createCombinedMeshFile(trappedArray({}), 'a')), {message: 'no'});
});

test('the library says no', () => {
  for (const code of [1, -1, 7]) {
    recorder.once(COMMON, code);
    callOf(COMMON, () => Mesh.createMeshFile({mapChNames: ['x'], shaderNames: [[1, 'y']]}, 'a', {objectName: 'n', objectID: 1, customPreviewFile: 'f'}), false);
    recorder.once(COMMON, code);
    callOf(COMMON, () => Mesh.createCombinedMeshFile([{}, {}], 'a', {objectNames: ['n', 'm']}), false);
  }
});

// --- How a file is written.

test('each option, where it stands', () => {
  for (const key of ['voxelElements', 'numPreviewElements', 'startFrame', 'endFrame', 'previewHairs', 'previewParticles']) {
    for (const [value, number] of [[-7.9, -7], ['12', 12], [undefined, 0], [null, 0], ['x', 0], [2 ** 32 + 5, 5]]) {
      assert.deepStrictEqual(withoutReserved(paramsOf({[key]: value})), {...PARAMS, [key]: number}, key);
    }
  }
  for (const key of ['isAnimated', 'mergeVoxels', 'exportPointCloud']) {
    for (const value of [true, 'x', {}, -1]) assert.deepStrictEqual(withoutReserved(paramsOf({[key]: value})), {...PARAMS, [key]: 1}, key);
    for (const value of [false, '', 0, NaN, null, undefined]) assert.deepStrictEqual(withoutReserved(paramsOf({[key]: value})), PARAMS, key);
  }
  for (const value of [1.1, '1.1']) assert.strictEqual(paramsOf({pointSize: value}).pointSize, Math.fround(1.1));
  assert.strictEqual(paramsOf({pointSize: 1e300}).pointSize, Infinity);
  for (const [value, text] of [['größe', 'größe'], ['', ''], [5, '5'], [null, null], [undefined, null]]) {
    assert.strictEqual(paramsOf({customPreviewFile: value}).customPreviewFile, text);
  }
  assert.strictEqual(paramsOf(Object.create({startFrame: 5})).startFrame, 5);
  assert.deepStrictEqual(withoutReserved(paramsOf({STARTFRAME: 5, voxelelements: 6})), PARAMS);
});

test('options that are none', () => {
  for (const value of [undefined, null, 5, 'abc', true]) assert.deepStrictEqual(withoutReserved(paramsOf(value)), PARAMS);
  const f = Object.assign(() => {}, {startFrame: 9});
  assert.strictEqual(paramsOf(f).startFrame, 9);
});

test('kinds of previews', () => {
  for (const [value, type] of [['face_sampling', 0], ['clustering', 1], ['edge_collapse', 2], ['Clustering', 3], ['FACE_SAMPLING', 3], ['', 3], ['x', 3],
    [0, 3], [{toString: () => 'clustering'}, 1]]) {
    assert.strictEqual(paramsOf({previewType: value}).previewType, type, String(value));
  }
});

test('what ends the reading of the options, and what was read stays', () => {
  for (const options of [{previewType: null}, {previewType: undefined}, {previewType: fails}, trap('previewType'), {previewType: Symbol('x')}]) {
    const all = Object.defineProperties({voxelElements: 4, startFrame: 5, objectName: 'n'}, Object.getOwnPropertyDescriptors(options));
    assert.deepStrictEqual(withoutReserved(paramsOf(all)), {...PARAMS, voxelElements: 4, objectNames: ['n']});
  }
  for (const key of ['voxelElements', 'startFrame', 'pointSize', 'customPreviewFile', 'previewParticles']) {
    for (const value of [fails, Symbol('x')]) {
      const {previewHairs} = paramsOf({[key]: value, previewHairs: 5});
      assert.strictEqual(previewHairs, key === 'previewParticles' ? 5 : 1000, key);
    }
    assert.strictEqual(paramsOf(trap(key, {previewHairs: 5})).previewHairs, key === 'previewParticles' ? 5 : 1000, key);
  }
});

test('the options are read in their order', () => {
  const order = ['voxelElements', 'numPreviewElements', 'previewType', 'isAnimated', 'startFrame', 'endFrame', 'mergeVoxels', 'customPreviewFile',
    'voxelInfoWireColor', 'voxelInfoSmoothed', 'voxelInfoFlipNormals', 'exportPointCloud', 'pointSize', 'previewHairs', 'previewParticles'];
  for (const [write, more] of [[(options) => Mesh.createMeshFile({}, 'a', options), ['objectName', 'objectID', 'animTransform', 'transform']],
    [(options) => Mesh.createCombinedMeshFile([{}], 'a', options), ['objectNames', 'objectIDs', 'transforms', 'animTransforms']]]) {
    for (const present of [true, false]) {
      const asked = [];
      const read = [];
      write(new Proxy({}, {
        has(_, key) { asked.push(key); return present; },
        get(_, key) { read.push(key); return key === 'previewType' || key === 'objectName' ? 'x' : 1; },
      }));
      assert.deepStrictEqual(asked, [...order, ...more]);
      assert.deepStrictEqual(read, present ? asked : []);
    }
  }
});

test('lists for each object', () => {
  for (const [key, Right, Wrong, each] of [['voxelInfoWireColor', ColorList, Int32Array, 3], ['voxelInfoSmoothed', IntList, Uint32Array, 1],
    ['voxelInfoFlipNormals', Int32Array, Float32Array, 1]]) {
    const many = (value) => callOf(COMMON, () => Mesh.createCombinedMeshFile([{}, {}], 'a', {[key]: value})).arg.params;
    const numbers = Array.from({length: 2 * each}, (_, i) => i);
    assert.deepStrictEqual(withoutReserved(many(Right.from(numbers))), {...PARAMS, [key]: numbers});
    assert.deepStrictEqual(many(Right.from([...numbers, 9]))[key], numbers);
    for (const value of [Right.from(numbers.slice(1)), Wrong.from(numbers), Float64Array.from(numbers), numbers, null, 5]) {
      assert.deepStrictEqual(withoutReserved(many(value)), PARAMS, key);
    }
    assert.deepStrictEqual(paramsOf({[key]: Right.from(numbers)})[key], numbers.slice(0, each));
  }
});

// --- Names, IDs and transforms.

const matrix = new kiln.Matrix(new kiln.Vector(1, 2, 3), new kiln.Vector(4, 5, 6), new kiln.Vector(7, 8, 9.1));
const transform = new kiln.Transform(matrix, new kiln.Vector(10, 11, 1e-9));
const narrowed = {m: [1, 2, 3, 4, 5, 6, 7, 8, Math.fround(9.1)], offset: [10, 11, Math.fround(1e-9)]};
const still = new kiln.Transform();
const zero = {m: Array(9).fill(0), offset: [0, 0, 0]};
const ZERO_BLOCK = {transforms: null, key_frames: null, count: 0};
const argOf = (options) => callOf(COMMON, () => Mesh.createMeshFile({}, 'a', options)).arg;
const argOfMany = (options) => callOf(COMMON, () => Mesh.createCombinedMeshFile([{}, {}], 'a', options)).arg;
const blocksOf = (arg) => arg.animations && arg.animations.map(withoutReserved);

test('one object\'s name and ID', () => {
  for (const [value, text] of [['größe', 'größe'], [5, '5'], [{toString: () => 'x'}, 'x']]) {
    assert.deepStrictEqual(paramsOf({objectName: value}).objectNames, [text]);
  }
  assert.deepStrictEqual(paramsOf({objectName: ''}).objectNames, []);
  for (const value of [7, '7', 7.9]) assert.deepStrictEqual(paramsOf({objectID: value}).objectIDs, [7]);
  for (const value of [undefined, null, 'x']) assert.deepStrictEqual(paramsOf({objectID: value}).objectIDs, [0]);
  for (const options of [{objectName: null}, {objectName: undefined}, {objectName: fails}, trap('objectName'), {objectID: fails}, trap('objectID'),
    trap('animTransform'), trap('transform'), {animTransform: trap('x')}, {animTransform: {transforms: trappedArray()}},
    {animTransform: {keyFrames: trappedArray(1)}}]) {
    assert.strictEqual(withoutCall(() => Mesh.createMeshFile({}, 'a', options)), undefined);
  }
  const plural = {objectNames: ['a'], objectIDs: [1], transforms: [transform], animTransforms: [{}]};
  const {params, transforms, animations} = argOf(plural);
  assert.deepStrictEqual([params.objectNames, params.objectIDs, transforms, animations], [null, null, null, null]);
});

test('one object\'s transform', () => {
  class Own extends kiln.Transform {}
  assert.deepStrictEqual(argOf({transform}).transforms, [narrowed]);
  assert.deepStrictEqual(argOf({transform: new Own()}).transforms, [zero]);
  for (const value of [matrix, {}, null, undefined, 5, [transform]]) assert.strictEqual(argOf({transform: value}).transforms, null);
  const bytes = callOf(COMMON, () => Mesh.createMeshFile({}, 'a', {transform})).bytes('transforms');
  assert.deepStrictEqual([...new Float32Array(bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + 48))], [...narrowed.m, ...narrowed.offset]);
});

test('one object\'s animation', () => {
  const block = {transforms: [narrowed, zero], key_frames: [3, -7], count: 2};
  assert.deepStrictEqual(blocksOf(argOf({animTransform: {transforms: [transform, still], keyFrames: [3, -7.5]}})), [block]);
  assert.deepStrictEqual(blocksOf(argOf({animTransform: {KEYFRAMES: ['x', 3, {}, -7], Transforms: [null, transform, matrix, still, 5], other: [1]}})), [block]);
  for (const value of [{}, 5, {transforms: [transform, still], keyFrames: [1, 2, 3]}, {transforms: [transform]}, {keyFrames: [1]},
    {transforms: [], keyFrames: []}, {transforms: transform, keyFrames: ints(1)}]) {
    assert.deepStrictEqual(blocksOf(argOf({animTransform: value})), [ZERO_BLOCK]);
  }
  for (const value of [null, undefined]) assert.strictEqual(argOf({animTransform: value}).animations, null);
});

test('names, IDs and transforms of several objects', () => {
  const arg = argOfMany({objectNames: ['größe', 5], objectIDs: [7, '8'], transforms: [{}, transform],
    animTransforms: [{transforms: [still], keyFrames: [4]}, {transforms: [still]}]});
  assert.strictEqual(arg.count, 2);
  assert.deepStrictEqual([arg.params.objectNames, arg.params.objectIDs], [['größe', '5'], [7, 8]]);
  assert.deepStrictEqual(arg.transforms, [zero, narrowed]);
  assert.deepStrictEqual(blocksOf(arg), [{transforms: [zero], key_frames: [4], count: 1}, ZERO_BLOCK]);
  assert.deepStrictEqual(argOfMany({objectNames: [null, 'b']}).params.objectNames, ['', 'b']);
  assert.deepStrictEqual(blocksOf(argOfMany({animTransforms: [null, 5]})), [ZERO_BLOCK, ZERO_BLOCK]);
});

test('lists of another length than the objects are ignored', () => {
  for (const make of [(one) => [one], (one) => [one, one, one], (one) => ({length: 2, 0: one, 1: one}), (one) => one, () => null]) {
    const {params, transforms, animations} = argOfMany({objectNames: make('a'), objectIDs: make(1), transforms: make(transform), animTransforms: make({})});
    assert.deepStrictEqual([params.objectNames, params.objectIDs, transforms, animations], [null, null, null, null]);
  }
  const {params, transforms, animations} = argOfMany({objectName: 'a', objectID: 1, transform, animTransform: {}});
  assert.deepStrictEqual([params.objectNames, params.objectIDs, transforms, animations], [null, null, null, null]);
});

test('lists that can\'t be read', () => {
  for (const options of [{objectNames: ['a', fails]}, {objectNames: trappedArray('a')}, trap('objectNames'), {objectIDs: [1, fails]}, {objectIDs: trappedArray(1)},
    trap('objectIDs'), {transforms: trappedArray(transform)}, trap('transforms'), {animTransforms: trappedArray({})}, trap('animTransforms'),
    {animTransforms: [{}, trap('transforms')]}]) {
    assert.strictEqual(withoutCall(() => Mesh.createCombinedMeshFile([{}, {}], 'a', options)), undefined);
  }
});

// --- Plugins.

test('plugins of the three classes', () => {
  for (const type of ['GeomStaticMesh', 'GeomMayaHair', 'GeomParticleSystem']) {
    const {plugin, id} = pluginOf(renderer, type);
    const {arg} = callOf(RENDERER, () => Mesh.createMeshFile(plugin, 'größe', {transform, objectName: 'n', animTransform: {}}));
    assert.deepStrictEqual([arg.renderer, arg.reserved, arg.count, arg.plugins], [handle, 0, 1, [id]]);
    assert.deepStrictEqual(withoutReserved(arg.params), {...PARAMS, path: 'größe', objectNames: ['n']});
    assert.deepStrictEqual([arg.transforms, blocksOf(arg)], [[narrowed], [ZERO_BLOCK]]);
    recorder.once(RENDERER, 1);
    callOf(RENDERER, () => Mesh.createMeshFile(plugin, 'a'), false);
    assert.strictEqual(withoutCall(() => Mesh.createMeshFile(plugin, 'a', {objectName: null})), undefined);
  }
});

test('a plugin of another class is a plain object', () => {
  for (const type of ['GeomMeshFile', 'geomstaticmesh', 'LightSpot']) {
    const {plugin} = pluginOf(renderer, type);
    callOf(COMMON, () => Mesh.createMeshFile(plugin, 'a'));
  }
  recorder.answer(entry('getPluginTypeByID'), null);
  callOf(COMMON, () => Mesh.createMeshFile(renderer.plugins.any, 'a'));
});

test('several plugins, of which the first gives the renderer', () => {
  const other = new kiln.KilnRenderer();
  const first = pluginOf(renderer, 'GeomStaticMesh');
  const second = pluginOf(other, 'GeomStaticMesh');
  const {arg} = callOf(RENDERER, () => Mesh.createCombinedMeshFile([first.plugin, second.plugin], 'a', {objectIDs: [1, 2]}));
  assert.deepStrictEqual([arg.renderer, arg.count, arg.plugins, arg.params.objectIDs], [handle, 2, [first.id, second.id], [1, 2]]);
  other.close();
});

test('plugins between plain objects, which are not looked into', () => {
  const {plugin, id} = pluginOf(renderer, 'GeomStaticMesh');
  const sources = [{faces: trappedArray()}, plugin, null, trap('faces'), plugin];
  const {arg} = callOf(RENDERER, () => Mesh.createCombinedMeshFile(sources, 'a', {voxelInfoSmoothed: ints(1, 2, 3, 4, 5)}));
  assert.deepStrictEqual([arg.count, arg.plugins, arg.params.voxelInfoSmoothed], [5, [0n, id, 0n, 0n, id], [1, 2, 3, 4, 5]]);
});

test('a renderer that is closed while the options are read', () => {
  const other = new kiln.KilnRenderer();
  const {plugin} = pluginOf(other, 'GeomStaticMesh');
  assert.strictEqual(withoutCall(() => Mesh.createMeshFile(plugin, 'a', {get objectName() { other.close(); return 'a'; }})), false);
  callOf(COMMON, () => Mesh.createMeshFile(plugin, 'a'));
});

test('a library that is let go while the options are read', async () => {
  const {code, stderr} = await runChild(({loadNative: load, paths}) => {
    const own = load();
    const write = (back) => own.Proxy.createMeshFile({}, 'a', {get objectName() {
      own.close();
      own.setSDKLibraryPath(back ? paths.recorderDir : '/nowhere');
      return 'a';
    }});
    require('assert').throws(() => write(false), Error);
    own.setSDKLibraryPath(paths.recorderDir);
    require('assert').strictEqual(write(true), true);
  });
  assert.strictEqual(code, 0, stderr);
});

test('nothing is left', async () => {
  renderer.close();
  await collect(() => recorder.live().blocks.length === 0 && recorder.live().handles.length === 0);
  assert.deepStrictEqual(recorder.faults(), []);
});
