// `kiln render`: loads a scene or a model, renders it with progress, and writes the picture.
'use strict';

const fs = require('fs');
const path = require('path');
const { CommandFailure, EXIT } = require('./failure.js');
const { loadBoundPackage } = require('./library.js');
const { Progress, formatSeconds } = require('./progress.js');

function fail(message) {
  throw new CommandFailure(EXIT.FAILED, message);
}

/** Refuses before the render what would fail after it. */
function checkFiles(options) {
  if (!fs.existsSync(options.scene)) fail(`The scene ${options.scene} does not exist: check its path.`);
  const folder = path.dirname(options.output);
  if (!fs.existsSync(folder)) fail(`The folder ${folder} does not exist: create it, or write the picture elsewhere.`);
  try {
    fs.accessSync(fs.existsSync(options.output) ? options.output : folder, fs.constants.W_OK);
  } catch (error) {
    fail(`${options.output} cannot be written: change its permissions, or write the picture elsewhere.`);
  }
}

// The settings of a scene that the command line overrides cross as variables of the SDK: they hold for a scene file
// and a model alike, whatever format it is in. Null takes away what an earlier render of this process left.
function overrideSettings(kiln, options) {
  const text = (value) => (value === undefined ? null : String(value));
  kiln.setEnvVar('KILN_RENDER_SAMPLES', text(options.samples));
  kiln.setEnvVar('KILN_RENDER_TIME_LIMIT', text(options.timeLimit));
  kiln.setEnvVar('KILN_RENDER_CAMERA', text(options.camera));
}

/** Prints what the renderer says: errors and warnings always, the rest when asked for. */
function listenToLog(kiln, renderer, options, progress) {
  const names = ['error', 'warning', 'info', 'debug'];
  const most = options.verbose ? kiln.LOGLEVEL_DEBUG : kiln.LOGLEVEL_WARNING;
  const said = [];
  renderer.minLogLevel = most;
  renderer.on('logMessage', (message, level) => {
    if (level > most) return;
    progress.end();
    process.stderr.write(`${names[level] || level}: ${message.trim()}\n`);
    if (level === kiln.LOGLEVEL_ERROR) said.push(message.trim());
  });
  return said;
}

/** Whether Ctrl-C was pressed; steps that it should end look here. */
class Interruption {
  constructor() {
    this.asked = false;
  }
  check() {
    if (this.asked) throw new CommandFailure(EXIT.INTERRUPTED, 'Interrupted: nothing was written.');
  }
}

async function renderScene(renderer, options, interruption) {
  try {
    await renderer.promises.load(options.scene);
  } catch (error) {
    fail(`The scene ${options.scene} could not be loaded: ${error.message}`);
  }
  if (options.size) renderer.size = options.size;
  if (options.threads) renderer.numThreads = options.threads;
  // Passes over the whole image are what can end at any time; buckets would leave holes.
  if (options.timeLimit) renderer.renderMode = 'interactive';
  interruption.check();
  try {
    await renderer.promises.start();
  } catch (error) {
    fail(`The render could not start: ${renderer.lastError || error.message}`);
  }
  // A stop that was asked for during the preparation may have found nothing to stop.
  if (interruption.asked) await renderer.promises.stop();
  await renderer.promises.waitForRenderEnd();
  interruption.check();
}

async function saveImage(renderer, options) {
  // A floating-point file holds the light as it was computed; the others hold what a screen shows.
  const linear = options.bits === 32;
  const image = renderer.getImage({ doColorCorrect: !linear });
  if (!image) fail('The render left no image: look at the messages above, or run again with --verbose.');
  try {
    const detail = { png: [options.bits], tif: [options.bits], tiff: [options.bits] }[options.type] || [];
    if (options.quality !== undefined) detail.push(options.quality);
    await image.promises.save(options.output, ...detail);
    return { width: image.width, height: image.height };
  } catch (error) {
    return fail(`${options.output} could not be written: check the space and the permissions of its folder.`);
  } finally {
    image.close();
  }
}

/** How much of the render is done, 0 to 1: by samples or by the time that it may take, whichever ends it first. */
function shareDone(done, total, started, { timeLimit }) {
  const byTime = timeLimit ? (Date.now() - started) / 1000 / timeLimit : 0;
  return Math.max(total > 0 ? done / total : 0, byTime);
}

/** Renders and writes; resolves to the exit code. Throws a CommandFailure with the sentence to print. */
async function render(options) {
  checkFiles(options);
  const kiln = loadBoundPackage();
  overrideSettings(kiln, options);
  const started = Date.now();
  const progress = new Progress(process.stderr);
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false, showFrameBuffer: false });
  const interruption = new Interruption();
  const onInterrupt = () => {
    // Whoever asks twice does not want to wait for the threads to end.
    if (interruption.asked) process.exit(EXIT.INTERRUPTED);
    interruption.asked = true;
    renderer.stop(() => {});
  };
  process.on('SIGINT', onInterrupt);
  try {
    listenToLog(kiln, renderer, options, progress);
    if (!options.json) {
      renderer.on('progress', (text, done, total) => progress.update(text, shareDone(done, total, started, options), 1));
    }
    await renderScene(renderer, options, interruption);
    progress.end();
    const state = renderer.state;
    if (state === 'idleError' || state === 'fatalError') fail(`The render failed: ${renderer.lastError}`);
    const { width, height } = await saveImage(renderer, options);
    const seconds = (Date.now() - started) / 1000;
    process.stdout.write(
      options.json
        ? `${JSON.stringify({ ok: true, output: options.output, width, height, seconds })}\n`
        : `Wrote ${options.output}, ${width} x ${height}, in ${formatSeconds(seconds)}\n`
    );
    return EXIT.OK;
  } finally {
    progress.end();
    process.removeListener('SIGINT', onInterrupt);
    await renderer.promises.close();
  }
}

module.exports = { render };
