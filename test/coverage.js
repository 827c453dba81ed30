'use strict';

// Which entry points the suite has exercised through the add-on. Run behind the tests, with the folder that they were
// given as KILN_COVERAGE_DIR:
//
//   KILN_COVERAGE_DIR=<folder> node --test test && node test/coverage.js <folder>
//
// Fails for a row of include/entry_points.def that no test has touched and that test/coverage-exceptions.json gives no
// reason for, for an exception that is touched after all or is no row, and when there was nothing to look at.

const fs = require('fs');
const path = require('path');

const root = path.resolve(__dirname, '..');

function readRows() {
  const text = fs.readFileSync(path.join(root, 'include', 'entry_points.def'), 'utf8').replace(/\/\*[\s\S]*?\*\//g, '');
  return [...text.matchAll(/^KILN_ENTRY\(\w+, [^,]+, (\w+),/gm)].map(([, name]) => name);
}

// The names in the files that the recorder has written, one a line.
function readTouched(folder) {
  const files = fs.readdirSync(folder).filter((name) => /^calls-\d+\.txt$/.test(name));
  const names = files.flatMap((name) => fs.readFileSync(path.join(folder, name), 'utf8').split('\n'));
  return {files: files.length, touched: new Set(names.filter((name) => name !== ''))};
}

// The sentences of what is wrong; none when the list is covered.
function complaints(rows, touched, exceptions, files) {
  const wrong = [];
  if (rows.length === 0) wrong.push('No row was found in include/entry_points.def.');
  if (files === 0) wrong.push('No process has written what it called: was KILN_COVERAGE_DIR set for the tests?');
  for (const name of rows) {
    if (!touched.has(name) && !exceptions[name]) wrong.push(`${name} is exercised by no test.`);
  }
  for (const [name, reason] of Object.entries(exceptions)) {
    if (!rows.includes(name)) wrong.push(`${name} is an exception, but no entry point.`);
    if (touched.has(name)) wrong.push(`${name} is exercised, so it is no longer an exception.`);
    if (typeof reason !== 'string' || reason.trim() === '') wrong.push(`${name} is an exception without a reason.`);
  }
  return wrong;
}

function main() {
  const folder = process.argv[2] || process.env.KILN_COVERAGE_DIR;
  if (!folder || !fs.existsSync(folder)) {
    console.error('coverage: name the folder that the tests were given as KILN_COVERAGE_DIR');
    process.exit(2);
  }
  const rows = readRows();
  const {files, touched} = readTouched(folder);
  const exceptions = JSON.parse(fs.readFileSync(path.join(__dirname, 'coverage-exceptions.json'), 'utf8'));
  const wrong = complaints(rows, touched, exceptions, files);
  for (const sentence of wrong) console.error(`coverage: ${sentence}`);
  const reached = rows.filter((name) => touched.has(name)).length;
  console.log(`coverage: ${reached} of ${rows.length} entry points, ${Object.keys(exceptions).length} exceptions, ` +
    `${files} processes`);
  process.exit(wrong.length === 0 ? 0 : 1);
}

if (require.main === module) main();

module.exports = {readRows, complaints};
