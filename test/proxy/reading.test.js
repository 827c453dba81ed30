'use strict';

// Proxy: how a mesh file is named, its previews, and all of its data.
const test = require('node:test');
const assert = require('assert');
const {kiln, recorder, entry, pluginOf, listName, IntList, VectorList} = require('./common');
const {collect, runChild, layout} = require('../helpers');

const {Proxy: Mesh} = kiln;
const renderer = new kiln.KilnRenderer();
const {handle} = recorder.live().handles[0];
const {plugin, id} = pluginOf(renderer);
const fails = {toString() { throw new Error('no'); }, valueOf() { throw new Error('no'); }};
const blocks = () => recorder.live().blocks.length;
const values = (list) => Array.from({length: list.length}, (_, i) => list[i]);
const inBackground = (...args) => new Promise((resolve) => {
  Mesh.readFullData(...args, function (...results) { resolve([this, ...results]); });
});

const PREVIEW = 'Argument 0 must be a GeomMeshFile plugin or a ProxyReadParams object. The optional argument 1 is a count hint';
const SYNC = 'Argument 0, GeomMeshFile plugin or ProxyReadParams object, and optionally Argument 1, an object containing the boolean ' +
  'flags \'vertices\', \'normals\', \'mtlIDs\', \'velocities\', \'UVs\', \'shaders\', \'objectInfos\', \'hairObjectInfos\', ' +
  '\'particleObjectInfos\', \'hair\', \'particles\', \'geometryVoxelsBBoxes\', \'hairVoxelsBBoxes\', \'particleVoxelsBBoxes\' or ' +
  '\'all\' should be passed. If Argument 1 is missing, all is assumed.';
const ASYNC = 'A GeomMeshFile plugin or a ProxyReadParams struct, optionally an object containing the boolean flags \'vertices\', ' +
  '\'normals\', \'mtlIDs\', \'velocities\', \'UVs\', \'shaders\' or \'all\' and a callback function should be passed. If flags object ' +
  'is missing, all is assumed.';

test('functions that nobody can replace', () => {
  for (const name of ['readPreviewGeometry', 'readPreviewHair', 'readPreviewParticles', 'readPreviewData', 'readFullData', 'readFullDataSync']) {
    const {writable, enumerable, configurable} = Object.getOwnPropertyDescriptor(Mesh, name);
    assert.deepStrictEqual([writable, enumerable, configurable], [false, true, false], name);
  }
});

// --- How a file is named.

const DEFAULTS = {
  version: 2n, file: null, object_path: null, compute_normals: 1, flip_axis: 0, subdiv_level: 1, subdiv_preserve_map_borders: 1,
  anim_type: 0, num_preview_faces: 10000, smooth_angle: 30, anim_speed: 1, anim_offset: 0, fps: 24, hair_width_multiplier: 1,
  particle_width_multiplier: 1, use_full_names: 0, compute_bbox: 0, subdiv_all_meshes: 0, subdiv_uvs: 1, subdiv_preserve_geom_borders: 0,
  instancing: 1, use_alembic_offset: 0,
};
function paramsOf(object) {
  assert.throws(() => Mesh.readPreviewParticles(object), {name: 'Error', message: PREVIEW});
  const {...record} = recorder.last('Kiln_ProxyCommon_readProxyPreview').args[0];
  for (const key of Object.keys(record)) if (key.startsWith('reserved')) delete record[key];
  return record;
}
recorder.answer('Kiln_ProxyCommon_readProxyPreview', 0);

test('the defaults of how a file is read', () => {
  for (const object of [{}, {stranger: 5}, 5]) assert.deepStrictEqual(paramsOf(object), DEFAULTS);
});

