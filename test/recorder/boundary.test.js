'use strict';

// The recorder knows every row and every record of the boundary.

const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const path = require('path');
const {recorder, paths, layout, records, pins, EVENTS} = require('../helpers');

test('every row is there, and every type of its parameters is captured', () => {
  assert.strictEqual(recorder.rows.length, 341);
  const unknown = recorder.rows.flatMap((row) => row.parameters.filter((one) => !one.known).map((one) => one.type));
  assert.deepStrictEqual(unknown, []);
});

test('the complete library exports every row, the partial one lacks what its list says', () => {
  const {names} = JSON.parse(fs.readFileSync(path.join(__dirname, 'missing.json'), 'utf8'));
  assert.deepStrictEqual(recorder.missing(paths.recorderLibrary), []);
  assert.deepStrictEqual(recorder.missing(paths.partialLibrary), names);
});

test('each entry point can be called with zeros', () => {
  for (const row of recorder.rows) {
    recorder.call(row.name, row.parameters.map(() => 0));
    assert.strictEqual(recorder.count(row.name), 1, row.name);
  }
  recorder.clear();
  recorder.check();
});

test('the layouts agree with the pins in the headers', () => {
  assert.ok(pins.sizes.length > 30 && pins.offsets.length > 300);
  for (const [record, size] of pins.sizes) assert.strictEqual(layout(record).size, size, record);
  for (const [record, name, offset] of pins.offsets) {
    const field = layout(record).fields.find((one) => one.name === name);
    assert.strictEqual(field && field.offset, offset, `${record}.${name}`);
  }
});

test('every setter of a callback has an event, and each event is a record', () => {
  const setters = recorder.rows
    .filter((row) => row.parameters.some((one) => one.type === 'const CallbackDescriptor*'))
    .map((row) => row.name);
  assert.deepStrictEqual(Object.keys(EVENTS).sort(), setters.sort());
  for (const name of Object.values(EVENTS)) assert.ok(records[name], name);
});
