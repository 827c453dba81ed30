'use strict';

// Where the tests find what was built. KILN_TEST_BUILD names the output folder of another build than build/Release.

const path = require('path');

const root = path.resolve(__dirname, '..', '..');
const build = process.env.KILN_TEST_BUILD
  ? path.resolve(process.env.KILN_TEST_BUILD)
  : path.join(root, 'build', 'Release');

const libraryName = {win32: 'KilnSDKLibrary.dll', darwin: 'libKilnSDKLibrary.dylib'}[process.platform] ||
  'libKilnSDKLibrary.so';
const recorderDir = path.join(build, 'recorder');
const partialDir = path.join(build, 'recorder_partial');

module.exports = {
  root,
  build,
  include: path.join(root, 'include'),
  native: path.join(build, 'Kiln.node'),
  engine: path.join(build, libraryName),
  libraryName,
  recorderDir,
  recorderLibrary: path.join(recorderDir, libraryName),
  control: path.join(recorderDir, 'recorder_control.node'),
  partialDir,
  partialLibrary: path.join(partialDir, libraryName),
};