test('every key, in any case', () => {
  for (const [key, value] of Object.entries(DEFAULTS)) {
    if (key === 'version') {
      assert.deepStrictEqual(paramsOf({version: 7}), DEFAULTS);
    } else if (value === null) {
      assert.deepStrictEqual(paramsOf({[key.toUpperCase()]: 'größe'}), {...DEFAULTS, [key]: 'größe'});
      assert.deepStrictEqual(paramsOf({[key]: 5}), {...DEFAULTS, [key]: '5'});
    } else if (layout('ProxyReadParams').fields.find((field) => field.name === key).type === 'uint32_t') {
      assert.deepStrictEqual(paramsOf({[key.toUpperCase()]: 'x'}), {...DEFAULTS, [key]: 1});
      assert.deepStrictEqual(paramsOf({[key]: 0}), {...DEFAULTS, [key]: 0});
    } else {
      assert.deepStrictEqual(paramsOf({[key.toUpperCase()]: '7'}), {...DEFAULTS, [key]: 7});
      assert.deepStrictEqual(paramsOf({[key]: fails}), DEFAULTS);
    }
    assert.deepStrictEqual(paramsOf({[key]: undefined}), DEFAULTS);
  }
  assert.deepStrictEqual(paramsOf(Object.create({fps: 25})), {...DEFAULTS, fps: 25});
});

test('a text that can\'t be read ends the reading, and what was read stays', () => {
  assert.deepStrictEqual(paramsOf({fps: 25, file: fails, anim_type: 3}), {...DEFAULTS, fps: 25});
  assert.deepStrictEqual(paramsOf({fps: 25, get file() { throw new Error('no'); }, anim_type: 3}), {...DEFAULTS, fps: 25});
});

// --- Previews.

const floats = (...numbers) => Buffer.from(Float32Array.from(numbers).buffer);
const ints = (...numbers) => Buffer.from(Int32Array.from(numbers).buffer);

for (const [member, kind, keys, first, second, counts] of [
  ['readPreviewGeometry', 0, ['vertices', 'indices'], floats(1, 2, 3, 4, 5, 6), ints(0, 1, 0), [2, 1]],
  ['readPreviewHair', 1, ['vertices', 'lengths'], floats(1, 2, 3, 4, 5, 6), ints(1, 1), [2, 2]],
  ['readPreviewParticles', 2, ['positions'], floats(1, 2, 3), null, [1]],
]) {
  const out = second
    ? {first, second, first_count: counts[0], second_count: counts[1]}
    : {first, first_count: counts[0]};

  const check = (source, name) => {
    const result = Mesh[member](source, 7.9);
    assert.deepStrictEqual(Object.keys(result), keys);
    const [vectors, numbers] = keys.map((key) => result[key]);
    assert.strictEqual(listName(vectors), 'VectorList');
    assert.deepStrictEqual(values(vectors), [...new Float32Array(first.buffer, first.byteOffset, first.length / 4)]);
    if (second) {
      assert.strictEqual(listName(numbers), 'IntList');
      assert.deepStrictEqual(values(numbers), [...new Int32Array(second.buffer, second.byteOffset, second.length / 4)]);
    }
    const {args} = recorder.last(name);
    assert.strictEqual(args[1], kind);
    assert.strictEqual(args[args.length - 1], 7);
    if (source === plugin) assert.deepStrictEqual([args[0], args[2]], [handle, id]);
  };

  test(member, async () => {
    recorder.once('Kiln_ProxyCommon_readProxyPreview', {result: 1, out});
    recorder.once(entry('readProxyPreview'), {result: 1, out});
    check({file: 'a'}, 'Kiln_ProxyCommon_readProxyPreview');
    check(plugin, entry('readProxyPreview'));
    await collect(() => blocks() === 0);
  });

  test(`${member}: refusals`, () => {
    for (const args of [[], [null], [undefined, 5]]) {
      assert.throws(() => Mesh[member](...args), {name: 'Error', message: PREVIEW});
    }
    assert.throws(() => Mesh[member]({}, 'x'), {message: PREVIEW});
    const {args} = recorder.last('Kiln_ProxyCommon_readProxyPreview');
    assert.strictEqual(args[args.length - 1], 0);
    recorder.once('Kiln_ProxyCommon_readProxyPreview', {result: 1, out: {...out, first_count: -1}});
    assert.throws(() => Mesh[member]({}), {message: PREVIEW});
    recorder.once('Kiln_ProxyCommon_readProxyPreview', {result: 0, out});
    assert.throws(() => Mesh[member]({}), {message: PREVIEW});
    assert.strictEqual(blocks(), 0);
  });
}

test('a plugin of another class is read by its keys', () => {
  const {plugin: other} = pluginOf(renderer, 'GeomStaticMesh');
  assert.throws(() => Mesh.readPreviewGeometry(other), {message: PREVIEW});
  assert.strictEqual(recorder.last('Kiln_ProxyCommon_readProxyPreview').args[0].file, null);
  pluginOf(renderer);
});

