'use strict';

// save and saveSync: the type from the name or beside it, what crosses, and results.
const test = require('node:test');
const assert = require('assert');
const {recorder, until} = require('../helpers');
const {kiln, KilnImage, throwsTypeError, handleOf, job} = require('./image-helpers');

const BMP = 'KilnImage_SaveToBmpFile';
const PNG = 'KilnImage_compressToPngFile';
const JPEG = 'KilnImage_compressToJpegFile';
const TIFF = 'KilnImage_SaveToTiffFile';
const EXR = 'KilnImage_SaveToExrFile';
const NO_NAME = 'Argument 0 (fileName: string) should be passed';
const NO_TYPE = 'Image type cannot be determined from file name. You can pass it as a second argument: \'bmp, \'png\', ' +
  '\'jpeg\', \'tiff\' or \'exr\'';
const BAD_TYPE = 'Argument 1 (imageType) should be \'bmp, \'png\', \'jpeg\', \'tiff\' or \'exr\'';

const image = new KilnImage(4, 3);
const renderer = new kiln.KilnRenderer();
const other = new kiln.KilnRenderer();
const rendererHandles = recorder.live().handles.map((one) => one.handle);

// The call that saving made, by both forms.
async function crossed(entry, ...args) {
  recorder.clear();
  image.saveSync(...args);
  const sync = recorder.last(entry);
  assert.strictEqual(sync.onJsThread, true);
  await job((done) => assert.strictEqual(image.save(...args, done), undefined));
  const late = recorder.last(entry);
  assert.strictEqual(late.onJsThread, false);
  assert.deepStrictEqual(late.arg, sync.arg, 'the two forms agree');
  assert.deepStrictEqual(recorder.names(), [entry, entry]);
  assert.strictEqual(late.arg.image, handleOf(image));
  return late.arg;
}

test('the type is the text behind the last point, without regard to case', async () => {
  for (const [file, entry] of [['a.bmp', BMP], ['a.png', PNG], ['a.PNG', PNG], ['a.jpg', JPEG], ['a.JPEG', JPEG],
    ['a.tif', TIFF], ['a.TIFF', TIFF], ['a.exr', EXR], ['dir.d/a.b.Exr', EXR], ['.png', PNG], ['C:\\x\\ä ö.bmp', BMP]]) {
    const arg = await crossed(entry, file);
    assert.deepStrictEqual([arg.file, arg.renderer], [file, 0n]);
  }
});

test('a type beside the name rules', async () => {
  for (const [file, type, entry] of [['a', 'bmp', BMP], ['a.bmp', 'png', PNG], ['', 'JPG', JPEG], ['a.xyz', 'Tif', TIFF],
    ['dir.d/file', 'exr', EXR]]) {
    assert.strictEqual((await crossed(entry, file, type)).file, file);
  }
});

test('long names are whole', async () => {
  const file = `${'ü'.repeat(5000)}.png`;
  assert.strictEqual((await crossed(PNG, file)).file, file);
});

test('faults of name and type', () => {
  recorder.clear();
  for (const method of ['save', 'saveSync']) {
    for (const args of [[], [undefined], [null], [5], [Object('a.png')], [() => {}]]) {
      throwsTypeError(() => image[method](...args), NO_NAME);
    }
    for (const args of [['a'], [''], ['a', undefined], ['a', 16], ['a', () => {}]]) {
      throwsTypeError(() => image[method](...args), NO_TYPE);
    }
    for (const args of [['a.xyz'], ['dir.d/file'], ['a.'], ['a.png '], ['a.png', ''], ['a.png', 'gif'], ['a', 'pn']]) {
      throwsTypeError(() => image[method](...args), BAD_TYPE);
    }
  }
  assert.deepStrictEqual(recorder.names(), []);
});

