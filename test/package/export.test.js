// Exports on the engine: written, read again and written again.
'use strict';

const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { after, test } = require('node:test');
const kiln = require('../../lib/index.js');
const { ROOT } = require('./program.js');

const ROOM = path.join(ROOT, 'examples', 'room.toml');
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-export-'));
after(() => fs.rmSync(folder, { recursive: true }));
const file = (name) => path.join(folder, name);

async function withScene(scene, work) {
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  try {
    await renderer.promises.load(scene);
    return await work(renderer);
  } finally {
    await renderer.promises.close();
  }
}

/** All plugins with their properties as text. */
function contents(renderer) {
  return [...renderer.plugins].map((plugin) => {
    const values = Object.keys(plugin).map((key) => [key, plugin.getValueAsString(key)]);
    return [plugin.getName(), plugin.getType(), values];
  });
}

test('a scene comes back as it was, and a second export gives the same bytes', async () => {
  const before = await withScene(ROOM, async (renderer) => {
    await renderer.promises.export(file('first.toml'));
    return contents(renderer);
  });
  assert.ok(before.length > 10);
  const again = await withScene(file('first.toml'), (renderer) => {
    assert.strictEqual(renderer.exportSync(file('second.toml')), true);
    return contents(renderer);
  });
  assert.deepStrictEqual(again, before);
  assert.ok(fs.readFileSync(file('first.toml')).equals(fs.readFileSync(file('second.toml'))));
});

test('an export of some plugins has what they refer to', () =>
  withScene(ROOM, async (renderer) => {
    const { floor } = renderer.plugins;
    await renderer.promises.export(file('part.toml'), { pluginExportList: [floor], printHeader: false });
    await withScene(file('part.toml'), (part) => {
      const names = Object.keys(part.plugins);
      assert.ok(names.includes('floor') && names.includes(floor.material.getName()));
      assert.ok(!names.includes('lamp') && names.length < renderer.plugins.length);
    });
  }));

test('the header names the program that exports', () =>
  withScene(ROOM, (renderer) => {
    assert.ok(renderer.exportSync(file('header.toml'), { hostAppString: 'the tests' }));
    assert.match(fs.readFileSync(file('header.toml'), 'utf8'), /^#.*the tests/m);
    assert.ok(renderer.exportSync(file('plain.toml'), { printHeader: false, hostAppString: 'the tests' }));
    assert.doesNotMatch(fs.readFileSync(file('plain.toml'), 'utf8'), /the tests/);
  }));

test('what a filter made of a scene is what is exported', () =>
  withScene(ROOM, async (renderer) => {
    await renderer.promises.loadFiltered(ROOM, (type, name) => !type.startsWith('Light') && `my_${name}`);
    await renderer.promises.export(file('filtered.toml'));
    await withScene(file('filtered.toml'), (filtered) => assert.deepStrictEqual(contents(filtered), contents(renderer)));
  }));

test('an export that fails leaves no file', () =>
  withScene(ROOM, async (renderer) => {
    const nowhere = path.join(folder, 'no', 'where.toml');
    await assert.rejects(renderer.promises.export(nowhere), { message: 'Error exporting scene' });
    assert.strictEqual(renderer.exportSync(nowhere), false);
    assert.ok(!fs.existsSync(nowhere));
    assert.strictEqual(renderer.serializeScene(), true);
  }));