// --- All data.

const PREPARE = 'Kiln_ProxyCommon_readProxyFullPrepare';
const FINALIZE = 'Kiln_ProxyCommon_readProxyFullFinalize';
const FLAGS = ['vertices', 'normals', 'mtlIDs', 'velocities', 'UVs', 'shaders', 'objectInfos', 'hairObjectInfos', 'particleObjectInfos',
  'hair', 'particles', 'geometryVoxelsBBoxes', 'hairVoxelsBBoxes', 'particleVoxelsBBoxes'];
const ALL = 0x3FFF0;
const flagsOf = (record) => record.flags[0] | record.flags[1] << 8 | record.flags[2] << 16;

function askedFor(...args) {
  recorder.once(PREPARE, 0);
  assert.deepStrictEqual(Mesh.readFullDataSync({file: 'a'}, ...args), {});
  const record = recorder.last(PREPARE).args[1];
  assert.strictEqual(record.version, 4);
  return flagsOf(record);
}

test('which data are asked for', () => {
  assert.strictEqual(askedFor(), ALL);
  assert.strictEqual(askedFor(undefined), ALL);
  assert.strictEqual(askedFor({}), 0);
  FLAGS.forEach((key, i) => {
    assert.strictEqual(askedFor({[key.toUpperCase()]: 'x'}), 16 << i, key);
    assert.strictEqual(askedFor({[key]: true, [key.toLowerCase()]: false}), key === key.toLowerCase() ? 0 : 0);
  });
  assert.strictEqual(askedFor({vertices: true, all: true}), ALL);
  assert.strictEqual(askedFor({all: true, vertices: false}), ALL);
  assert.strictEqual(askedFor({all: false, vertices: true}), 16);
  assert.strictEqual(askedFor({vertices: true, normals: undefined}), 16);
});

// A file that has everything, with different numbers of each.
const COUNTS = {
  vertices_floats: 6n, vertex_indices_count: 3n, normals_floats: 3n, normal_indices_count: 4n, material_ids_count: 25n, velocities_floats: 9n,
  uv_sets_count: 2n, uv_set_names_size: 8n, shaders_count: 2n, shader_names_size: 4n, object_info_count: 3n, object_info_names_size: 0n,
  hair_object_info_count: 1n, hair_object_info_names_size: 3n, particle_object_info_count: 2n, particle_object_info_names_size: 2n,
  hair_vertices_floats: 12n, vertices_per_strand_count: 2n, particle_vertices_floats: 15n, geometry_voxels_count: 2n, hair_voxels_count: 3n,
  particle_voxels_count: 4n, voxel_infos_count: 5n, hair_widths_count: 6n, particle_widths_count: 7n,
  uv_original_indices: [5, 6], uv_set_floats: [3n, 6n], uv_set_indices: [1n, 2n],
};
// Key, class, length.
const ARRAYS = {
  vertices: ['vertices', 'VectorList', 6, 'vertexIndices', 'IntList', 3, 'voxelVerticesStartIndices', 'IntList', 2,
    'voxelVertexIndicesStartIndices', 'IntList', 2],
  normals: ['normals', 'VectorList', 3, 'normalIndices', 'IntList', 4, 'voxelNormalsStartIndices', 'IntList', 2,
    'voxelNormalIndicesStartIndices', 'IntList', 2],
  mtlIDs: ['materialIDs', 'IntList', 25, 'edgeVisibility', 'IntList', 3, 'voxelMaterialIDsStartIndices', 'IntList', 2],
  velocities: ['velocities', 'VectorList', 9, 'voxelVelocitiesStartIndices', 'IntList', 2],
  UVs: ['uvOriginalIndices', 'IntList', 2, 'voxelUVValuesStartIndices', 'IntList', 4, 'voxelUVValueIndicesStartIndices', 'IntList', 4],
  shaders: ['shaderIDs', 'IntList', 2],
  objectInfos: ['objectInfoIDs', 'IntList', 3, 'objectInfoVBegins', 'IntList', 3, 'objectInfoVEnds', 'IntList', 3],
  hairObjectInfos: ['hairObjectInfoIDs', 'IntList', 1, 'hairObjectInfoVBegins', 'IntList', 1, 'hairObjectInfoVEnds', 'IntList', 1],
  particleObjectInfos: ['particleObjectInfoIDs', 'IntList', 2, 'particleObjectInfoVBegins', 'IntList', 2, 'particleObjectInfoVEnds', 'IntList', 2],
  hair: ['hairVertices', 'VectorList', 12, 'hairVerticesPerStrand', 'IntList', 2, 'hairVerticesStartIndices', 'IntList', 3,
    'hairVerticesPerStrandStartIndices', 'IntList', 3, 'hairWidths', 'FloatList', 6, 'hairWidthsStartIndices', 'IntList', 3],
  particles: ['particleVertices', 'VectorList', 15, 'particleVerticesStartIndices', 'IntList', 4, 'particleWidths', 'FloatList', 7,
    'particleWidthsStartIndices', 'IntList', 4],
  geometryVoxelsBBoxes: ['geometryVoxelsBBoxes', 'VectorList', 12],
  hairVoxelsBBoxes: ['hairVoxelsBBoxes', 'VectorList', 18],
  particleVoxelsBBoxes: ['particleVoxelsBBoxes', 'VectorList', 24],
};
const ALWAYS = ['voxelInfoWireColor', 'ColorList', 15, 'voxelInfoSmoothed', 'IntList', 5, 'voxelInfoFlipNormals', 'IntList', 5];
const NAMES = {UVs: 'uvSetNames', shaders: 'shaderNames', objectInfos: 'objectInfoNames', hairObjectInfos: 'hairObjectInfoNames',
  particleObjectInfos: 'particleObjectInfoNames'};

