// Reading all of a mesh file of a million triangles, beside plain reads of the same bytes: into memory that is there
// already, and into memory of its own, as every read of the mesh file needs.
'use strict';

const fs = require('fs');
const os = require('os');
const path = require('path');
const kiln = require('..');
const { paired, report } = require('./measure.js');

const SIDE = 707;
const PAIRS = 15;

/** Two triangles a square of a wavy sheet, with normals. */
function sheet() {
  const points = SIDE + 1;
  const vertices = new Float32Array(3 * points * points);
  const faces = new Int32Array(6 * SIDE * SIDE);
  for (let i = 0; i < points * points; i++) {
    vertices.set([Math.floor(i / points), i % points, Math.sin(i)], 3 * i);
  }
  for (let i = 0; i < SIDE * SIDE; i++) {
    const first = Math.floor(i / SIDE) * points + (i % SIDE);
    faces.set([first, first + points, first + points + 1, first, first + points + 1, first + 1], 6 * i);
  }
  const normals = new Float32Array(vertices.length).map((_, i) => (i % 3 === 2 ? 1 : 0));
  return { vertices, faces, normals, faceNormals: faces };
}

function timed(work) {
  global.gc();
  const started = process.hrtime.bigint();
  work();
  return Number(process.hrtime.bigint() - started) / 1000;
}

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-bench-'));
try {
  const file = path.join(folder, 'sheet.kmesh');
  const mesh = sheet();
  if (!kiln.Proxy.createMeshFile(mesh, file)) throw new Error('meshes: the mesh file could not be written');
  const memory = Buffer.alloc(fs.statSync(file).size, 1);

  const full = () => {
    const data = kiln.Proxy.readFullDataSync({ file });
    if (data.vertexIndices.length !== mesh.faces.length) throw new Error('meshes: not all of the mesh was read');
  };
  const plain = () => {
    const descriptor = fs.openSync(file);
    fs.readSync(descriptor, memory, 0, memory.length, 0);
    fs.closeSync(descriptor);
  };
  const fresh = () => fs.readFileSync(file);

  for (const [name, limit] of [['a plain read into memory that is there', plain], ['a plain read', fresh]]) {
    timed(full);
    const works = [];
    const limits = [timed(limit)];
    for (let i = 0; i < PAIRS; i++) {
      works.push(timed(full));
      limits.push(timed(limit));
    }
    report('meshes: all of a million triangles', name, paired(works, limits), { atMost: 2 });
  }
} finally {
  fs.rmSync(folder, { recursive: true, force: true });
}
