#!/usr/bin/env node
// Builds the add-on for each supported line of Node.js and runs the JavaScript tests with that Node.js.
// Usage: node tools/matrix.js [major ...]   all lines by default
'use strict';

const path = require('path');
const { build } = require('./build.js');
const { nodeFor } = require('./node-headers.js');
const { setup } = require('./setup.js');
const { add, closingLine, conclude, nothing, runJsTests, succeeded, testEnvironment } = require('./suite.js');

const VERSIONS = ['16.20.2', '18.20.8', '22.23.3', '24.21.0', '26.10.0'];

function chosen(majors) {
  return majors.map((major) => {
    const version = VERSIONS.find((one) => one.split('.')[0] === major);
    if (!version) throw new Error(`Node.js ${major} is not in the matrix: choose from ${VERSIONS.map((one) => one.split('.')[0]).join(', ')}.`);
    return version;
  });
}

async function main(majors) {
  const versions = majors.length > 0 ? chosen(majors) : VERSIONS;
  const failure = setup(['build', 'engine', 'test']);
  if (failure) throw new Error(failure);
  build({ targets: ['KilnSDKLibrary'] });
  let total = nothing();
  for (const version of versions) {
    process.stdout.write(`Node.js ${version}\n`);
    const node = nodeFor(version);
    const env = testEnvironment(build({ node: version }));
    // What a test starts by the name "node" must be the same version.
    env.PATH = `${path.dirname(node)}${path.delimiter}${process.env.PATH}`;
    const counts = await runJsTests({ node, env });
    process.stdout.write(`Node.js ${version}: ${closingLine(counts)}\n`);
    if (!succeeded(counts) && counts.failed === 0) counts.failed = 1;
    total = add(total, counts);
  }
  return total;
}

conclude(main(process.argv.slice(2)));