const prepared = (counts = COUNTS) => ({result: 1, out: {record: counts, token: 0xABCDn}});
const filled = (fields = {}) => ({result: 1, out: {record: fields}});
const shape = (list) => [listName(list), list.length];

function checkLists(object, rows) {
  for (let i = 0; i < rows.length; i += 3) assert.deepStrictEqual(shape(object[rows[i]]), [rows[i + 1], rows[i + 2]], rows[i]);
  return rows.filter((_, i) => i % 3 === 0);
}

test('each flag has its keys', () => {
  for (const flag of FLAGS) {
    recorder.once(PREPARE, prepared());
    recorder.once(FINALIZE, filled());
    const object = Mesh.readFullDataSync({file: 'a'}, {[flag]: true});
    const keys = [...checkLists(object, ARRAYS[flag]), ...checkLists(object, ALWAYS)];
    if (flag === 'UVs') keys.push('uvValues', 'uvValueIndices');
    if (NAMES[flag]) keys.push(NAMES[flag]);
    assert.deepStrictEqual(Object.keys(object).sort(), keys.sort(), flag);
    assert.strictEqual(recorder.last(FINALIZE).args[1], 0xABCDn);
  }
});

test('a count of nothing leaves a group out', () => {
  const none = Object.fromEntries(Object.entries(COUNTS).map(([key, value]) => [key, Array.isArray(value) ? value : 0n]));
  recorder.once(PREPARE, prepared(none));
  recorder.once(FINALIZE, filled());
  assert.deepStrictEqual(Mesh.readFullDataSync({}), {});
  recorder.once(PREPARE, prepared({...none, vertices_floats: 3n}));
  recorder.once(FINALIZE, filled());
  const {vertices, vertexIndices, ...rest} = Mesh.readFullDataSync({});
  assert.deepStrictEqual([vertices.length, vertexIndices.length, Object.keys(rest)],
    [3, 0, ['voxelVerticesStartIndices', 'voxelVertexIndicesStartIndices']]);
});

