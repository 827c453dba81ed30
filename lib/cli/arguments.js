// Reads the command line into plain records; every refusal names the argument and what it takes.
'use strict';

const path = require('path');
const { CommandFailure, EXIT } = require('./failure.js');

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

function refuse(message) {
  throw new CommandFailure(EXIT.USAGE, `${message} See "kiln --help".`);
}

function positiveInteger(text, option, largest) {
  const value = /^\d+$/.test(text) ? Number(text) : NaN;
  if (!(value >= 1 && value <= largest)) refuse(`${option} takes a whole number from 1 to ${largest}, not "${text}".`);
  return value;
}

function positiveSeconds(text, option) {
  const value = /^\d+(\.\d+)?$/.test(text) ? Number(text) : NaN;
  if (!(value > 0)) refuse(`${option} takes a number of seconds above 0, not "${text}".`);
  return value;
}

function size(text, option) {
  const match = /^(\d+)[xX](\d+)$/.exec(text);
  if (!match) refuse(`${option} takes a width and a height as in 1920x1080, not "${text}".`);
  return {
    width: positiveInteger(match[1], option, 65536),
    height: positiveInteger(match[2], option, 65536),
  };
}

const RENDER_OPTIONS = {
  '--output': { key: 'output', read: (text) => text },
  '--size': { key: 'size', read: size },
  '--samples': { key: 'samples', read: (text, option) => positiveInteger(text, option, 1 << 24) },
  '--time-limit': { key: 'timeLimit', read: positiveSeconds },
  '--camera': { key: 'camera', read: (text) => text },
  '--threads': { key: 'threads', read: (text, option) => positiveInteger(text, option, 1024) },
  '--bits': { key: 'bits', read: (text, option) => positiveInteger(text, option, 32) },
  '--quality': { key: 'quality', read: (text, option) => positiveInteger(text, option, 100) },
};
const RENDER_FLAGS = { '--json': 'json', '--verbose': 'verbose' };
const SHORT = { '-o': '--output', '-s': '--size', '-v': '--verbose' };

/** Options and operands of one command. Options take their value as --name VALUE or --name=VALUE. */
function readOptions(args, options, flags) {
  const result = { operands: [] };
  for (let i = 0; i < args.length; i++) {
    const [, name, inline] = /^(--[^=]+)=(.*)$/s.exec(args[i]) || [null, SHORT[args[i]] || args[i], undefined];
    if (flags[name]) {
      if (inline !== undefined) refuse(`${name} takes no value.`);
      result[flags[name]] = true;
    } else if (options[name]) {
      const value = inline !== undefined ? inline : args[++i];
      if (value === undefined || value === '') refuse(`${name} needs a value.`);
      result[options[name].key] = options[name].read(value, name);
    } else if (name.startsWith('-') && name !== '-') {
      refuse(`There is no option ${name}.`);
    } else {
      result.operands.push(args[i]);
    }
  }
  return result;
}

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

/** `kiln render`: {scene, output, type, bits, size?, samples?, timeLimit?, camera?, threads?, quality?, json, verbose}. */
function readRender(args) {
  const options = readOptions(args, RENDER_OPTIONS, RENDER_FLAGS);
  if (options.operands.length !== 1) {
    refuse(options.operands.length === 0 ? 'Name the scene to render.' : 'Only one scene can be rendered at a time.');
  }
  if (options.output === undefined) refuse('Name the picture to write with -o.');
  const format = outputFormat(options.output, options.bits);
  if (options.quality !== undefined && !['jpg', 'jpeg'].includes(format.type)) {
    refuse('--quality is for .jpg alone.');
  }
  return { ...options, ...format, scene: options.operands[0], json: Boolean(options.json) };
}

/** `kiln info`: {json}. */
function readInfo(args) {
  const options = readOptions(args, {}, { '--json': 'json' });
  if (options.operands.length > 0) refuse(`"kiln info" takes no "${options.operands[0]}".`);
  return { json: Boolean(options.json) };
}

module.exports = { readRender, readInfo };
