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
  studio.addCamera('Front', { from: [0.4, 1.2, 34], to: [-1.6, 0.45, 0], fieldOfView: 26 });
  studio.addSweep({ width: 80, floor: -7.2, front: 40, wall: -9, radius: 9, height: 40 }, [0.42, 0.44, 0.47], 0.6);
  studio.addPanel('Key', { from: [-13, 13, 15], to: [0, 0, 0], width: 9, height: 9, color: [1, 0.93, 0.84], strength: 9 });
  studio.addPanel('Rim', { from: [17, 4, 3], to: [0, 0, 0], width: 3, height: 14, color: [0.75, 0.87, 1], strength: 9 });
  studio.addPanel('Top', { from: [2, 18, 2], to: [0, 0, 0], width: 16, height: 6, color: [1, 1, 1], strength: 3 });
  studio.addDirectionalLight('Edge', { from: [8, 10, 20], to: [0, 0, 0], color: [1, 0.97, 0.92], intensity: 0.6 });
}

function main() {
  const failure = setup(['build', 'engine', 'test']);
  if (failure) throw new Error(failure);
  process.stdout.write('Building (the first time takes some minutes) ...\n');
  build({ targets: ['Kiln', 'KilnSDKLibrary'] });
  if (!fs.existsSync(MODEL)) throw new Error(`The model ${MODEL} does not exist: install the Debian package assimp-testmodels.`);
  const scene = writeStudio(MODEL, path.join(ROOT, 'out', 'demo'), arrange);
  const output = path.join(ROOT, 'out', 'demo.png');
  const size = process.env.KILN_DEMO_SIZE || '1200x900';
  const samples = process.env.KILN_DEMO_SAMPLES || '128';
  const args = [path.join(ROOT, 'bin', 'kiln.js'), 'render', scene, '-o', output, '--size', size, '--samples', samples];
  const result = spawnSync(process.execPath, args, { stdio: 'inherit', env: { ...process.env, KILN_BUILD_DIR: '' } });
  if (result.status !== 0) throw new Error('The demo did not render: see the message above.');
}

try {
  main();
} catch (error) {
  process.stderr.write(`${error.message}\n`);
  process.exitCode = 1;
}