for (const lead of [['a.%'], ['a.other', '%']]) {
  const name = (type) => lead.map((one) => one.replace('%', type));
  const where = lead.length === 1 ? 'from the name' : 'beside it';

  test(`options behind a type ${where}: bmp`, async () => {
    for (const [args, first, second] of [[[], 0, 0], [[true], 1, 0], [[false, true], 0, 1], [[true, true], 1, 1],
      [[1, true], 0, 0]]) {
      const arg = await crossed(BMP, ...name('bmp'), ...args);
      assert.deepStrictEqual([arg.first_flag, arg.second_flag], [first, second]);
    }
  });

  test(`options behind a type ${where}: png`, async () => {
    for (const [args, flags] of [[[], 0], [[16, true], 3], [[true, 16], 3], [[true, 8], 1], [[8, true], 1], [[16], 2],
      [[false], 0]]) {
      assert.strictEqual((await crossed(PNG, ...name('png'), ...args)).flags, flags);
    }
  });

  test(`options behind a type ${where}: jpeg and tiff`, async () => {
    for (const [args, value] of [[[], 0], [[85.5], 85], [[true], 0], [[{}], 0], [[-3], -3]]) {
      assert.strictEqual((await crossed(JPEG, ...name('jpg'), ...args)).quality, value);
      assert.strictEqual((await crossed(TIFF, ...name('tif'), ...args)).bit_depth, value);
    }
  });

  test(`a renderer behind the options of a type ${where}`, async () => {
    for (const [entry, type, args] of [[BMP, 'bmp', [true, false]], [PNG, 'png', [16]], [JPEG, 'jpeg', [5]],
      [TIFF, 'tiff', [32]], [EXR, 'exr', []]]) {
      assert.strictEqual((await crossed(entry, ...name(type), ...args, renderer)).renderer, rendererHandles[0]);
      assert.strictEqual((await crossed(entry, ...name(type), renderer)).renderer, rendererHandles[0]);
    }
  });
}

test('exr takes no option: a number is skipped by the job, and hides the renderer from the other form', async () => {
  await job((done) => image.save('a.exr', 16, renderer, done));
  assert.strictEqual(recorder.last(EXR).arg.renderer, rendererHandles[0]);
  image.saveSync('a.exr', 16, renderer);
  assert.strictEqual(recorder.last(EXR).arg.renderer, 0n);
});

test('the job form takes the last renderer and the last callback', async () => {
  await job((done) => image.save('a.png', done, renderer, null, other, 'x'));
  assert.strictEqual(recorder.last(PNG).arg.renderer, rendererHandles[1]);
  await job((done) => image.save('a.png', () => assert.fail('overruled'), done));
});

test('saveSync answers whether the whole result is not zero', () => {
  for (const [result, expected] of [[0, false], [1, true], [2, true], [-1, true], [256, true]]) {
    for (const [entry, file] of [[BMP, 'a.bmp'], [PNG, 'a.png'], [JPEG, 'a.jpg'], [TIFF, 'a.tif'], [EXR, 'a.exr']]) {
      recorder.once(entry, result);
      assert.strictEqual(image.saveSync(file), expected);
    }
  }
});

test('the job looks at the lowest bit alone', async () => {
  for (const [result, saved] of [[0, false], [1, true], [2, false], [3, true], [-2, false], [-1, true], [256, false]]) {
    for (const [entry, file] of [[BMP, 'a.bmp'], [PNG, 'a.png'], [JPEG, 'a.jpg'], [TIFF, 'a.tif'], [EXR, 'a.exr']]) {
      recorder.once(entry, result);
      const {self, args} = await job((done) => image.save(file, done));
      assert.strictEqual(self, image);
      assert.strictEqual(args.length, 1);
      if (saved) {
        assert.strictEqual(args[0], null);
      } else {
        assert.strictEqual(args[0].constructor, Error);
        assert.strictEqual(args[0].message, 'Error saving image to file');
      }
    }
  }
});

test('without a callback the image is saved, and a failure goes unnoticed', async () => {
  recorder.clear();
  image.save('a.png');
  recorder.once(EXR, 1);
  image.save('a.exr', null);
  await until(() => recorder.count(PNG) === 1 && recorder.count(EXR) === 1);
});

// An open renderer keeps the process alive.
test('the renderers close', () => {
  for (const one of [renderer, other]) one.close();
  recorder.check();
});
