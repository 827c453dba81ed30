// The writer of layered pictures: its bytes are read back by the layout of the format, and by the engine.
'use strict';

const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const zlib = require('zlib');
const { after, test } = require('node:test');
const { channelsOf, encodeExr } = require('../../lib/cli/exr.js');
const kiln = require('../../lib/index.js');

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-exr-'));
after(() => fs.rmSync(folder, { recursive: true }));

/** {attributes, channels: {name: Float32Array}} of a file as the writer makes it. */
function decode(bytes) {
  let at = 8;
  const attributes = {};
  const textAt = () => {
    const end = bytes.indexOf(0, at);
    const text = bytes.toString('latin1', at, end);
    at = end + 1;
    return text;
  };
  for (let name = textAt(); name !== ''; name = textAt()) {
    const type = textAt();
    const size = bytes.readInt32LE(at);
    attributes[name] = { type, value: bytes.subarray(at + 4, at + 4 + size) };
    at += 4 + size;
  }
  const [, , right, bottom] = new Int32Array(Uint8Array.from(attributes.dataWindow.value).buffer);
  const [width, height] = [right + 1, bottom + 1];
  const names = attributes.channels.value.toString('latin1').match(/[\w.]+(?=\0\x02\0\0\0\0\0\0\0\x01)/g);
  const channels = Object.fromEntries(names.map((name) => [name, new Float32Array(width * height)]));
  for (let first = 0, index = 0; first < height; first += 16, index++) {
    const offset = Number(bytes.readBigUInt64LE(at + index * 8));
    assert.strictEqual(bytes.readInt32LE(offset), first);
    const data = bytes.subarray(offset + 8, offset + 8 + bytes.readInt32LE(offset + 4));
    const lines = Math.min(16, height - first);
    const size = lines * width * names.length * 4;
    const raw = data.length === size ? data : inflate(data, size);
    for (let y = 0, from = 0; y < lines; y++) {
      for (const name of names) {
        for (let x = 0; x < width; x++, from += 4) channels[name][(first + y) * width + x] = raw.readFloatLE(from);
      }
    }
  }
  return { attributes, channels, width, height };
}

function inflate(data, size) {
  const sorted = zlib.inflateSync(data);
  assert.strictEqual(sorted.length, size);
  for (let i = 1; i < size; i++) sorted[i] = sorted[i] + sorted[i - 1] - 128;
  const half = Math.ceil(size / 2);
  return Buffer.from(sorted.map((_, i) => sorted[(i & 1 ? half : 0) + (i >> 1)]));
}

const plane = (pixels, offset) => pixels.filter((_, index) => index % 4 === offset);

test('every channel comes back, in blocks that are full and in one that is not', () => {
  const [width, height] = [19, 37];
  const light = new Float32Array(width * height * 4).map((_, index) => Math.sin(index));
  const depth = new Float32Array(width * height * 4).map((_, index) => (index % 3 ? index : Infinity));
  const bytes = encodeExr(
    [...channelsOf(light, null), ...channelsOf(depth, 'z_depth', 'single_float'), ...channelsOf(light, 'normals', '3_signed_floats')],
    width, height
  );
  assert.deepStrictEqual([bytes.readInt32LE(0), bytes.readInt32LE(4)], [20000630, 2]);
  const { channels, ...facts } = decode(bytes);
  assert.deepStrictEqual([facts.width, facts.height], [width, height]);
  const sorted = ['A', 'B', 'G', 'R', 'normals.X', 'normals.Y', 'normals.Z', 'z_depth.Y'];
  assert.deepStrictEqual(Object.keys(channels), sorted);
  for (const [offset, name] of ['R', 'G', 'B', 'A'].entries()) assert.deepStrictEqual(channels[name], plane(light, offset));
  assert.deepStrictEqual(channels['z_depth.Y'], plane(depth, 0));
  assert.deepStrictEqual(channels['normals.Y'], plane(light, 1));
});

test('what does not become smaller stays as it is', () => {
  const pixels = Float32Array.from({ length: 4 }, (_, index) => [1.2345678, -9.87e-7, 3.3e11, 0.777][index]);
  const { channels } = decode(encodeExr(channelsOf(pixels, null), 1, 1));
  assert.deepStrictEqual([channels.R[0], channels.G[0], channels.B[0], channels.A[0]], [...pixels]);
});

test('long names are announced', () => {
  const bytes = encodeExr(channelsOf(new Float32Array(4), 'a_name_of_more_than_31_characters', '3_floats'), 1, 1);
  assert.strictEqual(bytes.readInt32LE(4), 2 | 0x400);
});

test('the engine reads the picture and not the layers', async () => {
  const green = new Float32Array(8 * 8 * 4).map((_, index) => [0, 0.5, 0, 1][index % 4]);
  const red = new Float32Array(8 * 8 * 4).map((_, index) => [1, 0, 0, 1][index % 4]);
  fs.writeFileSync(path.join(folder, 'a.exr'), encodeExr([...channelsOf(red, 'gi', '3_floats'), ...channelsOf(green, null)], 8, 8));
  const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
  const { classes, plugins } = renderer;
  classes.TextureBitmap('picture').file = path.join(folder, 'a.exr');
  classes.LightDome('dome').texture = plugins.picture;
  classes.CameraPerspective('camera');
  classes.SettingsSampler('sampler').samples = 1;
  renderer.size = { width: 4, height: 4 };
  await renderer.promises.start();
  await renderer.promises.waitForRenderEnd();
  assert.deepStrictEqual([...renderer.getImage().getPixelData().subarray(0, 3)], [0, 0.5, 0]);
  await renderer.promises.close();
});
