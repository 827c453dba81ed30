// Models from other people's hands, loaded and rendered small: the glTF 2 files of the package assimp-testmodels, and
// all GLB files below KILN_GLB_FOLDER.
'use strict';

const assert = require('assert');
const fs = require('fs');
const path = require('path');
const { test } = require('node:test');
const kiln = require('../../lib/index.js');

const MODELS = '/usr/share/assimp/models/glTF2';

// Broken on purpose, or of an older form of the format.
const REFUSED = new Set([
  'BoxTextured-glTF-techniqueWebGL/BoxTextured.gltf',
  'BoxWithInfinites-glTF-Binary/BoxWithInfinites.glb',
  'IncorrectVertexArrays/Cube.gltf',
  'IndexOutOfRange/AllIndicesOutOfRange.gltf',
  'IndexOutOfRange/IndexOutOfRange.gltf',
  'MissingBin/BoxTextured.gltf',
  'RecursiveNodes/RecursiveNodes.gltf',
  'SchemaFailures/sceneWrongType.gltf',
  'TestNoRootNode/NoScene.gltf',
  'wrongTypes/badArray.gltf',
  'wrongTypes/badExtension.gltf',
  'wrongTypes/badNumber.gltf',
  'wrongTypes/badObject.gltf',
  'wrongTypes/badString.gltf',
  'wrongTypes/badUint.gltf',
]);

function modelsBelow(folder) {
  const found = [];
  for (const entry of fs.readdirSync(folder, { withFileTypes: true })) {
    const file = path.join(folder, entry.name);
    if (entry.isDirectory()) found.push(...modelsBelow(file));
    else if (/\.(gltf|glb)$/i.test(entry.name)) found.push(file);
  }
  return found.sort();
}

/** Renders one file; the name of what went wrong, or an empty text. */
async function outcome(renderer, file, picture) {
  try {
    await renderer.promises.load(file);
  } catch (error) {
    return `refused: ${error.message}`;
  }
  renderer.size = { width: 40, height: 30 };
  await renderer.promises.start();
  if (!(await renderer.promises.waitForRenderEnd(60000))) return 'not finished';
  const image = renderer.getImage();
  const pixels = image.getPixelData();
  const finite = pixels.length === 40 * 30 * 4 && pixels.every(Number.isFinite);
  if (picture) await image.promises.save(picture);
  image.close();
  return finite ? '' : 'pixels that are not numbers';
}

async function renderAll(folder, check) {
  kiln.setEnvVar('KILN_RENDER_SAMPLES', process.env.KILN_MODEL_SAMPLES || '1');
  const pictures = process.env.KILN_MODEL_PICTURES;
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false });
  try {
    for (const [index, file] of modelsBelow(folder).entries()) {
      const picture = pictures && path.join(pictures, `${String(index).padStart(3, '0')}.png`);
      check(path.relative(folder, file), await outcome(renderer, file, picture));
    }
  } finally {
    await renderer.promises.close();
  }
}

test('the sample files render or say why not', { skip: !fs.existsSync(MODELS) && 'assimp-testmodels is not installed' },
  async () => {
    let refused = 0;
    let rendered = 0;
    await renderAll(MODELS, (name, result) => {
      if (REFUSED.has(name)) {
        assert.match(result, /^refused: ./, name);
        refused++;
      } else {
        assert.strictEqual(result, '', name);
        rendered++;
      }
    });
    assert.strictEqual(refused, REFUSED.size);
    assert.ok(rendered >= 30, `${rendered} files`);
  });

const given = process.env.KILN_GLB_FOLDER;
test('all files of a given folder render', { skip: !given && 'KILN_GLB_FOLDER is not set' }, async () => {
  let rendered = 0;
  await renderAll(given, (name, result) => {
    assert.strictEqual(result, '', name);
    rendered++;
  });
  assert.ok(rendered > 0, 'the folder has no models');
});
