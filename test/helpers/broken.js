'use strict';

// Libraries that no loader should trust, made from the recorder's.

const fs = require('fs');
const path = require('path');
const paths = require('./paths');

// Makes a folder for each broken library under `directory`, with the library's usual name in it.
// Answers [{name, directory}]: truncated at several lengths, garbage, empty, a folder in the library's place.
function makeBrokenLibraries(directory) {
  const whole = fs.readFileSync(paths.recorderLibrary);
  const cases = {
    empty: Buffer.alloc(0),
    garbage: Buffer.from('this is no library, '.repeat(500)),
    zeros: Buffer.alloc(whole.length),
  };
  for (const part of [16, 63, 64, 512, 4096, whole.length >> 2, whole.length >> 1, whole.length - 4096]) {
    cases[`truncated at ${part}`] = whole.subarray(0, part);
  }
  const made = Object.keys(cases).map((name) => {
    const own = path.join(directory, name.replace(/ /g, '_'));
    fs.mkdirSync(own, {recursive: true});
    fs.writeFileSync(path.join(own, paths.libraryName), cases[name], {mode: 0o755});
    return {name, directory: own};
  });
  const folder = path.join(directory, 'folder');
  fs.mkdirSync(path.join(folder, paths.libraryName), {recursive: true});
  return [...made, {name: 'a folder', directory: folder}];
}

module.exports = {makeBrokenLibraries};
