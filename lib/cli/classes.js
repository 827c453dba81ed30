// `kiln classes`: the plugin classes of the library by category, and the properties of one.
'use strict';

const { CommandFailure, EXIT } = require('./failure.js');
const { loadBoundPackage } = require('./library.js');
const { didYouMean } = require('./nearest.js');

const LINE = 100;
const IDENTITY = 'Transform(Matrix(Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)), Vector(0, 0, 0))';

/** The fewest digits that give the same 32-bit float, for a number that is one. */
function shortNumber(value) {
  if (Math.fround(value) !== value) return value;
  for (let digits = 1; digits < 9; digits++) {
    const short = Number(value.toPrecision(digits));
    if (Math.fround(short) === value) return short;
  }
  return value;
}

/** A default value as one reads it; the ways of a scene text where they are short. */
function defaultText(kiln, value) {
  if (value === undefined || value === null) return 'none';
  if (typeof value === 'number') return String(shortNumber(value));
  if (typeof value === 'string') return JSON.stringify(value);
  if (value instanceof kiln.Vector) return [value.x, value.y, value.z].map(shortNumber).join(', ');
  if (value instanceof kiln.Color) return [value.r, value.g, value.b].map(shortNumber).join(', ');
  if (ArrayBuffer.isView(value)) return value.length > 0 ? kiln.typedListToString(value, 8) : 'empty';
  const text = kiln.stringify(value);
  return IDENTITY.includes(text) ? 'identity' : text;
}

/** A default value as JSON has it: vectors and colours as arrays of numbers, matrices and transforms by columns. */
function defaultJson(kiln, value) {
  if (value === undefined) return null;
  if (typeof value === 'number') return shortNumber(value);
  const part = (component) => defaultJson(kiln, component);
  if (value instanceof kiln.Vector) return [value.x, value.y, value.z].map(part);
  if (value instanceof kiln.Color) return [value.r, value.g, value.b].map(part);
  if (value instanceof kiln.AColor) return [value.r, value.g, value.b, value.a].map(part);
  if (value instanceof kiln.Matrix) return [value.column0, value.column1, value.column2].flatMap(part);
  if (value instanceof kiln.Transform) return [value.matrix, value.offset].flatMap(part);
  return ArrayBuffer.isView(value) ? Array.from(value, part) : value;
}

function describeClass(pluginClass) {
  return {
    name: pluginClass.getName(),
    categories: Object.keys(pluginClass.getCategories() || {}),
    description: pluginClass.getDescription() || '',
    deprecation: pluginClass.getDeprecation(),
    GPUSupport: pluginClass.getGPUSupport(),
  };
}

/** The text in lines of at most so many characters, broken at blanks. */
function wrap(text, width) {
  const lines = [''];
  for (const word of text.split(' ')) {
    const line = lines[lines.length - 1];
    if (line !== '' && line.length + 1 + word.length > width) lines.push(word);
    else lines[lines.length - 1] = line === '' ? word : `${line} ${word}`;
  }
  return lines;
}

/** Rows as columns of equal width; the last one is wrapped to the width of the whole. */
function table(rows, width) {
  const widths = rows[0].map((_, column) => Math.max(...rows.map((row) => row[column].length)));
  const indent = widths.slice(0, -1).reduce((sum, one) => sum + one + 2, 2);
  const lines = rows.flatMap((row) => {
    const first = row.slice(0, -1).map((cell, column) => `${cell.padEnd(widths[column])}  `).join('');
    const [text, ...rest] = wrap(row[row.length - 1], Math.max(20, width - indent));
    return [`  ${first}${text}`, ...rest.map((line) => ' '.repeat(indent) + line)];
  });
  return lines.map((line) => `${line.trimEnd()}\n`).join('');
}

function remarks({ aliases, deprecation, elementsCount }) {
  const parts = [];
  if (elementsCount !== undefined) parts.push(`${elementsCount} elements.`);
  if (aliases.length > 0) parts.push(`Also called ${aliases.join(', ')}.`);
  if (deprecation) parts.push(`Deprecated: ${deprecation}`);
  return parts;
}

function classText(kiln, facts, metas, width) {
  const rows = metas.map((meta) => [
    meta.name,
    meta.type,
    defaultText(kiln, meta.defaultValue),
    [meta.description, ...remarks(meta)].join(' '),
  ]);
  const lines = [`${facts.name} (${facts.categories.join(', ')})`, ...wrap(facts.description, width)];
  if (facts.deprecation) lines.push(...wrap(`Deprecated: ${facts.deprecation}`, width));
  lines.push(`GPU support: ${facts.GPUSupport}`, '');
  return `${lines.join('\n')}\n${table([['property', 'type', 'default', 'description'], ...rows], width)}`;
}

function listText(classes, categories, width) {
  const shown = categories.map((category) => {
    const rows = classes
      .filter((one) => one.categories.includes(category))
      .map(({ name, description, deprecation }) => [name, deprecation ? `${description} Deprecated.` : description]);
    return rows.length > 0 ? `${category}\n${table(rows, width)}` : '';
  });
  return shown.filter((text) => text !== '').join('\n');
}

/** What the command prints, from a renderer. Throws a CommandFailure for a name that is neither class nor category. */
function report(kiln, renderer, { name, json }, width) {
  const categories = Object.keys(renderer.classCategories);
  const pluginClass = name !== undefined && Object.keys(renderer.classes).includes(name) ? renderer.classes[name] : null;
  if (pluginClass) {
    const facts = describeClass(pluginClass);
    const metas = Object.values(pluginClass.getMeta());
    if (!json) return classText(kiln, facts, metas, width);
    const properties = metas.map((meta) => ({ ...meta, defaultValue: defaultJson(kiln, meta.defaultValue) }));
    return `${JSON.stringify({ ...facts, properties })}\n`;
  }
  const classes = Array.from(renderer.classes, describeClass);
  if (name !== undefined && !categories.includes(name)) {
    const names = [...classes.map((one) => one.name), ...categories];
    throw new CommandFailure(EXIT.USAGE, `There is no class or category "${name}"${didYouMean(name, names)}`);
  }
  const shown = name === undefined ? categories : [name];
  if (!json) return listText(classes, shown, width);
  return `${JSON.stringify({ classes: classes.filter((one) => one.categories.some((own) => shown.includes(own))) })}\n`;
}

/** Prints, and resolves to the exit code. options: {name?, json}. */
async function classes(options) {
  const kiln = loadBoundPackage();
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false, showFrameBuffer: false });
  try {
    // What is read by a program keeps one line a row.
    const width = process.stdout.isTTY ? process.stdout.columns || LINE : Infinity;
    process.stdout.write(report(kiln, renderer, options, width));
    return EXIT.OK;
  } finally {
    await renderer.promises.close();
  }
}

module.exports = { classes };
