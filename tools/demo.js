#!/usr/bin/env node
// Sets up, builds, and renders a textured glTF model from Debian's collection of test models to out/demo.png.
'use strict';

const fs = require('fs');
const path = require('path');
const { spawnSync } = require('child_process');
const { build } = require('./build.js');
const { setup } = require('./setup.js');
const { writeStudio } = require('./studio.js');

const ROOT = path.join(__dirname, '..');
const MODEL = '/usr/share/assimp/models/glTF2/ClearCoat-glTF/ClearCoatTest.gltf';

function arrange(studio) {
  studio.layDown();
  studio.addCamera('Table', { from: [5, 10.5, 14.5], to: [-0.7, -0.4, 0.35], fieldOfView: 32 });
  studio.addSweep({ width: 160, floor: -0.07, front: 60, wall: -22, radius: 14, height: 40 }, [0.3, 0.27, 0.245], 0.45);
  studio.addPanel('Key', { from: [-15, 14, -6], to: [0, 0, 0], width: 9, height: 9, color: [1, 0.9, 0.78], strength: 10 });
  studio.addPanel('Rim', { from: [17, 8, -4], to: [0, 0, 0], width: 4, height: 14, color: [0.62, 0.8, 1], strength: 8 });
  studio.addPanel('Top', { from: [0, 22, -10], to: [0, 0, 0], width: 24, height: 5, color: [1, 1, 1], strength: 5 });
  studio.addDirectionalLight('Edge', { from: [-8, 20, 6], to: [0, 0, 0], color: [1, 0.97, 0.92], intensity: 0.25 });
}

/** Writes the scene of the demo into the folder; returns its path. */
function writeDemoScene(folder) {
  if (!fs.existsSync(MODEL)) throw new Error(`The model ${MODEL} does not exist: install the Debian package assimp-testmodels.`);
  return writeStudio(MODEL, folder, arrange);
}

function main() {
  const failure = setup(['build', 'engine', 'test']);
  if (failure) throw new Error(failure);
  process.stdout.write('Building (the first time takes some minutes) ...\n');
  build({ targets: ['Kiln', 'KilnSDKLibrary'] });
  const scene = writeDemoScene(path.join(ROOT, 'out', 'demo'));
  const output = path.join(ROOT, 'out', 'demo.png');
  const size = process.env.KILN_DEMO_SIZE || '960x640';
  const samples = process.env.KILN_DEMO_SAMPLES || '64';
  const args = [path.join(ROOT, 'bin', 'kiln.js'), 'render', scene, '-o', output, '--size', size, '--samples', samples];
  const result = spawnSync(process.execPath, args, { stdio: 'inherit', env: { ...process.env, KILN_BUILD_DIR: '' } });
  if (result.status !== 0) throw new Error('The demo did not render: see the message above.');
}

module.exports = { writeDemoScene };

if (require.main === module) {
  try {
    main();
  } catch (error) {
    process.stderr.write(`${error.message}\n`);
    process.exitCode = 1;
  }
}
