'use strict';

// The records of the boundary as they stand in include/*.h: sizes, offsets and types of their fields, worked out from
// the definitions by C's rules. The tests read and write records through these, so a changed header changes them too.

const fs = require('fs');
const path = require('path');
const paths = require('./paths');

const SCALARS = {
  uint8_t: 1, int32_t: 4, uint32_t: 4, float: 4, int64_t: 8, uint64_t: 8, double: 8, KilnPluginId: 8,
};
const OPAQUE = ['KilnRendererHandle', 'KilnServerHandle', 'KilnImageHandle', 'KilnScanHandle', 'KilnStringVector',
  'KilnPropertyDefinition', 'KilnCallback', 'KilnReleaseFunction', 'KilnFilterFunction', 'KilnDenoiseCompletion'];

function readHeaders() {
  return fs.readdirSync(paths.include).filter((name) => name.endsWith('.h')).sort()
    .map((name) => fs.readFileSync(path.join(paths.include, name), 'utf8'))
    .join('\n').replace(/\/\*[\s\S]*?\*\//g, ' ');
}

function parseConstants(text) {
  const constants = {};
  for (const [, body] of text.matchAll(/enum\s*\w*\s*\{([^}]*)\}/g)) {
    for (const item of body.split(',')) {
      const match = /^\s*(\w+)\s*=\s*([\w\s<]+?)\s*$/.exec(item);
      if (!match) continue;
      const shift = /^(\w+)\s*<<\s*(\w+)$/.exec(match[2]);
      constants[match[1]] = shift ? Number(shift[1]) << Number(shift[2]) : Number(match[2]);
    }
  }
  return constants;
}

function parsePins(text) {
  return {
    sizes: [...text.matchAll(/^KILN_SIZE\((\w+), (\d+)\)/gm)].map(([, record, size]) => [record, Number(size)]),
    offsets: [...text.matchAll(/^KILN_AT\((\w+), (\w+), (\d+)\)/gm)]
      .map(([, record, field, offset]) => [record, field, Number(offset)]),
  };
}

function sizeAndAlignment(type, records) {
  if (type.endsWith('*') || OPAQUE.includes(type)) return [8, 8];
  if (SCALARS[type]) return [SCALARS[type], SCALARS[type]];
  const record = records[type];
  if (!record) throw new Error(`layouts.js does not know the type "${type}"`);
  return [record.size, record.alignment];
}

function parseField(line, records, constants) {
  const match = /^(.*?)(\w+)(?:\[(\w+)\])?$/.exec(line.trim().replace(/\bstruct\s+/, ''));
  const type = match[1].trim().replace(/\s+/g, ' ');
  const length = match[3] === undefined ? undefined : constants[match[3]] || Number(match[3]);
  const [size, alignment] = sizeAndAlignment(type, records);
  return {name: match[2], type, length, size, alignment};
}

function parseRecords(text, constants) {
  const records = {};
  for (const [, name, body] of text.matchAll(/typedef struct (\w+) \{([\s\S]*?)\} \1;/g)) {
    const record = {name, fields: [], size: 0, alignment: 1};
    for (const line of body.split(';').filter((part) => part.trim())) {
      const field = parseField(line, records, constants);
      field.offset = Math.ceil(record.size / field.alignment) * field.alignment;
      record.size = field.offset + field.size * (field.length === undefined ? 1 : field.length);
      record.alignment = Math.max(record.alignment, field.alignment);
      record.fields.push(field);
    }
    record.size = Math.ceil(record.size / record.alignment) * record.alignment;
    records[name] = record;
  }
  return records;
}

const text = readHeaders();
const constants = parseConstants(text);
const records = parseRecords(text, constants);

// The layout of a record: {name, size, fields: [{name, type, offset, size, length}]}; throws for an unknown name.
function layout(name) {
  if (!records[name]) throw new Error(`There is no record "${name}" in include/`);
  return records[name];
}

module.exports = {layout, records, constants, pins: parsePins(text)};