test('the library writes straight into the lists', () => {
  recorder.once(PREPARE, prepared());
  recorder.once(FINALIZE, filled({
    '*vertices': floats(1, 2, 3, 4, 5, 6), '*edge_visibility': ints(7, 8, 9), '*uv_values': floats(1, 2, 3, 4, 5, 6, 7, 8, 9),
    '*uv_value_indices': ints(1, 2, 3), '*voxel_info_wire_color': floats(...Array(15).keys()), '*uv_set_names': Buffer.from('größe\0'),
    '*shader_names': Buffer.from('ab\0c'), '*hair_object_info_names': Buffer.from('abc'), '*particle_object_info_names': Buffer.from('\0a'),
  }));
  const object = Mesh.readFullDataSync({file: 'a'});
  assert.deepStrictEqual(values(object.vertices), [1, 2, 3, 4, 5, 6]);
  assert.deepStrictEqual(values(object.edgeVisibility), [7, 8, 9]);
  assert.deepStrictEqual(values(object.uvOriginalIndices), [5, 6]);
  assert.deepStrictEqual(object.uvValues.map(values), [[1, 2, 3], [4, 5, 6, 7, 8, 9]]);
  assert.deepStrictEqual(object.uvValueIndices.map(values), [[1], [2, 3]]);
  assert.strictEqual(object.uvValues[0].buffer, object.uvValues[1].buffer);
  assert.ok(object.uvValues.every((list) => Object.getPrototypeOf(list) === VectorList.prototype));
  assert.ok(object.uvValueIndices.every((list) => Object.getPrototypeOf(list) === IntList.prototype));
  assert.deepStrictEqual(values(object.voxelInfoWireColor), [...Array(15).keys()]);
  assert.deepStrictEqual(object.uvSetNames, ['größe', '']);
  assert.deepStrictEqual(object.shaderNames, ['ab', 'c']);
  assert.deepStrictEqual(object.hairObjectInfoNames, ['abc']);
  assert.deepStrictEqual(object.particleObjectInfoNames, ['', 'a']);
  assert.deepStrictEqual(object.objectInfoNames, ['', '', '']);
});

test('a hundred sets of coordinates are read, and no more', () => {
  const many = {...COUNTS, uv_sets_count: 101n, uv_set_floats: Array(100).fill(3n), uv_set_indices: Array(100).fill(1n)};
  recorder.once(PREPARE, prepared(many));
  recorder.once(FINALIZE, filled());
  const object = Mesh.readFullDataSync({file: 'a'}, {UVs: true});
  assert.deepStrictEqual([object.uvValues.length, object.uvValueIndices.length, object.uvSetNames.length, object.uvOriginalIndices.length,
    object.voxelUVValuesStartIndices.length], [100, 100, 100, 100, 200]);
});

test('the second step fails: all lists, and no names', () => {
  recorder.once(PREPARE, prepared());
  recorder.once(FINALIZE, 0);
  const object = Mesh.readFullDataSync({file: 'a'});
  assert.strictEqual(object.vertices.length, 6);
  assert.strictEqual(object.uvValues.length, 2);
  for (const key of Object.values(NAMES)) assert.strictEqual(key in object, false, key);
});

test('a count that can\'t be true is a failure', async () => {
  for (const counts of [{vertices_floats: 2n ** 64n - 1n}, {material_ids_count: 2n ** 63n}, {geometry_voxels_count: 2n ** 62n},
    {vertices_floats: 3n, vertex_indices_count: 2n ** 61n}, {uv_sets_count: 2n, uv_set_floats: [2n ** 63n, 2n ** 63n]},
    {uv_sets_count: 1n, uv_set_names_size: 2n ** 64n - 1n}, {shaders_count: 2n ** 31n}, {voxel_infos_count: 2n ** 63n},
    {hair_object_info_count: 1n, hair_object_info_names_size: 2n ** 50n}]) {
    recorder.clear();
    recorder.once(PREPARE, prepared(counts), 2);
    assert.deepStrictEqual(Mesh.readFullDataSync({file: 'a'}), {});
    const [, error] = await inBackground({file: 'a'});
    assert.strictEqual(error.message, 'Error reading proxy full data.');
    assert.strictEqual(recorder.count(FINALIZE), 0);
  }
});

test('readPreviewData takes the operations of the preview', () => {
  for (const [source, prepare, finalize, args] of [
    [{file: 'a'}, 'Kiln_ProxyCommon_readProxyPrepare', 'Kiln_ProxyCommon_readProxyFinalize', []],
    [plugin, entry('readProxyPrepare'), entry('readProxyFinalize'), [handle]],
  ]) {
    recorder.once(prepare, prepared());
    recorder.once(finalize, filled());
    assert.strictEqual(Mesh.readPreviewData(source, {vertices: true}).vertices.length, 6);
    const first = recorder.last(prepare).args;
    const second = recorder.last(finalize).args;
    if (source === plugin) assert.deepStrictEqual(first.slice(0, 3), [handle, id, 1]);
    else assert.deepStrictEqual([first[0].file, first[1]], ['a', 1]);
    assert.deepStrictEqual([...second.slice(0, args.length), second[args.length], second[second.length - 1]], [...args, 1, 0xABCDn]);
  }
});

