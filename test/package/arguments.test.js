// The command line's reading of its arguments, and its display, without a renderer.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { readClasses, readConvert, readInfo, readRender } = require('../../lib/cli/arguments.js');
const { EXIT } = require('../../lib/cli/failure.js');
const { countFrames, eachFrame, elementFile, frameFile, readFrames } = require('../../lib/cli/frames.js');
const { Progress, formatSeconds } = require('../../lib/cli/progress.js');

test('all options are read, with a blank or an equals sign', () => {
  const options = readRender([
    'scene.toml', '-o', 'out/a.png', '--size=320x200', '--samples', '16', '--time-limit=2.5', '--camera', 'side',
    '--threads', '3', '--bits', '16', '--json', '-v',
  ]);
  assert.deepStrictEqual(options, {
    operands: ['scene.toml'], scene: 'scene.toml', output: 'out/a.png', type: 'png', bits: 16,
    size: { width: 320, height: 200 }, samples: 16, timeLimit: 2.5, camera: 'side', threads: 3, json: true, verbose: true,
  });
});

test('the extension chooses the format and its bits', () => {
  const chosen = (output) => {
    const { type, bits } = readRender(['a', '-o', output]);
    return `${type} ${bits}`;
  };
  assert.deepStrictEqual(['a.PNG', 'a.jpg', 'a.bmp', 'a.tif', 'a.exr', 'b.c/d.jpeg'].map(chosen), [
    'png 8', 'jpg 8', 'bmp 8', 'tif 16', 'exr 32', 'jpeg 8',
  ]);
});

const refusals = [
  [[], /Name the scene to render/],
  [['a', 'b', '-o', 'c.png'], /Only one scene/],
  [['a'], /Name the picture to write with -o\. /],
  [['a', 'b.png'], /Name the picture to write with -o, as in -o b\.png\./],
  [['a', '-o'], /--output needs a value/],
  [['a', '-o', 'c.gif'], /must end in \.png/],
  [['a', '-o', 'noextension'], /must end in \.png/],
  [['a', '-o', 'c.png', '--size', '10'], /--size takes a width and a height/],
  [['a', '-o', 'c.png', '--size', '0x5'], /--size takes a whole number from 1/],
  [['a', '-o', 'c.png', '--samples', '1.5'], /--samples takes a whole number/],
  [['a', '-o', 'c.png', '--samples', '-3'], /--samples takes a whole number/],
  [['a', '-o', 'c.png', '--time-limit', '0'], /--time-limit takes a number of seconds above 0/],
  [['a', '-o', 'c.png', '--time-limit', 'soon'], /--time-limit takes a number of seconds/],
  [['a', '-o', 'c.png', '--threads', '0'], /--threads takes a whole number/],
  [['a', '-o', 'c.png', '--bits', '32'], /--bits 32 does not fit \.png: it can carry 8, 16/],
  [['a', '-o', 'c.png', '--quality', '50'], /--quality is for \.jpg alone/],
  [['a', '-o', 'c.png', '--frames', 'x'], /--frames takes frames as in 7, 1-100 or 1-100:2,150, not "x"/],
  [['a', '-o', 'c.png', '--frames', '1-'], /--frames takes frames/],
  [['a', '-o', 'c.png', '--frames', '9-1'], /--frames: 9-1 ends before it starts/],
  [['a', '-o', 'c.png', '--frames', '1-9:0'], /--frames takes a step of at least 1, not 0/],
  [['a', '-o', 'c.png', '--frames', '1-9999999'], /--frames means 9999999 frames: 1000000 are the most/],
  [['a', '-o', 'c.png', '--frames', '3000000000'], /frames go up to 2147483647/],
  [['a', '-o', 'c.png', '--frames', '1-2', '--time-limit', '2'], /--frames and --time-limit do not go together/],
  [['a', '-o', 'c.png', '--region', '1,2,3'], /--region takes left, top, width and height in pixels as in 100,50,320,200/],
  [['a', '-o', 'c.png', '--region', '1,2,0,4'], /--region takes a whole number from 1/],
  [['a', '-o', 'c.png', '--region', '-1,2,3,4'], /--region takes left, top/],
  [['a', '-o', 'c.png', '--elements', 'a,,b'], /--elements takes names with commas between them/],
  [['a', '-o', 'c.png', '--json=yes'], /--json takes no value/],
  [['a', '-o', 'c.png', '--frobnicate'], /There is no option --frobnicate/],
];
for (const [args, message] of refusals) {
  test(`refuses: render ${args.join(' ')}`, () => {
    assert.throws(() => readRender(args), (error) => {
      assert.match(error.message, message);
      assert.match(error.message, /See "kiln --help"\.$/);
      return error.exitCode === EXIT.USAGE;
    });
  });
}

test('the options of sequences, elements and regions are read', () => {
  const { frames, elements, region, denoise, opaque } = readRender([
    'a', '-o', 'b.png', '--frames', '1-9:4,20', '--elements=z_depth, normals,z_depth', '--region', '10,20, 30,40', '--denoise', '--opaque',
  ]);
  assert.deepStrictEqual(frames, [{ start: 1, end: 9, step: 4 }, { start: 20, end: 20, step: 1 }]);
  assert.deepStrictEqual(elements, ['z_depth', 'normals']);
  assert.deepStrictEqual(region, { left: 10, top: 20, width: 30, height: 40 });
  assert.deepStrictEqual([denoise, opaque], [true, true]);
});

