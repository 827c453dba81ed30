// Chooses the command, and turns whatever goes wrong into one sentence and an exit code.
'use strict';

const { readClasses, readConvert, readInfo, readRender } = require('./arguments.js');
const { CommandFailure, EXIT } = require('./failure.js');
const { refuse } = require('./options.js');
const { didYouMean } = require('./nearest.js');
const { version } = require('../../package.json');

const HELP = `Renders scenes and models to pictures.

  kiln render SCENE -o PICTURE [options]
  kiln convert SCENE TEXT
  kiln classes [NAME] [--json]
  kiln info [--json]

SCENE     a scene text (.toml), or a model: .gltf, .glb, .obj, .ply, .stl, .fbx and others
PICTURE   .png, .jpg, .bmp, .tif or .exr
TEXT      a scene text (.toml) to write
NAME      a class of plugins, for its properties, or a category; all classes otherwise

Options of render:
  -o, --output PICTURE   where to write
  -s, --size WxH         width and height in pixels; the scene's own otherwise
      --samples N        samples a pixel
      --time-limit S     ends the render after so many seconds
      --camera NAME      the camera to look through; the scene's first otherwise
      --frames 1-100:2   a sequence, here every second frame; numbers replace #### in the name of PICTURE
      --elements A,B     further channels, as layers of an .exr or a file each: z_depth, normals, reflection, ...
      --denoise          takes the noise out
      --region X,Y,W,H   renders only this part
      --opaque           without transparency where nothing is
      --threads N        worker threads; one for each core otherwise
      --bits N           bits a channel: png 8 or 16, tif 8, 16 or 32, exr 32
      --quality N        quality of a .jpg, 1 to 100
      --json             one line of JSON in place of the progress
  -v, --verbose          the renderer's own messages too

Options of convert: --json, -v.

  kiln --help, kiln --version

Exit codes: 0 done, 1 the scene, the render or the file failed, 2 wrong arguments, 3 no rendering library,
130 interrupted.
`;

// The modules are loaded when they are needed: help and wrong arguments need no library.
const COMMANDS = {
  render: (args) => require('./render.js').render(readRender(args)),
  convert: (args) => require('./convert.js').convert(readConvert(args)),
  classes: (args) => require('./classes.js').classes(readClasses(args)),
  info: (args) => require('./info.js').info(readInfo(args)),
};

async function run(args) {
  const [command, ...rest] = args;
  if (command === '--version') {
    process.stdout.write(`kiln ${version}\n`);
    return EXIT.OK;
  }
  if (command === '--help' || command === '-h' || command === 'help' || rest.includes('--help') || rest.includes('-h')) {
    process.stdout.write(HELP);
    return EXIT.OK;
  }
  const names = Object.keys(COMMANDS);
  if (command === undefined) return refuse(`Name a command: ${names.join(', ')}.`);
  if (!names.includes(command)) return refuse(`There is no command "${command}"${didYouMean(command, names)}`);
  return COMMANDS[command](rest);
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
