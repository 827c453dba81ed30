#!/usr/bin/env node
// Configures with CMake and builds with Ninja; quick when nothing changed.
// Usage: node tools/build.js [--preset NAME] [--node VERSION] [target ...]
//   --preset  release (the default), bench, address-undefined or thread, from CMakePresets.json
//   --node    builds the add-on alone for that version of Node.js, to build/node-<major>
'use strict';

const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { importerName, libraryName } = require('../lib/engine.js');
const { headersFor } = require('./node-headers.js');

const ROOT = path.join(__dirname, '..');

function run(command, args) {
  const result = spawnSync(command, args, { cwd: ROOT, stdio: ['ignore', 'pipe', 'pipe'], encoding: 'utf8' });
  if (result.error) {
    throw new Error(`${command} could not be started: run "npm run setup" to install what the build needs.`);
  }
  return { ok: result.status === 0, output: result.stdout + result.stderr };
}

/** Configures the folder, unless it already stands configured with the same arguments. */
function configure(folder, args) {
  const stamp = path.join(folder, 'configured-with.txt');
  const wanted = args.join('\n');
  const configured =
    fs.existsSync(path.join(folder, 'build.ninja')) && fs.existsSync(stamp) && fs.readFileSync(stamp, 'utf8') === wanted;
  if (configured) return;
  const result = run('cmake', args);
  if (!result.ok) throw new Error(`${result.output}\nCMake could not configure ${path.relative(ROOT, folder)}: see the messages above.`);
  fs.writeFileSync(stamp, wanted);
}

/** The engine and its importer know nothing of Node.js: one build serves every version, in each version's folder. */
function copyEngine(output) {
  for (const name of [libraryName(), importerName()]) {
    const built = path.join(ROOT, 'build', 'Release', name);
    if (fs.existsSync(built)) fs.copyFileSync(built, path.join(output, name));
  }
}

/** Builds, and throws an Error with the compiler's words when that fails. Returns the folder of the results. */
function build({ preset = 'release', node = null, targets = [] } = {}) {
  const include = headersFor(node || undefined);
  const major = node && node.split('.')[0];
  const folder = path.join(ROOT, 'build', 'cmake', node ? `node-${major}` : preset);
  const args = ['--preset', preset, `-DKILN_NODE_INCLUDE=${include}`];
  let output = path.join(ROOT, 'build', { release: 'Release', bench: 'bench', 'address-undefined': 'sanitize-address', thread: 'sanitize-thread' }[preset]);
  if (node) {
    output = path.join(ROOT, 'build', `node-${major}`);
    args.push('-B', folder, `-DKILN_OUTPUT_DIR=${output}`, '-DKILN_ENGINE=OFF');
  }
  configure(folder, args);
  const result = run('ninja', ['-C', folder, '-j', String(os.cpus().length), ...targets]);
  if (!result.ok) throw new Error(`${result.output}\nThe build failed: see the messages above.`);
  if (node) copyEngine(output);
  return output;
}

module.exports = { build };

function main(argv) {
  const options = { targets: [] };
  for (let i = 0; i < argv.length; i++) {
    if (argv[i] === '--preset') options.preset = argv[++i];
    else if (argv[i] === '--node') options.node = argv[++i];
    else options.targets.push(argv[i]);
  }
  const started = Date.now();
  try {
    const output = build(options);
    process.stdout.write(`Built ${path.relative(process.cwd(), output) || output} in ${((Date.now() - started) / 1000).toFixed(1)} s\n`);
  } catch (error) {
    process.stderr.write(`${error.message}\n`);
    process.exitCode = 1;
  }
}

if (require.main === module) main(process.argv.slice(2));
