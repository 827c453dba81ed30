// The command line on the engine: pictures, progress, failures and their exit codes, interruption.
'use strict';

const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { after, test } = require('node:test');
const { ROOT, runKiln } = require('./program.js');
const { version } = require('../../package.json');

const ROOM = path.join(ROOT, 'examples', 'room.toml');
const MODEL = '/usr/share/assimp/models/glTF2/BoxTextured-glTF/BoxTextured.gltf';
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-cli-'));
after(() => fs.rmSync(folder, { recursive: true }));

const inFolder = (name) => path.join(folder, name);
fs.mkdirSync(inFolder('folder.png'));
const fast = ['--size', '32x24', '--samples', '1'];

const SIGNATURES = {
  png: [0x89, 0x50, 0x4e, 0x47],
  jpg: [0xff, 0xd8, 0xff],
  bmp: [0x42, 0x4d],
  tif: [0x49, 0x49, 0x2a, 0x00],
  exr: [0x76, 0x2f, 0x31, 0x01],
};
for (const [extension, signature] of Object.entries(SIGNATURES)) {
  test(`renders the example room to .${extension}`, async () => {
    const output = inFolder(`room.${extension}`);
    const result = await runKiln(['render', ROOM, '-o', output, ...fast]);
    assert.strictEqual(result.code, 0, result.stderr);
    assert.match(result.stdout, /^Wrote .*room\.\w+, 32 x 24, in \d+ s\n$/);
    assert.deepStrictEqual([...fs.readFileSync(output).subarray(0, signature.length)], signature);
  });
}

test('the picture is not empty, and the screen form is brighter than linear light', async () => {
  const kiln = require('../../lib/index.js');
  const mean = (image) => image.getPixelData().reduce((sum, value, index) => (index % 4 < 3 ? sum + value : sum), 0);
  assert.strictEqual((await runKiln(['render', ROOM, '-o', inFolder('screen.png'), ...fast])).code, 0);
  const screen = new kiln.KilnImage(fs.readFileSync(inFolder('screen.png')), 'png');
  assert.deepStrictEqual([screen.width, screen.height], [32, 24]);
  const total = mean(screen);
  assert.ok(total > 32 * 24 * 3 * 0.05, `mean value ${total / (32 * 24 * 3)}`);
  screen.close();
});

test('a model needs no scene of ours', { skip: !fs.existsSync(MODEL) && 'assimp-testmodels is not installed' }, async () => {
  const result = await runKiln(['render', MODEL, '-o', inFolder('box.png'), ...fast]);
  assert.strictEqual(result.code, 0, result.stderr);
  assert.ok(fs.statSync(inFolder('box.png')).size > 100);
});

test('--json is one line that a program reads', async () => {
  const result = await runKiln(['render', ROOM, '-o', inFolder('json.png'), '--json', ...fast]);
  assert.strictEqual(result.code, 0, result.stderr);
  const { ok, output, width, height, seconds } = JSON.parse(result.stdout);
  assert.deepStrictEqual([ok, output, width, height], [true, inFolder('json.png'), 32, 24]);
  assert.ok(seconds > 0);
  assert.strictEqual(result.stdout.trim().split('\n').length, 1);
});

test('progress comes in plain lines where there is no terminal', async () => {
  const result = await runKiln(['render', ROOM, '-o', inFolder('plain.png'), '--size', '96x96', '--samples', '2']);
  assert.strictEqual(result.code, 0, result.stderr);
  assert.match(result.stderr, /^100 % {2}\w+$/m);
  assert.ok(!result.stderr.includes('\x1b'));
});

test('the same picture comes from one thread and from two', async () => {
  for (const threads of ['1', '2']) {
    const args = ['render', ROOM, '-o', inFolder(`t${threads}.exr`), '--threads', threads, ...fast];
    assert.strictEqual((await runKiln(args)).code, 0);
  }
  assert.ok(fs.readFileSync(inFolder('t1.exr')).equals(fs.readFileSync(inFolder('t2.exr'))));
});

test('a sequence is a file a frame, numbered', async () => {
  const result = await runKiln(['render', ROOM, '-o', inFolder('turn_##.png'), '--frames', '1-5:2,9', ...fast]);
  assert.strictEqual(result.code, 0, result.stderr);
  assert.match(result.stdout, /^Wrote 4 files, .*turn_01\.png to turn_09\.png, 32 x 24, in \d+ s\n$/);
  assert.match(result.stderr, /frame 4 of 4/);
  for (const number of ['01', '03', '05', '09']) assert.ok(fs.existsSync(inFolder(`turn_${number}.png`)), number);
});

