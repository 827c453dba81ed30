// The bare add-on, exports untouched: Kiln.node from build/Release, or from the folder in KILN_BUILD_DIR.
'use strict';

const fs = require('fs');
const path = require('path');

const folder = process.env.KILN_BUILD_DIR
  ? path.resolve(process.env.KILN_BUILD_DIR)
  : path.join(__dirname, '..', 'build', 'Release');
const file = path.join(folder, 'Kiln.node');

if (!fs.existsSync(file)) {
  const error = new Error(
    `The add-on ${file} does not exist: build it with "npm run build", or set KILN_BUILD_DIR to the folder that holds it.`
  );
  error.code = 'MODULE_NOT_FOUND';
  throw error;
}

module.exports = require(file);
