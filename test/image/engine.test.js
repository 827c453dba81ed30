'use strict';

// Images on the engine: what is written can be read again, and sizes come out as asked for.
const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const {loadNative, paths} = require('../helpers');

const missing = !fs.existsSync(paths.engine) && 'the engine is not built';
const kiln = missing ? {} : loadNative({library: paths.build});
const {KilnImage} = kiln;
const copying = process.env.KILN_COPY_BUFFERS === '1' && 'pixels are copies in this form';
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kiln-images-'));
process.on('exit', () => fs.rmSync(folder, {recursive: true, force: true}));

const file = (name) => path.join(folder, name);
const job = (start) => new Promise((resolve) => start((...args) => resolve(args)));

// A ramp in red over x and in green over y, in display values, as files hold them. In the copying form it stays empty.
function ramp(width, height) {
  const image = new KilnImage(width, height);
  image.gamma = 2.2;
  const pixels = image.getPixelData();
  for (let y = 0; y < height; y++) {
    for (let x = 0; x < width; x++) {
      pixels.set([x / (width - 1), y / (height - 1), 0.25, 1], (y * width + x) * 4);
    }
  }
  return image;
}

function closeTo(actual, expected, tolerance) {
  assert.strictEqual(actual.length, expected.length);
  let worst = 0;
  for (let i = 0; i < actual.length; i++) worst = Math.max(worst, Math.abs(actual[i] - expected[i]));
  assert(worst <= tolerance, `off by ${worst}`);
}

const FORMATS = [['bmp', [], 0.02], ['png', [], 0.02], ['png', [16], 0.001], ['jpeg', [95], 0.2]];

test('the engine is bound', {skip: missing}, () => {
  assert.match(kiln.getSDKLibraryErrorString(), /^SDK library loaded correctly/);
});

for (const [type, options, tolerance] of FORMATS) {
  test(`compressed to ${type} ${options} and back`, {skip: missing}, async () => {
    const image = ramp(32, 24);
    const sync = image.compressSync(type, ...options);
    const [error, late] = await job((done) => image.compress(type, ...options, done));
    assert.strictEqual(error, null);
    assert(Buffer.isBuffer(sync) && sync.equals(late), 'the two forms agree');
    const [decodeError, decoded] = await job((done) => KilnImage.createFromBuffer(late, type, done));
    assert.strictEqual(decodeError, null);
    for (const one of [decoded, KilnImage.createFromBufferSync(sync, type), new KilnImage(sync, type)]) {
      assert.deepStrictEqual([one.width, one.height], [32, 24]);
      if (type === 'jpeg') continue;
      closeTo(one.getPixelData(), image.getPixelData(), tolerance);
    }
  });
}

const SIGNATURES = {bmp: '424d', png: '89504e47', jpg: 'ffd8ff', tif: '49492a00', exr: '762f3101'};
for (const [type, signature] of Object.entries(SIGNATURES)) {
  test(`saved as ${type} by both forms`, {skip: missing}, async () => {
    const image = ramp(16, 8);
    const first = file(`sync ä.${type}`);
    const second = file(`job.${type}`);
    assert.strictEqual(image.saveSync(first), true);
    assert.deepStrictEqual(await job((done) => image.save(second, done)), [null]);
    const bytes = fs.readFileSync(first);
    assert(bytes.toString('hex').startsWith(signature), bytes.toString('hex', 0, 8));
    assert.strictEqual(fs.statSync(second).size, bytes.length);
    if (type === 'tif' || type === 'exr') return;
    assert.deepStrictEqual(Object.values(new KilnImage(bytes, type)).slice(1), [16, 8]);
  });
}

test('a file that can not be written is told', {skip: missing}, async () => {
  const image = new KilnImage(4, 4);
  for (const type of Object.keys(SIGNATURES)) {
    const name = path.join(folder, 'no such folder', `a.${type}`);
    assert.strictEqual(image.saveSync(name), false);
    const [error] = await job((done) => image.save(name, done));
    assert.strictEqual(error.message, 'Error saving image to file');
    fs.mkdirSync(file(`folder.${type}`));
    assert.strictEqual(image.saveSync(file(`folder.${type}`)), false);
  }
});

test('broken bytes of every type are told', {skip: missing}, async () => {
  const whole = ramp(16, 16);
  for (const type of ['bmp', 'png', 'jpeg']) {
    const bytes = whole.compressSync(type);
    for (const broken of [Buffer.alloc(0), Buffer.alloc(100), bytes.subarray(0, 10), Buffer.from('no image at all')]) {
      assert.throws(() => KilnImage.createFromBufferSync(broken, type),
        {name: 'Error', message: 'Image decompression error'});
      const [error, image] = await job((done) => KilnImage.createFromBuffer(broken, type, done));
      assert.strictEqual(error.message, 'Image decompression error');
      assert.strictEqual(image, null);
    }
  }
});

test('resampled images have their sizes', {skip: missing}, async () => {
  const image = ramp(40, 20);
  const size = (one) => [one.width, one.height];
  const cases = [
    ['getDownscaled', [10, 7], [10, 7]],
    ['getFitIn', [20, 20], [20, 10]],
    ['getFitOut', [20, 20], [40, 20]],
    ['getCutIn', [20, 20], [20, 20]],
  ];
  for (const [method, args, expected] of cases) {
    const sync = image[`${method}Sync`](...args);
    const [late] = await job((done) => image[method](...args, done));
    assert.deepStrictEqual([size(sync), size(late)], [expected, expected], method);
    assert.deepStrictEqual(sync.getPixelData(), late.getPixelData());
  }
  const [late] = await job((done) => image.getDownscaledCropped(5, 5, 10, 10, 5, 4, done));
  assert.deepStrictEqual(size(late), [5, 4]);
  assert.deepStrictEqual(size(image.getCropped(1, 2, 3, 4)), [3, 4]);
  assert.deepStrictEqual(size(image.getDownscaledCroppedSync(0, 0, 40, 20, 40, 20, () => {})), [40, 20]);
});

test('what JavaScript writes is what members work on', {skip: missing || copying}, () => {
  const image = new KilnImage(2, 1);
  image.getPixelData().set([0.25, 0.5, 0.75, 1, 0, 0, 0, 1]);
  assert.strictEqual(image.makeNegative(), true);
  closeTo(image.getPixelData(), [0.75, 0.5, 0.25, 1, 1, 1, 1, 1], 1e-6);
  assert.deepStrictEqual(Array.from(new KilnImage(image).getPixelData()), Array.from(image.getPixelData()));
  assert.strictEqual(image.toIntList().length, 2);
  assert.strictEqual(image.toBitmapData().length, 8);
  assert.strictEqual(image.addColor(new kiln.Color(1, 0, 0)), true);
  assert(image.getPixelData()[0] > 1.7);
  const target = new KilnImage(4, 4);
  assert.strictEqual(target.draw(image, 1, 2), true);
  closeTo(target.getPixelData().subarray((2 * 4 + 1) * 4, (2 * 4 + 3) * 4), image.getPixelData(), 1e-6);
});

test('after close the lists are empty', {skip: missing || copying}, () => {
  const image = ramp(8, 8);
  const list = image.getPixelData();
  image.close();
  assert.strictEqual(list.length, 0);
});
