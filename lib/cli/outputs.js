// The files that a render writes: their names, whether they can be written, and the writing.
'use strict';

const fs = require('fs');
const path = require('path');
const { channelsOf, encodeExr } = require('./exr.js');
const { CommandFailure, EXIT } = require('./failure.js');
const { eachFrame, elementFile, frameFile } = require('./frames.js');

function fail(message) {
  throw new CommandFailure(EXIT.FAILED, message);
}

/** Refuses before the work what would fail after it: a folder that is not there, a file that may not be written. */
function checkWritable(file) {
  const folder = path.dirname(file);
  if (!fs.existsSync(folder)) fail(`The folder ${folder} does not exist: create it, or write elsewhere.`);
  if (fs.existsSync(file) && fs.statSync(file).isDirectory()) fail(`${file} is a folder: name a file in it.`);
  const isThere = fs.existsSync(file);
  try {
    // Permissions do not tell everything: not of file systems without a file, nor to a superuser.
    fs.closeSync(fs.openSync(file, 'a'));
    if (!isThere) fs.unlinkSync(file);
  } catch (error) {
    fail(`${file} cannot be written (${error.code}): change the permissions, or write elsewhere.`);
  }
}

/** Refuses a scene that cannot be read. */
function checkReadable(scene) {
  if (!fs.existsSync(scene)) fail(`The scene ${scene} does not exist: check its path.`);
  if (fs.statSync(scene).isDirectory()) fail(`${scene} is a folder: name a scene or a model in it.`);
  try {
    fs.accessSync(scene, fs.constants.R_OK);
  } catch (error) {
    fail(`${scene} cannot be read: change its permissions.`);
  }
}

/** The frames of the options as file names want them; undefined for the one picture that is no sequence. */
const framesOf = ({ frames }) => (frames ? [...eachFrame(frames)] : [undefined]);

const named = (file, frame) => (frame === undefined ? file : frameFile(file, frame));

/** Checks the scene and the picture; of a sequence the first one, as all lie in one folder. */
function checkFiles(options) {
  checkReadable(options.scene);
  checkWritable(named(options.output, framesOf(options)[0]));
}

const isColor = ({ binaryFormat }) => ['3_floats', '4_floats'].includes(binaryFormat);

/**
 * The files of a frame: [{file, type, bits, element}], the picture first, with null as its element. The elements are
 * layers of an .exr. Beside another picture each has a file: colours in its format, the rest as .exr, as no picture for
 * a screen holds a depth or a position.
 */
function filesOf(options, elements, frame) {
  const { output, type, bits } = options;
  const picture = { file: named(output, frame), type, bits, element: null };
  if (type === 'exr') return [{ ...picture, layers: elements }];
  const beside = elements.map((element) => {
    const file = named(elementFile(output, element.type), frame);
    if (isColor(element)) return { file, type, bits, element };
    return { file: file.slice(0, file.length - path.extname(file).length) + '.exr', type: 'exr', bits: 32, element };
  });
  return [picture, ...beside];
}

/** Checks the files of the elements in the same way. */
function checkElementFiles(options, elements) {
  for (const { file } of filesOf(options, elements, framesOf(options)[0])) checkWritable(file);
}

/** All files of the render in their order. */
function allFiles(options, elements) {
  return framesOf(options).flatMap((frame) => filesOf(options, elements, frame).map(({ file }) => file));
}

/** Writes an image with its layers, {name: {image, binaryFormat}}, to one .exr. */
async function saveLayers(image, layers, file) {
  const channels = channelsOf(image.getPixelData(), null);
  for (const { type, binaryFormat, image: layer } of layers) channels.push(...channelsOf(layer.getPixelData(), type, binaryFormat));
  await fs.promises.writeFile(file, encodeExr(channels, image.width, image.height));
}

/**
 * Writes an image, and the layers [{type, binaryFormat, image}] with it; closes them all. Resolves to the size.
 */
async function saveImage(image, layers, { file, type, bits, quality }) {
  try {
    const detail = ['png', 'tif', 'tiff'].includes(type) ? [bits] : [];
    if (quality !== undefined && ['jpg', 'jpeg'].includes(type)) detail.push(quality);
    if (layers.length > 0) await saveLayers(image, layers, file);
    else await image.promises.save(file, ...detail);
    return { width: image.width, height: image.height };
  } catch (error) {
    return fail(`${file} could not be written: check the space and the permissions of its folder.`);
  } finally {
    image.close();
    for (const layer of layers) layer.image.close();
  }
}

module.exports = { allFiles, checkElementFiles, checkFiles, checkReadable, checkWritable, fail, filesOf, saveImage };
