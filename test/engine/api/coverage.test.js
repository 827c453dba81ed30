'use strict';
// The page on what the engine answers is current, and its list names only entry points.

const assert = require('assert');
const fs = require('fs');
const test = require('node:test');

const { entryPoints, page, pending, PAGE } = require('../../../tools/engine-coverage');

test('the page says what the list says', () => {
  assert.strictEqual(fs.readFileSync(PAGE, 'utf8'), page(), 'run node tools/engine-coverage.js');
});

test('the list names entry points, each once and under a subject', () => {
  const names = new Set(entryPoints().map((row) => row.name));
  assert.strictEqual(names.size, 341);
  const listed = pending();
  for (const [name, [subject]] of listed) {
    assert.ok(names.has(name), name);
    assert.ok(subject, name);
  }
  const lines = fs.readFileSync(require.resolve('../../../engine/api/pending.h'), 'utf8').match(/^#define PENDING_/gm);
  assert.strictEqual((lines || []).length, listed.size);
});
