// `kiln classes` on the engine: the list by category, one class with its properties, JSON, and misspelt names.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { runKiln } = require('./program.js');
const { didYouMean, nearestNames } = require('../../lib/cli/nearest.js');
const kiln = require('../../lib/index.js');

/** Runs work with a renderer that is closed behind it. */
function withRenderer(work) {
  const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
  try {
    return work(renderer);
  } finally {
    renderer.close();
  }
}

test('every class stands in the list, below each of its categories', async () => {
  const { code, stdout, stderr } = await runKiln(['classes']);
  assert.strictEqual(code, 0, stderr);
  const listed = new Map();
  let category;
  for (const line of stdout.split('\n')) {
    if (/^\w+$/.test(line)) listed.set((category = line), []);
    else if (line !== '') listed.get(category).push(/^ {2}(\w+) {2,}\S/.exec(line)[1]);
  }
  withRenderer(({ classCategories }) => {
    const expected = Object.keys(classCategories).map((name) => [name, Object.keys(classCategories[name])]);
    assert.deepStrictEqual([...listed], expected.filter(([, names]) => names.length > 0));
  });
  assert.ok(listed.get('Light').length > 3);
});

test('a category by its name', async () => {
  const { stdout } = await runKiln(['classes', 'Volumetric']);
  assert.match(stdout, /^Volumetric\n {2}VolumeHomogeneous {2}Fills/);
  assert.strictEqual(stdout.trim().split('\n').length, 2);
});

test('a class with its properties: type, default and description', async () => {
  const { code, stdout } = await runKiln(['classes', 'LightSpot']);
  assert.strictEqual(code, 0);
  assert.match(stdout, /^LightSpot \(Light\)\nA cone of light/);
  assert.match(stdout, /^ {2}property {2,}type {2,}default {2,}description$/m);
  assert.match(stdout, /^ {2}transform {2,}Transform {2,}identity {2,}Place/m);
  assert.match(stdout, /^ {2}color {2,}Color {2,}1, 1, 1 {2,}/m);
  assert.match(stdout, /^ {2}enabled {2,}boolean {2,}true {2,}/m);
});

test('every class of the library can be shown, its floats in few digits and its aliases named', async () => {
  const text = await Promise.all(['BsdfClearcoat', 'LightMesh', 'TextureGradient', 'GeomStaticMesh'].map(async (name) => {
    const { stdout, stderr } = await runKiln(['classes', name]);
    assert.strictEqual(stderr, '');
    return stdout;
  }));
  assert.match(text[0], /^ {2}roughness {2,}TextureFloat {2,}0\.1 {2,}/m);
  assert.match(text[0], /^ {2}normalMap {2,}Texture {2,}none {2,}/m);
  assert.match(text[1], /^ {2}enabled .*Also called visible\.$/m);
  assert.match(text[2], /^ {2}positions {2,}List<float> {2,}FloatList\(0, 1\)/m);
  assert.match(text[3], /^ {2}vertices {2,}List<Vector> {2,}empty {2,}/m);
});

test('--json of the list and of a class is the metadata, with plain values', async () => {
  const list = JSON.parse((await runKiln(['classes', '--json'])).stdout);
  withRenderer((renderer) => {
    assert.deepStrictEqual(list.classes.map(({ name }) => name), Object.keys(renderer.classes));
  });
  const one = JSON.parse((await runKiln(['classes', 'LightSpot', '--json'])).stdout);
  assert.deepStrictEqual([one.name, one.categories], ['LightSpot', ['Light']]);
  const byName = Object.fromEntries(one.properties.map((meta) => [meta.name, meta]));
  assert.deepStrictEqual(byName.transform.defaultValue, [1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0]);
  assert.deepStrictEqual(byName.color.defaultValue, [1, 1, 1]);
  assert.strictEqual(byName.intensity.type, 'float');
});

test('a misspelt name is refused with the nearest ones', async () => {
  const { code, stdout, stderr } = await runKiln(['classes', 'ligthspot']);
  assert.deepStrictEqual([code, stdout], [2, '']);
  assert.strictEqual(stderr, 'kiln: There is no class or category "ligthspot": did you mean LightSpot?\n');
  const wild = await runKiln(['classes', 'Xylophone', '--json']);
  assert.strictEqual(wild.stderr, 'kiln: There is no class or category "Xylophone".\n');
  assert.strictEqual(JSON.parse(wild.stdout).ok, false);
  // The names of members that objects inherit are no classes.
  assert.strictEqual((await runKiln(['classes', 'constructor'])).code, 2);
});

test('the nearest names come in their order, three at most', () => {
  const names = ['LightSpot', 'LightSphere', 'LightPoint', 'LightDome', 'GeomPlane'];
  assert.deepStrictEqual(nearestNames('lightspto', names), ['LightSpot']);
  assert.deepStrictEqual(nearestNames('light', names).length, 3);
  assert.deepStrictEqual(nearestNames('plane', names), ['GeomPlane']);
  assert.deepStrictEqual(nearestNames('q', names), []);
  assert.strictEqual(didYouMean('a', ['b', 'c', 'd', 'a']), ': did you mean a, b or c?');
  assert.strictEqual(didYouMean('zzz', []), '.');
});
