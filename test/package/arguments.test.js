// The command line's reading of its arguments, and its display, without a renderer.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { readClasses, readInfo, readRender } = require('../../lib/cli/arguments.js');
const { EXIT } = require('../../lib/cli/failure.js');
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
  [['a'], /Name the picture to write with -o/],
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