test('a sequence shows what moves', async () => {
  const scene = inFolder('moving.toml');
  fs.writeFileSync(scene, fs.readFileSync(ROOM, 'utf8').replace('intensity = 14', 'intensity = { "1" = 0, "2" = 14 }'));
  const result = await runKiln(['render', scene, '-o', inFolder('moving.png'), '--frames', '1-2', '--json', ...fast]);
  assert.strictEqual(result.code, 0, result.stderr);
  const { files } = JSON.parse(result.stdout);
  assert.deepStrictEqual(files, [inFolder('moving.0001.png'), inFolder('moving.0002.png')]);
  const [dark, bright] = files.map((file) => fs.statSync(file).size);
  assert.ok(dark < bright / 2, `${dark} bytes of black, ${bright} of light`);
});

test('a sequence that is interrupted keeps the frames that are done', async () => {
  const args = ['render', ROOM, '-o', inFolder('cut.png'), '--frames', '1-40', '--size', '64x64', '--samples', '4'];
  let interrupted = false;
  const result = await runKiln(args, {
    onOutput(text, child) {
      if (interrupted || !text.includes('frame')) return;
      interrupted = true;
      child.kill('SIGINT');
    },
  });
  assert.strictEqual(result.code, 130, result.stderr);
  const [, count] = /kiln: Interrupted: (\d+) frames were written\.\n$/.exec(result.stderr);
  assert.ok(Number(count) >= 2);
  const written = fs.readdirSync(folder).filter((name) => /^cut\.\d+\.png$/.test(name));
  assert.strictEqual(written.length, Number(count));
});

test('a region alone is rendered', async () => {
  const args = ['render', ROOM, '-o', inFolder('part.png'), '--region', '8,6,16,12', '--opaque', ...fast];
  const result = await runKiln(args);
  assert.strictEqual(result.code, 0, result.stderr);
  const kiln = require('../../lib/index.js');
  const image = new kiln.KilnImage(fs.readFileSync(inFolder('part.png')), 'png');
  assert.deepStrictEqual([image.width, image.height], [32, 24]);
  const pixels = image.getPixelData();
  const lit = (x, y) => pixels[(y * 32 + x) * 4] + pixels[(y * 32 + x) * 4 + 1] + pixels[(y * 32 + x) * 4 + 2];
  let [inside, outside] = [0, 0];
  for (let y = 0; y < 24; y++) {
    for (let x = 0; x < 32; x++) {
      if (x >= 8 && x < 24 && y >= 6 && y < 18) inside += lit(x, y);
      else outside += lit(x, y);
    }
  }
  assert.ok(inside > 1);
  assert.strictEqual(outside, 0);
  assert.strictEqual(pixels[3], 1, '--opaque has no transparency');
});

test('elements are files beside a picture: colours like it, the rest as .exr', async () => {
  const args = ['render', ROOM, '-o', inFolder('beside.png'), '--elements', 'gi,z_depth', '--json', ...fast];
  const result = await runKiln(args);
  assert.strictEqual(result.code, 0, result.stderr);
  const { files } = JSON.parse(result.stdout);
  assert.deepStrictEqual(files, ['beside.png', 'beside.gi.png', 'beside.z_depth.exr'].map(inFolder));
  for (const file of files) assert.ok(fs.statSync(file).size > 100, file);
});

test('elements are layers of an .exr', async () => {
  const args = ['render', ROOM, '-o', inFolder('layers.exr'), '--elements', 'gi,z_depth,normals', '--denoise', ...fast];
  const result = await runKiln(args);
  assert.strictEqual(result.code, 0, result.stderr);
  assert.match(result.stdout, /^Wrote .*layers\.exr, 32 x 24/);
  const head = fs.readFileSync(inFolder('layers.exr')).subarray(0, 1000).toString('latin1');
  const channels = ['A', 'B', 'G', 'R', 'gi.B', 'gi.G', 'gi.R', 'normals.X', 'normals.Y', 'normals.Z', 'z_depth.Y'];
  for (const name of channels) assert.ok(head.includes(`${name}\0`), name);
});

