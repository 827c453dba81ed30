// Chooses the command, and turns whatever goes wrong into one sentence and an exit code.
'use strict';

const { readInfo, readRender } = require('./arguments.js');
const { CommandFailure, EXIT } = require('./failure.js');
const { version } = require('../../package.json');

const HELP = `Renders scenes and models to pictures.

  kiln render SCENE -o PICTURE [options]
  kiln info [--json]

SCENE     a scene text (.toml), or a model: .gltf, .glb, .obj, .ply, .stl, .fbx and others
PICTURE   .png, .jpg, .bmp, .tif or .exr

Options of render:
  -o, --output PICTURE   where to write
  -s, --size WxH         width and height in pixels; the scene's own otherwise
      --samples N        samples a pixel
      --time-limit S     ends the render after so many seconds
      --camera NAME      the camera to look through; the scene's first otherwise
      --threads N        worker threads; one for each core otherwise
      --bits N           bits a channel: png 8 or 16, tif 8, 16 or 32, exr 32
      --quality N        quality of a .jpg, 1 to 100
      --json             one line of JSON in place of the progress
  -v, --verbose          the renderer's own messages too

  kiln --help, kiln --version

Exit codes: 0 done, 1 the scene, the render or the file failed, 2 wrong arguments, 3 no rendering library,
130 interrupted.
`;

async function run(args) {
  const [command, ...rest] = args;
  if (command === '--version') {
    process.stdout.write(`kiln ${version}\n`);
    return EXIT.OK;
  }
  if (command === '--help' || command === '-h' || command === 'help' || rest.includes('--help')) {
    process.stdout.write(HELP);
    return EXIT.OK;
  }
  if (command === 'render') return require('./render.js').render(readRender(rest));
  if (command === 'info') return require('./info.js').info(readInfo(rest));
  const problem = command === undefined ? 'Name a command: render or info.' : `There is no command "${command}".`;
  throw new CommandFailure(EXIT.USAGE, `${problem} See "kiln --help".`);
}

function report(error, args) {
  const known = error instanceof CommandFailure;
  const message = known ? error.message : `Unexpected failure: ${error.stack}`;
  if (args.includes('--json')) process.stdout.write(`${JSON.stringify({ ok: false, error: message })}\n`);
  process.stderr.write(`kiln: ${message}\n`);
  return known ? error.exitCode : EXIT.FAILED;
}

/** Runs the command line and sets the process's exit code. */
async function main(args) {
  try {
    process.exitCode = await run(args);
  } catch (error) {
    process.exitCode = report(error, args);
  }
}

module.exports = { main };
