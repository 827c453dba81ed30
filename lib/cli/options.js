// The grammar of the command line: options with and without values, operands, and refusals that help.
'use strict';

const { CommandFailure, EXIT } = require('./failure.js');
const { didYouMean } = require('./nearest.js');

function refuse(message) {
  throw new CommandFailure(EXIT.USAGE, `${message} See "kiln --help".`);
}

function wholeNumber(text, option, smallest, largest) {
  const value = /^\d+$/.test(text) ? Number(text) : NaN;
  if (!(value >= smallest && value <= largest)) {
    refuse(`${option} takes a whole number from ${smallest} to ${largest}, not "${text}".`);
  }
  return value;
}

/** Readers of values: functions of the text and the option's name that return the value or refuse. */
const read = {
  text: (text) => text,

  wholeFromOneTo: (largest) => (text, option) => wholeNumber(text, option, 1, largest),

  seconds(text, option) {
    const value = /^\d+(\.\d+)?$/.test(text) ? Number(text) : NaN;
    if (!(value > 0)) refuse(`${option} takes a number of seconds above 0, not "${text}".`);
    return value;
  },

  size(text, option) {
    const match = /^(\d+)[xX](\d+)$/.exec(text);
    if (!match) refuse(`${option} takes a width and a height as in 1920x1080, not "${text}".`);
    const [width, height] = match.slice(1).map((side) => wholeNumber(side, option, 1, 65536));
    return { width, height };
  },

  region(text, option) {
    const numbers = text.split(',').map((number) => number.trim());
    if (numbers.length !== 4 || !numbers.every((number) => /^\d+$/.test(number))) {
      refuse(`${option} takes left, top, width and height in pixels as in 100,50,320,200, not "${text}".`);
    }
    const [left, top] = numbers.slice(0, 2).map((number) => wholeNumber(number, option, 0, 65535));
    const [width, height] = numbers.slice(2).map((number) => wholeNumber(number, option, 1, 65536));
    return { left, top, width, height };
  },

  names(text, option) {
    const names = text.split(',').map((name) => name.trim());
    if (names.includes('')) refuse(`${option} takes names with commas between them, not "${text}".`);
    return names.filter((name, index) => names.indexOf(name) === index);
  },
};

// Operands may be called like what every object inherits.
const own = (table, key) => (Object.prototype.hasOwnProperty.call(table, key) ? table[key] : undefined);

/**
 * Reads {operands, ...} from arguments. options: {'--name': {key, read}}; flags: {'--name': key};
 * short: {'-n': '--name'}. An option takes its value as --name VALUE or --name=VALUE; behind -- all are operands.
 */
function readOptions(args, { options = {}, flags = {}, short = {} }) {
  const result = { operands: [] };
  for (let i = 0; i < args.length; i++) {
    if (args[i] === '--') return { ...result, operands: [...result.operands, ...args.slice(i + 1)] };
    const [, name, inline] = /^(--[^=]+)=(.*)$/s.exec(args[i]) || [null, own(short, args[i]) || args[i], undefined];
    const [flag, option] = [own(flags, name), own(options, name)];
    if (flag) {
      if (inline !== undefined) refuse(`${name} takes no value.`);
      result[flag] = true;
    } else if (option) {
      const value = inline !== undefined ? inline : args[++i];
      if (value === undefined || value === '') refuse(`${name} needs a value.`);
      result[option.key] = option.read(value, name);
    } else if (name.startsWith('-') && name !== '-') {
      refuse(`There is no option ${name}${didYouMean(name, [...Object.keys(options), ...Object.keys(flags)])}`);
    } else {
      result.operands.push(args[i]);
    }
  }
  return result;
}

module.exports = { read, readOptions, refuse };