test('elements of a sequence have the number of their frame', async () => {
  const args = ['render', ROOM, '-o', inFolder('both_##.jpg'), '--frames', '1-2', '--elements', 'z_depth', '--json', ...fast];
  const { files } = JSON.parse((await runKiln(args)).stdout);
  const names = ['both_01.jpg', 'both_01.z_depth.exr', 'both_02.jpg', 'both_02.z_depth.exr'];
  assert.deepStrictEqual(files, names.map(inFolder));
  for (const file of files) assert.ok(fs.existsSync(file), file);
});

test('an element that is almost right is suggested', async () => {
  const result = await runKiln(['render', ROOM, '-o', inFolder('x.png'), '--elements', 'z_deph', ...fast]);
  assert.strictEqual(result.code, 2);
  assert.match(result.stderr, /There is no render element "z_deph": did you mean z_depth\?/);
});

test('a denoised picture is smoother', async () => {
  const kiln = require('../../lib/index.js');
  const roughness = async (name, ...more) => {
    const output = inFolder(`${name}.png`);
    const result = await runKiln(['render', ROOM, '-o', output, '--size', '64x64', '--samples', '4', ...more]);
    assert.strictEqual(result.code, 0, result.stderr);
    const image = new kiln.KilnImage(fs.readFileSync(output), 'png');
    const pixels = image.getPixelData();
    let sum = 0;
    for (let i = 0; i + 4 < pixels.length; i += 4) sum += Math.abs(pixels[i] - pixels[i + 4]);
    return sum;
  };
  const [noisy, smooth] = [await roughness('noisy'), await roughness('smooth', '--denoise')];
  assert.ok(smooth < noisy * 0.7, `${smooth} against ${noisy}`);
});

test('a model becomes a scene text that renders the same', { skip: !fs.existsSync(MODEL) && 'assimp-testmodels is not installed' }, async () => {
  const result = await runKiln(['convert', MODEL, inFolder('box.toml')]);
  assert.strictEqual(result.code, 0, result.stderr);
  assert.match(result.stdout, /^Wrote .*box\.toml, \d+ plugins\n$/);
  for (const [scene, name] of [[MODEL, 'model.exr'], [inFolder('box.toml'), 'text.exr']]) {
    const render = await runKiln(['render', scene, '-o', inFolder(name), ...fast]);
    assert.strictEqual(render.code, 0, render.stderr);
  }
  assert.ok(fs.readFileSync(inFolder('model.exr')).equals(fs.readFileSync(inFolder('text.exr'))));
});

test('a scene text that is converted twice stays as it is', async () => {
  const json = JSON.parse((await runKiln(['convert', ROOM, inFolder('once.toml'), '--json'])).stdout);
  assert.deepStrictEqual([json.ok, json.output], [true, inFolder('once.toml')]);
  assert.ok(json.plugins > 10);
  assert.strictEqual((await runKiln(['convert', inFolder('once.toml'), inFolder('twice.toml')])).code, 0);
  assert.ok(fs.readFileSync(inFolder('once.toml')).equals(fs.readFileSync(inFolder('twice.toml'))));
});

const failures = [
  ['a scene that is not there', ['render', 'nowhere.toml', '-o', inFolder('x.png')], 1, /nowhere\.toml does not exist: check its path/],
  ['a folder that is not there', ['render', ROOM, '-o', inFolder('no/x.png')], 1, /no does not exist: create it/],
  ['a folder as the picture', ['render', ROOM, '-o', 'x.gif'], 2, /must end in \.png/],
  ['a folder as the scene', ['render', ROOM.replace('room.toml', ''), '-o', inFolder('x.png')], 1, /is a folder: name a scene/],
  ['a folder as the file', ['render', ROOM, '-o', inFolder('folder.png')], 1, /folder\.png is a folder: name a file in it/],
  ['a region beyond the picture', ['render', ROOM, '-o', inFolder('x.png'), '--size', '32x24', '--region', '20,0,20,10'], 1, /does not lie in the picture, which is 32 x 24/],
  ['a command that is not there', ['draw'], 2, /There is no command "draw"/],
  ['a command that is almost right', ['redner'], 2, /There is no command "redner": did you mean render\?/],
  ['no command', [], 2, /Name a command: render, convert, classes, info/],
];
for (const [name, args, code, message] of failures) {
  test(`fails with one sentence: ${name}`, async () => {
    const result = await runKiln(args);
    assert.strictEqual(result.code, code);
    assert.strictEqual(result.stdout, '');
    assert.match(result.stderr, message);
    assert.match(result.stderr, /^kiln: [^\n]+\n$/);
  });
}

