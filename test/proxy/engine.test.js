'use strict';

// Mesh files on the engine: written from arrays and from plugins, read back in all ways, and rendered.

const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const {paths} = require('../helpers');

const missing = !fs.existsSync(paths.engine) && 'the engine is not built';
delete process.env.KILN_SDK;
process.env.KILN_ENGKIT_BIN = paths.build;
const kiln = missing ? {} : require('../../lib');

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-mesh-files-'));
process.on('exit', () => fs.rmSync(folder, {recursive: true, force: true}));
const on = (name, body) => test(name, {skip: missing}, body);
const fileOf = (name) => path.join(folder, name);

const SQUARE = () => ({
  vertices: new Float32Array([0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0]),
  faces: new Int32Array([0, 1, 2, 0, 2, 3]),
  normals: new Float32Array([0, 0, 1]),
  faceNormals: new Int32Array(6),
  velocities: new Float32Array(12).fill(0.5),
  faceMtlIDs: new Int32Array([4, 5]),
  edgeVisibility: new Int32Array([0b101011]),
  mapChannels: [[2, new Float32Array([0, 0, 0, 1, 0, 0, 1, 1, 0]), new Int32Array([0, 1, 2, 0, 2, 1])]],
  mapChNames: ['leaf'],
  shaderNames: [[4, 'wood'], [5, 'glass']],
});
const FUR = () => ({
  hairVertices: new Float32Array([0, 0, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0, 1, 2, 0]),
  hairVerticesPerStrand: new Int32Array([2, 3]),
  hairWidths: new Float32Array([0.5, 0.25, 0.5, 0.25, 0.125]),
  particleVertices: new Float32Array([5, 5, 5, 6, 6, 6]),
  particleWidths: new Float32Array([0.5, 0.25]),
});

on('several objects come back, every array of them', async () => {
  const file = fileOf('objects.kmesh');
  const {Proxy: Mesh} = kiln;
  assert.strictEqual(Mesh.createCombinedMeshFile([SQUARE(), FUR()], file, {
    objectNames: ['square', 'fur'], objectIDs: [7, 9], voxelInfoWireColor: new Float32Array([1, 0, 0, 0, 1, 0]),
    voxelInfoSmoothed: new Int32Array([1, 0]), voxelInfoFlipNormals: new Int32Array([0, 1]),
  }), true);
  const expected = {
    vertices: [...SQUARE().vertices], vertexIndices: [...SQUARE().faces], normals: [0, 0, 1], normalIndices: [0, 0, 0, 0, 0, 0],
    velocities: new Array(12).fill(0.5), materialIDs: [4, 5], edgeVisibility: [0b101011], shaderIDs: [4, 5],
    uvOriginalIndices: [2], objectInfoIDs: [7], objectInfoVBegins: [0], objectInfoVEnds: [1], hairObjectInfoIDs: [9],
    particleObjectInfoIDs: [9], hairVertices: [...FUR().hairVertices], hairVerticesPerStrand: [2, 3],
    hairWidths: [...FUR().hairWidths], particleVertices: [...FUR().particleVertices], particleWidths: [0.5, 0.25],
    geometryVoxelsBBoxes: [0, 0, 0, 1, 1, 0], hairVoxelsBBoxes: [0, 0, 0, 1, 2, 0], particleVoxelsBBoxes: [5, 5, 5, 6, 6, 6],
    voxelVerticesStartIndices: [0], voxelUVValuesStartIndices: [0], voxelInfoWireColor: [1, 0, 0, 0, 1, 0],
    voxelInfoSmoothed: [1, 0], voxelInfoFlipNormals: [0, 1],
  };
  const check = (data) => {
    for (const [key, values] of Object.entries(expected)) assert.deepStrictEqual([...data[key]], values, key);
    assert.deepStrictEqual(data.uvSetNames, ['leaf']);
    assert.deepStrictEqual([...data.uvValues[0]], [0, 0, 0, 1, 0, 0, 1, 1, 0]);
    assert.deepStrictEqual([...data.uvValueIndices[0]], [0, 1, 2, 0, 2, 1]);
    assert.deepStrictEqual(data.shaderNames, ['wood', 'glass']);
    assert.deepStrictEqual(data.objectInfoNames, ['square']);
    assert.deepStrictEqual(data.hairObjectInfoNames, ['fur']);
  };
  check(Mesh.readFullDataSync({file}));
  check(await new Promise((resolve, reject) => Mesh.readFullData({file}, (error, data) => (error ? reject(error) : resolve(data)))));
  assert.deepStrictEqual(Object.keys(Mesh.readFullDataSync({file}, {shaders: true})).filter((key) => !key.startsWith('voxelInfo')).sort(),
    ['shaderIDs', 'shaderNames']);
});

on('previews, and the preview as data', () => {
  const file = fileOf('preview.kmesh');
  const {Proxy: Mesh} = kiln;
  Mesh.createCombinedMeshFile([SQUARE(), FUR()], file);
  assert.deepStrictEqual([...Mesh.readPreviewGeometry({file}).indices], [0, 1, 2, 0, 2, 3]);
  assert.strictEqual(Mesh.readPreviewGeometry({file}, 1).indices.length, 3);
  assert.deepStrictEqual([...Mesh.readPreviewHair({file}).lengths], [2, 3]);
  assert.strictEqual(Mesh.readPreviewParticles({file}).positions.length, 6);
  assert.strictEqual(Mesh.readPreviewData({file}).vertices.length, 12);
  assert.throws(() => Mesh.readPreviewGeometry({file: fileOf('none')}), /Argument 0 must be a GeomMeshFile plugin/);
});

on('a plugin is written, and a GeomMeshFile reads it', async () => {
  const file = fileOf('plugin.kmesh');
  const {Proxy: Mesh} = kiln;
  const renderer = new kiln.KilnRenderer({enableFrameBuffer: false});
  try {
    const mesh = renderer.classes.GeomStaticMesh();
    mesh.vertices = SQUARE().vertices;
    mesh.faces = SQUARE().faces;
    assert.strictEqual(Mesh.createMeshFile(mesh, file, {objectName: 'quad'}), true);
    const shown = renderer.classes.GeomMeshFile();
    shown.file = file;
    const data = Mesh.readFullDataSync(shown);
    assert.deepStrictEqual([...data.vertices], [...SQUARE().vertices]);
    assert.deepStrictEqual(data.objectInfoNames, ['quad']);
    const instance = renderer.classes.GeomInstance();
    instance.geometry = shown;
    const box = renderer.getBoundingBox();
    assert.deepStrictEqual([box.max.x, box.max.y], [1, 1]);
  } finally {
    await renderer.promises.close();
  }
});

on('a damaged file is an error', () => {
  const file = fileOf('damaged.kmesh');
  const {Proxy: Mesh} = kiln;
  Mesh.createMeshFile(SQUARE(), file);
  fs.truncateSync(file, fs.statSync(file).size - 1);
  assert.deepStrictEqual(Object.keys(Mesh.readFullDataSync({file})), []);
  assert.strictEqual(Mesh.createMeshFile({vertices: new Float32Array(9), faces: new Int32Array([0, 1, 3])}, file), false);
});
