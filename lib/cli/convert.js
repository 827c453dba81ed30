// `kiln convert`: loads a scene or a model and writes it as a scene text.
'use strict';

const { EXIT } = require('./failure.js');
const { loadBoundPackage } = require('./library.js');
const { checkReadable, checkWritable, fail } = require('./outputs.js');

/** Prints warnings and errors of the renderer; the rest when asked for. */
function listenToLog(kiln, renderer, { verbose }) {
  renderer.minLogLevel = verbose ? kiln.LOGLEVEL_DEBUG : kiln.LOGLEVEL_WARNING;
  renderer.on('logMessage', (message) => process.stderr.write(`${message.trim()}\n`));
}

/** Converts; resolves to the exit code. options: {input, output, json, verbose?}. */
async function convert(options) {
  checkReadable(options.input);
  checkWritable(options.output);
  const kiln = loadBoundPackage();
  const renderer = await kiln.promises.createKilnRenderer({ enableFrameBuffer: false, showFrameBuffer: false });
  try {
    listenToLog(kiln, renderer, options);
    try {
      await renderer.promises.load(options.input);
    } catch (error) {
      fail(`The scene ${options.input} could not be loaded: ${error.message}`);
    }
    const { length } = renderer.plugins;
    try {
      await renderer.promises.export(options.output);
    } catch (error) {
      fail(`${options.output} could not be written: ${renderer.lastError || error.message}`);
    }
    process.stdout.write(
      options.json
        ? `${JSON.stringify({ ok: true, output: options.output, plugins: length })}\n`
        : `Wrote ${options.output}, ${length} plugins\n`
    );
    return EXIT.OK;
  } finally {
    await renderer.promises.close();
  }
}

module.exports = { convert };
