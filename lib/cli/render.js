// `kiln render`: loads a scene or a model, renders a picture or a sequence with progress, and writes the files.
'use strict';

const path = require('path');
const { CommandFailure, EXIT } = require('./failure.js');
const { countFrames, eachFrame } = require('./frames.js');
const { loadBoundPackage } = require('./library.js');
const { didYouMean } = require('./nearest.js');
const { allFiles, checkElementFiles, checkFiles, fail, filesOf, saveImage } = require('./outputs.js');
const { Progress, formatSeconds } = require('./progress.js');

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
  renderer.minLogLevel = most;
  renderer.on('logMessage', (message, level) => {
    if (level > most) return;
    progress.end();
    process.stderr.write(`${names[level] || level}: ${message.trim()}\n`);
  });
}

/** Whether Ctrl-C was pressed; steps that it should end look here. */
class Interruption {
  constructor() {
    this.asked = false;
    this.written = 0;
  }
  check() {
    if (!this.asked) return;
    const what = this.written === 0 ? 'nothing was written' : `${this.written} frames were written`;
    throw new CommandFailure(EXIT.INTERRUPTED, `Interrupted: ${what}.`);
  }
}

/** Refuses an element whose name the library does not know. */
function checkElements(renderer, elements) {
  const known = renderer.renderElements.getAvailableTypes();
  for (const name of elements) {
    if (!known.includes(name)) {
      throw new CommandFailure(EXIT.USAGE, `There is no render element "${name}"${didYouMean(name, known)}`);
    }
  }
}

/** Refuses a camera that the scene has not got, with the names of those that it has. */
function checkCamera(renderer, name) {
  const { plugins, classCategories } = renderer;
  const cameras = Object.keys(classCategories.Render_view).flatMap((className) => Object.keys(plugins(className)));
  if (cameras.includes(name)) return;
  fail(`There is no camera "${name}" in the scene: it has ${cameras.length > 0 ? cameras.join(', ') : 'none'}.`);
}

/** The elements, added to the scene where it has not got them. */
function addElements(renderer, names) {
  return names.map((name) => {
    const element = renderer.renderElements.get(name) || renderer.renderElements.add(name);
    return element || fail(`This library has no render element "${name}": leave it out of --elements.`);
  });
}

/** Loads the scene and puts the options on the renderer. Returns {elements, denoised}, what is written besides. */
async function prepare(renderer, options) {
  try {
    await renderer.promises.load(options.scene);
  } catch (error) {
    fail(`The scene ${options.scene} could not be loaded: ${error.message}`);
  }
  if (options.camera) checkCamera(renderer, options.camera);
  if (options.size) renderer.size = options.size;
  if (options.region) setRegion(renderer, options.region);
  if (options.threads) renderer.numThreads = options.threads;
  // Passes over the whole image are what can end at any time; buckets would leave holes.
  if (options.timeLimit) renderer.renderMode = 'interactive';
  const elements = addElements(renderer, options.elements || []);
  const [denoised] = addElements(renderer, options.denoise ? ['denoised'] : []);
  checkElementFiles(options, elements);
  return { elements, denoised };
}

function setRegion(renderer, region) {
  const { width, height } = renderer.size;
  if (region.left + region.width > width || region.top + region.height > height) {
    fail(`The region does not lie in the picture, which is ${width} x ${height}: choose another with --region.`);
  }
  renderer.renderRegion = region;
}

/** The image of an element, or of the picture: light as it was computed in floating point, or as a screen shows it. */
function imageOf(renderer, element, bits, opaque) {
  const doColorCorrect = bits !== 32;
  try {
    const image = element ? element.getImage({ doColorCorrect }) : renderer.getImage({ doColorCorrect, stripAlpha: opaque });
    if (image) return image;
  } catch (error) {
    fail(`The render left no image of ${element.type}: ${error.message}`);
  }
  return fail('The render left no image: look at the messages above, or run again with --verbose.');
}

/** Writes the picture and the elements as they stand; resolves to {width, height}. */
async function writeFiles(renderer, { elements, denoised }, options, frame) {
  let size;
  for (const one of filesOf(options, elements, frame)) {
    const layers = (one.layers || []).map((element) => ({
      type: element.type, binaryFormat: element.binaryFormat, image: imageOf(renderer, element, 32),
    }));
    const image = imageOf(renderer, one.element || denoised, one.bits, options.opaque);
    const saved = await saveImage(image, layers, { ...one, quality: options.quality });
    if (!one.element) size = saved;
  }
  return size;
}

/** Waits for the end of a frame, and throws when it failed. */
async function endOfRender(renderer, interruption) {
  // A stop that was asked for during the preparation may have found nothing to stop.
  if (interruption.asked) await renderer.promises.stop();
  await renderer.promises.waitForRenderEnd();
  interruption.check();
  const { state } = renderer;
  if (state === 'idleError' || state === 'fatalError') fail(`The render failed: ${renderer.lastError}`);
}

async function renderPicture(renderer, channels, options, interruption) {
  try {
    await renderer.promises.start();
  } catch (error) {
    fail(`The render could not start: ${renderer.lastError || error.message}`);
  }
  await endOfRender(renderer, interruption);
  return writeFiles(renderer, channels, options);
}

// The renderer stands still behind each frame until it is told to go on, so the files are written in between.
async function renderSequence(renderer, channels, options, interruption) {
  let size;
  renderer.renderSequence(options.frames);
  for (const frame of eachFrame(options.frames)) {
    if (interruption.written > 0) renderer.continueSequence();
    await endOfRender(renderer, interruption);
    size = await writeFiles(renderer, channels, options, frame);
    interruption.written += 1;
  }
  return size;
}

/** How much of the render is done, 0 to 1: by samples or by the time that it may take, whichever ends it first. */
function shareDone(done, total, started, { timeLimit }) {
  const byTime = timeLimit ? (Date.now() - started) / 1000 / timeLimit : 0;
  return Math.max(total > 0 ? done / total : 0, byTime);
}

/** Shows how far the render is; of a sequence also the frame. */
function showProgress(renderer, progress, options, started, interruption) {
  const count = options.frames ? countFrames(options.frames) : 1;
  renderer.on('progress', (text, done, total) => {
    const share = shareDone(done, total, started, options);
    if (count === 1) progress.update(text, share, 1);
    else progress.update(`frame ${Math.min(count, interruption.written + 1)} of ${count}`, (interruption.written + share) / count, 1);
  });
}

function report(options, elements, { width, height }, seconds) {
  const files = allFiles(options, elements);
  if (options.json) return `${JSON.stringify({ ok: true, output: files[0], files, width, height, seconds })}\n`;
  const picture = `${width} x ${height}, in ${formatSeconds(seconds)}`;
  if (files.length === 1) return `Wrote ${files[0]}, ${picture}\n`;
  return `Wrote ${files.length} files, ${files[0]} to ${path.basename(files[files.length - 1])}, ${picture}\n`;
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
    if (options.elements) checkElements(renderer, options.elements);
    listenToLog(kiln, renderer, options, progress);
    if (!options.json) showProgress(renderer, progress, options, started, interruption);
    const channels = await prepare(renderer, options);
    interruption.check();
    const run = options.frames ? renderSequence : renderPicture;
    const size = await run(renderer, channels, options, interruption);
    progress.end();
    process.stdout.write(report(options, channels.elements, size, (Date.now() - started) / 1000));
    return EXIT.OK;
  } finally {
    progress.end();
    process.removeListener('SIGINT', onInterrupt);
    await renderer.promises.close();
  }
}

module.exports = { render };
