// Reads the command line into plain records; every refusal names the argument and what it takes.
'use strict';

const path = require('path');
const { readFrames } = require('./frames.js');
const { read, readOptions, refuse } = require('./options.js');

/** The formats of --output by extension, with the bits a channel that each can carry; the first is the default. */
const FORMATS = Object.freeze({
  png: [8, 16],
  jpg: [8],
  jpeg: [8],
  bmp: [8],
  tif: [16, 8, 32],
  tiff: [16, 8, 32],
  exr: [32],
});

const RENDER = {
  options: {
    '--output': { key: 'output', read: read.text },
    '--size': { key: 'size', read: read.size },
    '--samples': { key: 'samples', read: read.wholeFromOneTo(1 << 24) },
    '--time-limit': { key: 'timeLimit', read: read.seconds },
    '--camera': { key: 'camera', read: read.text },
    '--threads': { key: 'threads', read: read.wholeFromOneTo(1024) },
    '--bits': { key: 'bits', read: read.wholeFromOneTo(32) },
    '--quality': { key: 'quality', read: read.wholeFromOneTo(100) },
    '--frames': { key: 'frames', read: readFrames },
    '--elements': { key: 'elements', read: read.names },
    '--region': { key: 'region', read: read.region },
  },
  flags: { '--denoise': 'denoise', '--opaque': 'opaque', '--json': 'json', '--verbose': 'verbose' },
  short: { '-o': '--output', '-s': '--size', '-v': '--verbose' },
};

const CONVERT = {
  flags: { '--json': 'json', '--verbose': 'verbose' },
  short: { '-v': '--verbose' },
};

/** The file type and bits of the output, from its extension and --bits. */
function outputFormat(output, bits) {
  const type = path.extname(output).slice(1).toLowerCase();
  const allowed = FORMATS[type];
  if (!allowed) refuse(`The output "${output}" must end in .png, .jpg, .bmp, .tif or .exr.`);
  if (bits !== undefined && !allowed.includes(bits)) {
    refuse(`--bits ${bits} does not fit .${type}: it can carry ${[...allowed].sort((a, b) => a - b).join(', ')}.`);
  }
  return { type, bits: bits === undefined ? allowed[0] : bits };
}

/**
 * `kiln render`: {scene, output, type, bits, size?, samples?, timeLimit?, camera?, threads?, quality?, frames?,
 * elements?, region?, denoise?, opaque?, json, verbose?}.
 */
function readRender(args) {
  const options = readOptions(args, RENDER);
  const [scene, second] = options.operands;
  if (scene === undefined) refuse('Name the scene to render.');
  if (options.output === undefined) refuse(`Name the picture to write with -o${second ? `, as in -o ${second}` : ''}.`);
  if (second !== undefined) refuse(`Only one scene can be rendered at a time, not "${second}" as well.`);
  const format = outputFormat(options.output, options.bits);
  if (options.quality !== undefined && !['jpg', 'jpeg'].includes(format.type)) {
    refuse('--quality is for .jpg alone.');
  }
  if (options.frames && options.timeLimit !== undefined) {
    refuse('--frames and --time-limit do not go together: name the samples of each frame with --samples.');
  }
  return { ...options, ...format, scene, json: Boolean(options.json) };
}

/** `kiln convert`: {input, output, json, verbose?}. */
function readConvert(args) {
  const { operands, ...options } = readOptions(args, CONVERT);
  if (operands.length !== 2) refuse('Name the scene to read and the scene text to write.');
  const [input, output] = operands;
  if (path.extname(output).toLowerCase() !== '.toml') {
    refuse(`The output "${output}" must end in .toml: scenes are written as scene text.`);
  }
  return { ...options, input, output, json: Boolean(options.json) };
}

/** `kiln info`: {json}. */
function readInfo(args) {
  const options = readOptions(args, { flags: { '--json': 'json' } });
  if (options.operands.length > 0) refuse(`"kiln info" takes no "${options.operands[0]}".`);
  return { json: Boolean(options.json) };
}

/** `kiln classes`: {name?, json}. */
function readClasses(args) {
  const options = readOptions(args, { flags: { '--json': 'json' } });
  if (options.operands.length > 1) refuse('Name one class or category.');
  return { name: options.operands[0], json: Boolean(options.json) };
}

module.exports = { readClasses, readConvert, readInfo, readRender };
