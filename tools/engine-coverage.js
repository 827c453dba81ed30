'use strict';
// Writes docs/engine-coverage.md: which entry points the engine answers and which it does not have yet.
//   node tools/engine-coverage.js            writes the page
//   node tools/engine-coverage.js --check    fails when the page is not what it would write

const fs = require('fs');
const path = require('path');

const ROOT = path.join(__dirname, '..');
const PAGE = path.join(ROOT, 'docs', 'engine-coverage.md');
const FAMILIES = {
  module: 'The module',
  renderer: 'Renderer',
  server: 'Render server',
  image: 'Images',
  material_library: 'Material library',
  utility: 'Utilities',
  vector: 'String vectors',
  memory: 'Memory',
};

function read(...parts) {
  return fs.readFileSync(path.join(ROOT, ...parts), 'utf8');
}

// [{ family, name }] in the order of the rows.
function entryPoints() {
  const rows = read('include', 'entry_points.def').matchAll(/^KILN_ENTRY\((\w+), [^,]+, (\w+),\s+\(/gm);
  return [...rows].map(([, family, name]) => ({ family, name }));
}

// What a failure in the list means to a caller.
function answer(failure) {
  return failure || 'nothing';
}

// name -> [subject, failure], in the order of the list.
function pending() {
  const list = new Map();
  let subject = '';
  for (const line of read('engine', 'api', 'pending.h').split('\n')) {
    const heading = /^\/\* (.*)\. \*\/$/.exec(line);
    if (heading) subject = heading[1];
    const row = /^#define PENDING_(\w+) ~,\s*(.*)$/.exec(line);
    if (row) list.set(row[1], [subject, answer(row[2])]);
  }
  return list;
}

function page() {
  const rows = entryPoints();
  const missing = pending();
  const out = [
    '# What the engine answers',
    '',
    `The engine exports all ${rows.length} entry points. ${rows.length - missing.size} of them do what they say;` +
      ` ${missing.size} belong to subjects that the engine does not have yet and answer their documented failure.`,
    '',
    '| Family | Entry points | Answered |',
    '|---|---|---|',
  ];
  for (const [family, title] of Object.entries(FAMILIES)) {
    const all = rows.filter((row) => row.family === family);
    out.push(`| ${title} | ${all.length} | ${all.filter((row) => !missing.has(row.name)).length} |`);
  }
  const subjects = new Map();
  for (const [name, [subject, failure]] of missing) {
    if (!subjects.has(subject)) subjects.set(subject, []);
    subjects.get(subject).push(`| \`${name}\` | ${failure} |`);
  }
  for (const [subject, lines] of subjects) {
    out.push('', `## Not yet: ${subject}`, '', '| Entry point | Answers |', '|---|---|', ...lines);
  }
  out.push('', 'This page is made by `node tools/engine-coverage.js`.', '');
  return out.join('\n');
}

module.exports = { entryPoints, page, pending, PAGE };

if (require.main === module) {
  if (process.argv[2] !== '--check') {
    fs.writeFileSync(PAGE, page());
  } else if (!fs.existsSync(PAGE) || fs.readFileSync(PAGE, 'utf8') !== page()) {
    console.error('docs/engine-coverage.md is out of date; run node tools/engine-coverage.js');
    process.exit(1);
  }
}
