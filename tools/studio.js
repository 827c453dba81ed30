// Sets a photographer's studio around a glTF model: a sweep to stand before, glowing panels as soft boxes, a camera.
// The result is a glTF of its own, beside copies of the model's files, so that every glTF reader shows the same.
'use strict';

const fs = require('fs');
const path = require('path');

/** A column-major 4x4 matrix whose -Z looks from one point at another, as glTF's cameras and lights do. */
function lookAt(from, to) {
  const subtract = (a, b) => a.map((value, axis) => value - b[axis]);
  const cross = (a, b) => [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
  const unit = (a) => a.map((value) => value / Math.hypot(...a));
  const back = unit(subtract(from, to));
  const right = unit(cross(Math.abs(back[1]) > 0.999 ? [0, 0, 1] : [0, 1, 0], back));
  const up = cross(back, right);
  return [...right, 0, ...up, 0, ...back, 0, ...from, 1];
}

/** The profile of the sweep, floor to wall through a quarter circle, as [y, z] with its normal. */
function sweepProfile({ floor, front, wall, radius, height }) {
  const points = [{ y: floor, z: front, normal: [1, 0] }];
  const steps = 32;
  for (let i = 0; i <= steps; i++) {
    const angle = (i / steps) * (Math.PI / 2);
    points.push({
      y: floor + radius * (1 - Math.cos(angle)),
      z: wall + radius * (1 - Math.sin(angle)),
      normal: [Math.cos(angle), Math.sin(angle)],
    });
  }
  points.push({ y: floor + height, z: wall, normal: [0, 1] });
  return points;
}

/** Appends meshes, nodes and materials to a document whose own parts keep their numbers. */
class Studio {
  constructor(document) {
    this.document_ = document;
    this.bytes_ = [];
    this.length_ = 0;
    this.buffer_ = this.push_('buffers', {});
    document.scene = document.scene || 0;
  }

  push_(list, item) {
    const items = (this.document_[list] = this.document_[list] || []);
    items.push(item);
    return items.length - 1;
  }

  node_(node) {
    this.document_.scenes[this.document_.scene].nodes.push(this.push_('nodes', node));
  }

  use_(extension) {
    const used = (this.document_.extensionsUsed = this.document_.extensionsUsed || []);
    if (!used.includes(extension)) used.push(extension);
  }

  accessor_(data, type, componentType, extra = {}) {
    const view = this.push_('bufferViews', { buffer: this.buffer_, byteOffset: this.length_, byteLength: data.byteLength });
    this.bytes_.push(Buffer.from(data.buffer, data.byteOffset, data.byteLength));
    this.length_ += data.byteLength;
    const components = type === 'VEC3' ? 3 : 1;
    return this.push_('accessors', { bufferView: view, componentType, type, count: data.length / components, ...extra });
  }

  mesh_(name, positions, normals, indices, material) {
    const axes = [0, 1, 2].map((axis) => positions.filter((_, index) => index % 3 === axis));
    const primitive = {
      attributes: {
        POSITION: this.accessor_(new Float32Array(positions), 'VEC3', 5126, {
          min: axes.map((values) => Math.fround(Math.min(...values))),
          max: axes.map((values) => Math.fround(Math.max(...values))),
        }),
        NORMAL: this.accessor_(new Float32Array(normals), 'VEC3', 5126),
      },
      indices: this.accessor_(new Uint32Array(indices), 'SCALAR', 5125),
      material: this.push_('materials', { name, doubleSided: false, ...material }),
    };
    return this.push_('meshes', { name, primitives: [primitive] });
  }

  /** Lays the model, which faces +Z, on its back. */
  layDown() {
    const scene = this.document_.scenes[this.document_.scene];
    const half = Math.SQRT1_2;
    scene.nodes = [this.push_('nodes', { name: 'Laid', rotation: [-half, 0, 0, half], children: scene.nodes })];
  }

  /** A floor that bends up into a wall, so that there is no horizon. */
  addSweep(shape, color, roughness) {
    const positions = [];
    const normals = [];
    const indices = [];
    const points = sweepProfile(shape);
    points.forEach(({ y, z, normal }, index) => {
      for (const x of [-shape.width / 2, shape.width / 2]) {
        positions.push(x, y, z);
        normals.push(0, normal[0], normal[1]);
      }
      if (index > 0) {
        const at = index * 2;
        indices.push(at - 2, at - 1, at + 1, at - 2, at + 1, at);
      }
    });
    const material = { pbrMetallicRoughness: { baseColorFactor: [...color, 1], metallicFactor: 0, roughnessFactor: roughness } };
    this.node_({ name: 'Sweep', mesh: this.mesh_('Sweep', positions, normals, indices, material) });
  }

  /** A glowing rectangle that faces a point; its back is dark. */
  addPanel(name, { from, to, width, height, color, strength }) {
    this.use_('KHR_materials_emissive_strength');
    const [x, y] = [width / 2, height / 2];
    // It lies in XY and shines down -Z, so seen from there its corners run the other way round.
    const positions = [-x, -y, 0, -x, y, 0, x, y, 0, x, -y, 0];
    const normals = [0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1];
    const material = {
      pbrMetallicRoughness: { baseColorFactor: [0, 0, 0, 1], metallicFactor: 0, roughnessFactor: 1 },
      emissiveFactor: color,
      extensions: { KHR_materials_emissive_strength: { emissiveStrength: strength } },
    };
    const mesh = this.mesh_(name, positions, normals, [0, 1, 2, 0, 2, 3], material);
    this.node_({ name, mesh, matrix: lookAt(from, to) });
  }

  /** Light from one direction: the sharp edge that soft boxes do not give. */
  addDirectionalLight(name, { from, to, color, intensity }) {
    this.use_('KHR_lights_punctual');
    const extensions = (this.document_.extensions = this.document_.extensions || {});
    const lights = (extensions.KHR_lights_punctual = extensions.KHR_lights_punctual || { lights: [] }).lights;
    lights.push({ type: 'directional', color, intensity, name });
    this.node_({ name, matrix: lookAt(from, to), extensions: { KHR_lights_punctual: { light: lights.length - 1 } } });
  }

  addCamera(name, { from, to, fieldOfView }) {
    const perspective = { yfov: (fieldOfView * Math.PI) / 180, znear: 0.01 };
    this.node_({ name, camera: this.push_('cameras', { type: 'perspective', perspective }), matrix: lookAt(from, to) });
  }

  /** The finished document; its own geometry is embedded. */
  finish() {
    const bytes = Buffer.concat(this.bytes_);
    this.document_.buffers[this.buffer_] = {
      byteLength: bytes.length,
      uri: `data:application/octet-stream;base64,${bytes.toString('base64')}`,
    };
    return this.document_;
  }
}

/**
 * Copies the model's files to the folder and writes the model with the studio that `arrange(studio)` builds as
 * studio.gltf there. Returns its path.
 */
function writeStudio(model, folder, arrange) {
  const document = JSON.parse(fs.readFileSync(model, 'utf8'));
  fs.mkdirSync(folder, { recursive: true });
  for (const { uri } of [...(document.buffers || []), ...(document.images || [])]) {
    if (uri && !uri.startsWith('data:')) {
      fs.copyFileSync(path.join(path.dirname(model), decodeURIComponent(uri)), path.join(folder, path.basename(uri)));
    }
  }
  const studio = new Studio(document);
  arrange(studio);
  const file = path.join(folder, 'studio.gltf');
  fs.writeFileSync(file, JSON.stringify(studio.finish()));
  return file;
}

module.exports = { writeStudio };