test('a file that cannot be written is told before the render', { skip: !fs.existsSync('/proc/self') && 'there is no /proc' }, async () => {
  const result = await runKiln(['render', ROOM, '-o', '/proc/self/x.png']);
  assert.strictEqual(result.code, 1);
  assert.match(result.stderr, /^kiln: \/proc\/self\/x\.png cannot be written \(E\w+\): change the permissions, or write elsewhere\.\n$/);
});

test('a scene with a mistake is refused with file and line', async () => {
  fs.writeFileSync(inFolder('wrong.toml'), '[a]\nclass = "LightPoint"\nbrightness = 3\n');
  const result = await runKiln(['render', inFolder('wrong.toml'), '-o', inFolder('x.png')]);
  assert.strictEqual(result.code, 1);
  assert.match(result.stderr, /wrong\.toml could not be loaded: .*line 3.*brightness/);
  assert.ok(!fs.existsSync(inFolder('x.png')));
});

test('a scene without a camera says so', async () => {
  fs.writeFileSync(inFolder('dark.toml'), '[a]\nclass = "LightPoint"\n');
  const result = await runKiln(['render', inFolder('dark.toml'), '-o', inFolder('x.png'), '--json']);
  assert.strictEqual(result.code, 1);
  assert.match(result.stderr, /camera/i);
  assert.strictEqual(JSON.parse(result.stdout).ok, false);
});

test('a camera that is not there says so', async () => {
  const result = await runKiln(['render', ROOM, '-o', inFolder('x.png'), '--camera', 'nobody', ...fast]);
  assert.strictEqual(result.code, 1);
  assert.match(result.stderr, /^kiln: There is no camera "nobody" in the scene: it has camera\.$/m);
});

test('no library is an exit code of its own', async () => {
  const env = { KILN_ENGKIT_BIN: folder };
  const render = await runKiln(['render', ROOM, '-o', inFolder('x.png')], { env });
  assert.strictEqual(render.code, 3);
  assert.match(render.stderr, /No rendering library could be used .*set KILN_ENGKIT_BIN/);
  const info = await runKiln(['info', '--json'], { env });
  assert.strictEqual(info.code, 3);
  assert.strictEqual(JSON.parse(info.stdout).bound, false);
});

test('no add-on is one sentence too', async () => {
  const result = await runKiln(['info'], { env: { KILN_BUILD_DIR: folder } });
  assert.strictEqual(result.code, 3);
  assert.match(result.stderr, /^kiln: The add-on .* does not exist: build it with "npm run build"[^\n]*\n$/);
});

test('an interrupt stops the render, writes nothing and leaves with 130', async () => {
  // The first tenth is the sign that it runs; the rest would take ten times as long.
  const args = ['render', ROOM, '-o', inFolder('never.png'), '--size', '256x256', '--samples', '100'];
  let interrupted = false;
  const result = await runKiln(args, {
    onOutput(text, child) {
      if (interrupted) return;
      interrupted = true;
      child.kill('SIGINT');
    },
  });
  assert.deepStrictEqual([result.code, result.signal], [130, null], result.stderr);
  assert.match(result.stderr, /kiln: Interrupted: nothing was written\.\n$/);
  assert.ok(!fs.existsSync(inFolder('never.png')));
});

test('info tells versions and the library', async () => {
  const result = await runKiln(['info', '--json']);
  assert.strictEqual(result.code, 0, result.stderr);
  const info = JSON.parse(result.stdout);
  assert.strictEqual(info.package, version);
  assert.strictEqual(info.node, process.versions.node);
  assert.strictEqual(info.bound, true);
  assert.deepStrictEqual(info.missing, []);
  const text = await runKiln(['info']);
  assert.match(text.stdout, new RegExp(`^package {2}${version}$`, 'm'));
  assert.match(text.stdout, /^state {4}bound$/m);
});

test('help and version', async () => {
  for (const args of [['--help'], ['-h'], ['render', '--help'], ['render', '-h']]) {
    const help = await runKiln(args);
    assert.strictEqual(help.code, 0);
    assert.match(help.stdout, /kiln render SCENE -o PICTURE/);
  }
  assert.strictEqual((await runKiln(['--version'])).stdout, `kiln ${version}\n`);
});
