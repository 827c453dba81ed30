// The programs of examples/ run as they stand, at a small size, and write what they say.
'use strict';

const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { after, test } = require('node:test');
const { ROOT, runNode } = require('./program.js');
const kiln = require('../../lib/index.js');

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-examples-'));
after(() => fs.rmSync(folder, { recursive: true }));

const inFolder = (name) => path.join(folder, name);

/** Runs an example with few samples; resolves to what it printed. */
async function runExample(name, args = []) {
  const result = await runNode([path.join('examples', name), ...args], { env: { KILN_RENDER_SAMPLES: '1' } });
  assert.strictEqual(result.code, 0, result.stderr);
  return result.stdout;
}

/** The share of a picture's values that are not black, and its size. */
function lookAt(file) {
  const image = new kiln.KilnImage(fs.readFileSync(file), 'png');
  const colors = image.getPixelData().filter((_, index) => index % 4 < 3);
  const facts = { width: image.width, height: image.height, lit: colors.filter((value) => value > 0).length / colors.length };
  image.close();
  return facts;
}

test('every example is run by a test', () => {
  const text = fs.readFileSync(__filename, 'utf8');
  const programs = fs.readdirSync(path.join(ROOT, 'examples')).filter((name) => /\.m?js$/.test(name));
  assert.ok(programs.length > 2);
  assert.deepStrictEqual(programs.filter((name) => !text.includes(`'${name}'`)), []);
});

test('render.js', async () => {
  await runExample('render.js', [inFolder('room.png')]);
  assert.ok(lookAt(inFolder('room.png')).lit > 0.5);
});

test('buckets.mjs', async () => {
  assert.match(await runExample('buckets.mjs', [inFolder('buckets.png')]), /^\d+ buckets\n$/);
  assert.ok(lookAt(inFolder('buckets.png')).lit > 0.5);
});

test('build-scene.js builds, animates, changes, reads back and renders', async () => {
  const told = await runExample('build-scene.js', [inFolder('scene.png'), '64', '36', '1']);
  const { width, height, lit } = lookAt(inFolder('scene.png'));
  assert.deepStrictEqual([width, height], [64, 36]);
  assert.ok(lit > 0.9, `${lit} of the picture is lit`);
  assert.match(told, /^floorMaterial \(MaterialPrincipled\)\n {2}baseColor = tiles \(Texture\)$/m);
  assert.match(told, /^ {2}vertices = VectorList\(Vector\(.*15358 more items\) \(List<Vector>\)$/m);
  assert.match(told, /^ {2}baseColor = Color\(0\.025, 0\.25, 0\.275\)/m);
  assert.match(told, /^The knot has key frames at 0, 1, 2\.$/m);
  assert.match(told, /^Roughness, of every MaterialPrincipled: \w/m);
});

test('sequence.js turns the block over the frames', async () => {
  const told = await runExample('sequence.js', [folder, '3', '48', '48']);
  assert.match(told, /turn\.0001\.png, idleFrameDone\n.*turn\.0002\.png, idleFrameDone\n.*turn\.0003\.png, idleDone\n$/);
  const frames = [1, 2, 3].map((frame) => fs.readFileSync(inFolder(`turn.000${frame}.png`)));
  assert.ok(!frames[0].equals(frames[1]), 'the block has moved');
  assert.ok(lookAt(inFolder('turn.0003.png')).lit > 0.5);
});

test('interactive.js gets a picture for every edit', async () => {
  const told = await runExample('interactive.js', [inFolder('session.png'), '48', '48']);
  assert.strictEqual((told.match(/the picture came after \d+ ms/g) || []).length, 3);
  assert.match(told, /^The render pauses\.$/m);
  assert.ok(lookAt(inFolder('session.png')).lit > 0.5);
});

test('elements.js writes every channel, and reads the depths', async () => {
  const told = await runExample('elements.js', [folder, '32', '32']);
  for (const type of ['lighting', 'gi', 'z_depth', 'normals', 'denoised']) {
    const bytes = fs.readFileSync(inFolder(`room.${type}.exr`));
    assert.deepStrictEqual([...bytes.subarray(0, 4)], [0x76, 0x2f, 0x31, 0x01], type);
  }
  const [, near, far] = /^From ([\d.]+) m to ([\d.]+) m away$/m.exec(told);
  assert.ok(Number(near) > 3 && Number(far) < 6 && Number(near) < Number(far), told);
});

test('picking.js draws what is where', async () => {
  const lines = (await runExample('picking.js', ['32'])).trim().split('\n');
  assert.ok(lines.slice(0, 16).every((line) => /^[a-z ]{32}$/.test(line.padEnd(32))), lines.join('\n'));
  const legend = lines.slice(16).join('\n');
  for (const name of ['lamp', 'tall', 'low', 'floor', 'left', 'right']) assert.match(legend, new RegExp(`^[a-z] ${name}, a \\w+$`, 'm'));
  assert.match(legend, /^tall is \d\.\d\d m away\nback is \d\.\d\d m away$/m);
});