test('frames come in their order, also negative ones', () => {
  const list = (text) => [...eachFrame(readFrames(text, '--frames'))];
  assert.deepStrictEqual(list('1-10:3'), [1, 4, 7, 10]);
  assert.deepStrictEqual(list('1-9:3'), [1, 4, 7]);
  assert.deepStrictEqual(list('5, 1-2'), [5, 1, 2]);
  assert.deepStrictEqual(list('-2-1'), [-2, -1, 0, 1]);
  assert.deepStrictEqual(list('-5--3'), [-5, -4, -3]);
  assert.strictEqual(countFrames(readFrames('1-100:2,7', '--frames')), 51);
});

test('the number of a frame stands in the name of its file', () => {
  assert.strictEqual(frameFile('out/a.png', 7), 'out/a.0007.png');
  assert.strictEqual(frameFile('out/a.####.png', 7), 'out/a.0007.png');
  assert.strictEqual(frameFile('a_##.png', 123), 'a_123.png');
  assert.strictEqual(frameFile('a-%03d.exr', 7), 'a-007.exr');
  assert.strictEqual(frameFile('a%d.exr', 7), 'a7.exr');
  assert.strictEqual(frameFile('##/a.png', 7), '##/a.0007.png');
  assert.strictEqual(frameFile('shot#1.####.png', 7), 'shot#1.0007.png');
  assert.strictEqual(frameFile('a.####.png', -7), 'a.-0007.png');
  assert.strictEqual(frameFile('a', 12345), 'a.12345');
  assert.strictEqual(frameFile(elementFile('out/a.png', 'z_depth'), 1), 'out/a.z_depth.0001.png');
  assert.strictEqual(frameFile(elementFile('a.####.exr', 'normals'), 1), 'a.0001.normals.exr');
});

test('convert takes what it reads and a scene text to write', () => {
  assert.deepStrictEqual(readConvert(['a.glb', 'b.toml', '--json']), { input: 'a.glb', output: 'b.toml', json: true });
  assert.throws(() => readConvert(['a.glb']), /Name the scene to read and the scene text to write/);
  assert.throws(() => readConvert(['a.glb', 'b.obj']), /The output "b\.obj" must end in \.toml/);
});

test('info takes --json and nothing else', () => {
  assert.deepStrictEqual(readInfo(['--json']), { json: true });
  assert.throws(() => readInfo(['x']), /takes no "x"/);
});

test('classes takes one name', () => {
  assert.deepStrictEqual(readClasses([]), { name: undefined, json: false });
  assert.deepStrictEqual(readClasses(['LightSpot', '--json']), { name: 'LightSpot', json: true });
  assert.throws(() => readClasses(['a', 'b']), /Name one class/);
});

test('an option that is almost right is suggested', () => {
  assert.throws(() => readRender(['a', '--sampels', '3']), /There is no option --sampels: did you mean --samples\? See/);
  assert.throws(() => readRender(['a', '--out', 'b.png']), /did you mean --output\?/);
});

test('behind two dashes everything is an operand', () => {
  assert.strictEqual(readRender(['-o', 'b.png', '--', '--scene.toml']).scene, '--scene.toml');
});

test('times are short and rounded', () => {
  assert.deepStrictEqual([0, 0.4, 12, 59.6, 65, 3600, 3725].map(formatSeconds), [
    '0 s', '0 s', '12 s', '1 min 00 s', '1 min 05 s', '1 h 00 min', '1 h 02 min',
  ]);
});

function makeStream(isTTY) {
  const stream = { isTTY, columns: 60, text: '', write: (text) => (stream.text += text) };
  return stream;
}

test('outside a terminal there is one line for each tenth', () => {
  let now = 0;
  const stream = makeStream(false);
  const progress = new Progress(stream, () => now);
  for (let done = 0; done <= 100; done++) {
    now += 100;
    progress.update('Rendering', done, 100);
  }
  progress.end();
  const lines = stream.text.trim().split('\n');
  assert.strictEqual(lines.length, 10);
  assert.strictEqual(lines[4], '50 %  Rendering, 5 s left');
  assert.strictEqual(lines[9], '100 %  Rendering');
});

test('in a terminal a bar is redrawn on its line and wiped at the end', () => {
  let now = 0;
  const stream = makeStream(true);
  const progress = new Progress(stream, () => now);
  progress.update('Rendering', 0, 10);
  now = 1000;
  progress.update('Rendering', 5, 10);
  assert.match(stream.text, /\r\x1b\[K\[#{15}-{15}\] {2}50 % {2}Rendering, 1 s left/);
  assert.ok(!stream.text.includes('\n'));
  for (const line of stream.text.split('\r\x1b[K')) assert.ok(line.length < 60);
  progress.end();
  assert.ok(stream.text.endsWith('\r\x1b[K'));
});

test('progress beyond its total, or of nothing, stays within the bar', () => {
  const stream = makeStream(true);
  const progress = new Progress(stream, () => 0);
  progress.update('a', 5, 0);
  progress.update('b', 12, 10);
  assert.match(stream.text, /\[#{30}\] 100 % {2}b/);
});
