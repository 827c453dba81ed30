// Writes OpenEXR pictures of many layers: scan lines of 32-bit floats in blocks of 16, deflated.
// The file's layout is that of "OpenEXR File Layout", openexr.com, and its ZIP compression.
'use strict';

const zlib = require('zlib');

const MAGIC = 0x01312f76;
const VERSION = 2;
const LONG_NAMES = 0x400;
const MOST_SHORT = 31;
const FLOAT = 2;
const ZIP = 3;
const BLOCK_LINES = 16;

const int32 = (...values) => Buffer.from(Int32Array.from(values).buffer);
const float32 = (...values) => Buffer.from(Float32Array.from(values).buffer);
const text = (string) => Buffer.from(`${string}\0`, 'latin1');

function attribute(name, type, value) {
  return Buffer.concat([text(name), text(type), int32(value.length), value]);
}

function header(channels, width, height) {
  const isLong = channels.some(({ name }) => name.length > MOST_SHORT);
  const list = channels.map(({ name }) => Buffer.concat([text(name), int32(FLOAT), Buffer.alloc(4), int32(1, 1)]));
  const window = int32(0, 0, width - 1, height - 1);
  return Buffer.concat([
    int32(MAGIC, VERSION | (isLong ? LONG_NAMES : 0)),
    attribute('channels', 'chlist', Buffer.concat([...list, Buffer.alloc(1)])),
    attribute('compression', 'compression', Buffer.from([ZIP])),
    attribute('dataWindow', 'box2i', window),
    attribute('displayWindow', 'box2i', window),
    attribute('lineOrder', 'lineOrder', Buffer.from([0])),
    attribute('pixelAspectRatio', 'float', float32(1)),
    attribute('screenWindowCenter', 'v2f', float32(0, 0)),
    attribute('screenWindowWidth', 'float', float32(1)),
    Buffer.alloc(1),
  ]);
}

/** The lines of a block, in each line one channel behind the other. */
function gather(channels, width, first, last) {
  const values = new Float32Array(channels.length * width * (last - first));
  let at = 0;
  for (let y = first; y < last; y++) {
    for (const { pixels, offset, stride } of channels) {
      for (let i = (y * width) * stride + offset, end = at + width; at < end; at++, i += stride) values[at] = pixels[i];
    }
  }
  return Buffer.from(values.buffer);
}

// What lies at even and at odd places goes apart, and of each byte the difference to the one before is kept:
// the bytes of floats are alike in that order.
function deflate(raw) {
  const sorted = Buffer.alloc(raw.length);
  const half = Math.ceil(raw.length / 2);
  for (let i = 0; i < raw.length; i++) sorted[(i & 1 ? half : 0) + (i >> 1)] = raw[i];
  for (let i = sorted.length - 1; i > 0; i--) sorted[i] = sorted[i] - sorted[i - 1] + 128;
  const deflated = zlib.deflateSync(sorted, { level: 4 });
  return deflated.length < raw.length ? deflated : raw;
}

/**
 * The bytes of a picture. channels: [{name, pixels, offset, stride}], where pixels holds a float of the channel at
 * offset + stride * (x + y * width). A layer is what stands before the point in names: normals.X.
 */
function encodeExr(channels, width, height) {
  // Readers find channels by their place among the sorted names.
  const sorted = [...channels].sort((a, b) => (a.name < b.name ? -1 : 1));
  const head = header(sorted, width, height);
  const blocks = [];
  for (let y = 0; y < height; y += BLOCK_LINES) {
    const data = deflate(gather(sorted, width, y, Math.min(height, y + BLOCK_LINES)));
    blocks.push(Buffer.concat([int32(y, data.length), data]));
  }
  const offsets = Buffer.alloc(blocks.length * 8);
  let offset = head.length + offsets.length;
  blocks.forEach((block, index) => {
    offsets.writeBigUInt64LE(BigInt(offset), index * 8);
    offset += block.length;
  });
  return Buffer.concat([head, offsets, ...blocks]);
}

// By how many numbers an element has, as its format tells.
const COMPONENTS = {
  single_float: 'Y', single_integer: 'Y', '2_signed_floats': 'XY', '3_signed_floats': 'XYZ', '3_floats': 'RGB', '4_floats': 'RGBA',
};

/**
 * The channels of an image of four floats a pixel: of the picture without a layer, otherwise those that the element's
 * binary format has.
 */
function channelsOf(pixels, layer, binaryFormat) {
  const components = layer === null ? 'RGBA' : COMPONENTS[binaryFormat] || 'RGBA';
  return [...components].map((component, offset) => ({
    name: layer === null ? component : `${layer}.${component}`, pixels, offset, stride: 4,
  }));
}

module.exports = { channelsOf, encodeExr };