test('arguments of the forms at once', () => {
  for (const member of ['readPreviewData', 'readFullDataSync']) {
    for (const args of [[], [null], [undefined, {}]]) assert.throws(() => Mesh[member](...args), {name: 'Error', message: SYNC});
  }
});

test('readFullData takes its arguments in any order', async () => {
  const [P, F] = [entry('readProxyFullPrepare'), entry('readProxyFullFinalize')];
  recorder.answer(P, prepared());
  recorder.answer(F, filled());
  recorder.answer(PREPARE, prepared());
  recorder.answer(FINALIZE, filled());
  for (const [args, flags] of [[[plugin], ALL], [[plugin, {normals: true}], 32], [[{normals: true}, plugin], 32], [[null, plugin], 0],
    [[plugin, () => assert.fail()], 0]]) {
    const [self, error, object] = await inBackground(...args);
    assert.strictEqual(error, null);
    assert.ok(self === renderer || self === args[1]);
    assert.deepStrictEqual(recorder.last(P).args.slice(0, 2), [handle, id]);
    assert.strictEqual(recorder.last(P).onJsThread, false);
    assert.strictEqual(flagsOf(recorder.last(P).args[2]), flags);
    assert.strictEqual('normals' in object, (flags & 32) !== 0);
  }
  for (const [args, flags] of [[[{file: 'a'}], ALL], [[{file: 'a', vertices: true}, null], 16], [[{file: 'a'}, {UVs: true}], 256],
    [[{file: 'a', vertices: true, UVs: true}, {vertices: false}], 256], [[{all: true}, {file: 'a', normals: false}], ALL & ~32]]) {
    const [self, error] = await inBackground(...args);
    assert.strictEqual(error, null);
    assert.strictEqual(self, args.filter((one) => one).pop());
    assert.strictEqual(recorder.last(PREPARE).args[0].file, 'a');
    assert.strictEqual(flagsOf(recorder.last(PREPARE).args[1]), flags);
  }
});

test('readFullData: without a callback or a file', () => {
  recorder.clear();
  const {plugin: other} = pluginOf(renderer, 'LightSpot');
  for (const args of [[], [() => {}], [plugin.constructor, other], [{file: 'a'}], [other, () => {}], [null, undefined, () => {}]]) {
    assert.throws(() => Mesh.readFullData(...args), {name: 'Error', message: ASYNC});
  }
  pluginOf(renderer);
});

test('readFullData: failures', async () => {
  recorder.once(PREPARE, 0);
  const outcome = await inBackground({file: 'a'});
  assert.strictEqual(outcome.length, 2);
  assert.strictEqual(outcome[1].message, 'Error reading proxy full data.');
  recorder.once(PREPARE, prepared());
  recorder.once(FINALIZE, 0);
  assert.strictEqual((await inBackground({file: 'a'}))[1].message, 'Error reading proxy full data.');
});

test('a worker that ends in the middle takes its reading along', async () => {
  const {code, stderr} = await runChild(({recorder: log, loadNative: load, paths}) => {
    const {Worker} = require('worker_threads');
    load();
    log.answer('Kiln_ProxyCommon_readProxyFullPrepare', {result: 1, out: {record: {vertices_floats: 3000n}, token: 1n}, delay: 50});
    log.answer('Kiln_ProxyCommon_readProxyFullFinalize', {result: 1});
    const worker = new Worker(`require(${JSON.stringify(paths.native)}).Proxy.readFullData({file: 'a'}, () => process.abort());
      require('worker_threads').parentPort.postMessage(1);`, {eval: true});
    worker.once('message', () => worker.terminate());
  });
  assert.strictEqual(code, 0, stderr);
});

test('nothing is left', async () => {
  renderer.close();
  assert.throws(() => Mesh.readPreviewGeometry(plugin), {message: PREVIEW});
  await collect(() => blocks() === 0 && recorder.live().handles.length === 0);
});
