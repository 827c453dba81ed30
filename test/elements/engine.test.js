'use strict';

// Render elements on the engine, with the room of the examples.

const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const path = require('path');
const {paths} = require('../helpers');

const missing = !fs.existsSync(paths.engine) && 'the engine is not built';
delete process.env.KILN_SDK;
process.env.KILN_ENGKIT_BIN = paths.build;
const kiln = missing ? {} : require('../../lib');

const WIDTH = 40;
const HEIGHT = 32;
// All light that comes to the camera, by its way.
const LIGHT = ['lighting', 'gi', 'specular', 'reflection', 'refraction', 'self_illumination', 'background'];

async function rendered(types, body) {
  const renderer = new kiln.KilnRenderer({enableFrameBuffer: false});
  try {
    await renderer.promises.load(path.join(paths.root, 'examples', 'room.toml'));
    renderer.size = {width: WIDTH, height: HEIGHT};
    renderer.plugins.sampler.samples = 4;
    const elements = Object.fromEntries(types.map((type) => [type, renderer.renderElements.add(type)]));
    await renderer.promises.start();
    await renderer.promises.waitForRenderEnd();
    await body(elements, renderer);
  } finally {
    await renderer.promises.close();
  }
}

const on = (name, types, body) => test(name, {skip: missing}, () => rendered(types, body));

const floats = (element, ...options) => {
  const buffer = element.getData(...options);
  return new Float32Array(buffer.buffer, buffer.byteOffset, buffer.length / 4);
};

on('the elements of light add up to the picture', ['color', ...LIGHT], (elements) => {
  const color = floats(elements.color);
  assert.strictEqual(color.length, WIDTH * HEIGHT * 4);
  assert.ok(color.some((value) => value > 0.1));
  const parts = LIGHT.map((type) => floats(elements[type]));
  for (let i = 0; i < WIDTH * HEIGHT; ++i) {
    for (let channel = 0; channel < 3; ++channel) {
      const sum = parts.reduce((so_far, part) => so_far + part[i * (part.length / (WIDTH * HEIGHT)) + channel], 0);
      const wanted = color[i * 4 + channel];
      assert.ok(Math.abs(sum - wanted) <= 1e-5 * (1 + Math.abs(wanted)), `pixel ${i}: ${sum} instead of ${wanted}`);
    }
  }
});

on('elements say what they are, and are found again', ['z_depth', 'normals', 'node_id'], (elements, renderer) => {
  const {renderElements} = renderer;
  assert.deepStrictEqual(Object.values(elements).map((one) => [one.type, one.binaryFormat, one.defaultPixelFormat]), [
    ['z_depth', 'single_float', '4_byte_float_grayscale'], ['normals', '3_signed_floats', '3x4_bytes_float_RGB'],
    ['node_id', 'single_integer', '4_byte_int_grayscale']]);
  assert.strictEqual(renderElements.get('Z_DEPTH').plugin, elements.z_depth.plugin);
  assert.strictEqual(renderElements.get('diffuse'), undefined);
  assert.deepStrictEqual(renderElements.getAll().map((one) => one.type).sort(), ['node_id', 'normals', 'z_depth']);
  assert.deepStrictEqual(renderElements.getAll('normals').map((one) => one.plugin), [elements.normals.plugin]);
  assert.strictEqual(JSON.parse(elements.z_depth.getMetadata()).type, 'z_depth');
});

on('depth, normals and numbers are those of the room', ['z_depth', 'normals', 'node_id'], (elements, renderer) => {
  const at = (x, y) => y * WIDTH + x;
  const depth = floats(elements.z_depth);
  const normals = floats(elements.normals);
  assert.strictEqual(normals.length, WIDTH * HEIGHT * 3);
  const buffer = elements.node_id.getData();
  const ids = new Uint32Array(buffer.buffer, buffer.byteOffset, buffer.length / 4);
  // The back wall shows in the middle of the upper half.
  const middle = at(WIDTH / 2 + 4, 10);
  assert.strictEqual(ids[middle], renderer.plugins.back.getIntegerID());
  assert.ok(Math.abs(depth[middle] - 5.6) < 0.01, `${depth[middle]}`);
  assert.ok(normals[middle * 3 + 2] > 0.99);
  assert.strictEqual(renderer.pickPluginSync(WIDTH / 2 + 4, 10), renderer.plugins.back);
});

on('a region of an image is that part of the whole', ['color'], ({color}) => {
  const whole = color.getImage();
  assert.deepStrictEqual([whole.width, whole.height, whole.x], [WIDTH, HEIGHT, undefined]);
  const part = color.getImage(8, 4, 16, 12);
  assert.deepStrictEqual([part.width, part.height, part.x, part.y], [16, 12, 8, 4]);
  const [all, some] = [whole.getPixelData(), part.getPixelData()];
  for (let y = 0; y < 12; ++y) {
    for (let x = 0; x < 16 * 4; ++x) assert.strictEqual(some[y * 64 + x], all[(y + 4) * WIDTH * 4 + 32 + x]);
  }
  assert.deepStrictEqual(Array.from(color.getImage({x: 8, y: 4, width: 16, height: 12}).getPixelData()), Array.from(some));
  for (const region of [[0, 0, WIDTH + 1, 1], [-1, 0, 2, 2], [5, 5, 0, 0]]) {
    assert.throws(() => color.getImage(...region), /out of range coordinates/);
  }
});

on('every pixel format has its size', ['color'], ({color}, renderer) => {
  color.pixelFormat = '';
  const bytes = {'1_byte_int_grayscale': 1, '2_byte_int_grayscale': 2, '4_byte_int_grayscale': 4, '4_byte_float_grayscale': 4,
    '3x1_bytes_int_RGB': 3, '3x2_bytes_int_RGB': 6, '3x4_bytes_float_RGB': 12, '4x1_bytes_int_RGBA': 4,
    '4x2_bytes_int_RGBA': 8, '4x4_bytes_float_RGBA': 16};
  for (const pixelFormat of renderer.renderElements.getAvailablePixelFormats()) {
    assert.strictEqual(color.getData({pixelFormat}).length, WIDTH * HEIGHT * bytes[pixelFormat], pixelFormat);
  }
});

test('an element without a render has no pixels', {skip: missing}, async () => {
  const renderer = new kiln.KilnRenderer({enableFrameBuffer: false});
  const element = renderer.renderElements.add('diffuse', 'mine', 'Diffuse light');
  assert.deepStrictEqual([element.name, element.plugin.getName()], ['Diffuse light', 'mine']);
  assert.throws(() => element.getData(), /Error retrieving render element data/);
  assert.throws(() => element.getImage(), /Error retrieving render element data/);
  assert.strictEqual(renderer.renderElements.add('dr_bucket'), null, 'what the engine has no use for');
  await renderer.promises.close();
});
