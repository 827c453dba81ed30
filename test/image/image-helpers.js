'use strict';

// What the tests of images share.
//
//   kiln, KilnImage    the add-on, bound to the recorder
//   copying            the reason for skipping what the copying form of the add-on does not do, or false
//   throwsError, throwsTypeError(fn, message)   of exactly that class, word for word
//   handleOf(image)    the SDK's handle, by a call that crosses with it
//   closedImage()      one that has been closed
//   isFreed(address)   the block was given back
//   setUpLists()       what the package does at its start, so that lists have their own prototypes
//   job(start)         calls start(callback) and resolves to the callback's {self, args}

const assert = require('assert');
const {loadNative, recorder} = require('../helpers');

const kiln = loadNative();
const {KilnImage} = kiln;

// The timer that serves the SDK's windows runs beside every renderer.
recorder.ignore('Kiln_GUI_pumpMessages');

const copying = process.env.KILN_COPY_BUFFERS === '1' &&
  'this form copies the pixels: no memory is shared with the image';

function throwsExactly(Class, fn, message) {
  assert.throws(fn, (error) => {
    assert.strictEqual(error.constructor, Class);
    assert.strictEqual(error.message, message);
    return true;
  });
}

const throwsError = (fn, message) => throwsExactly(Error, fn, message);
const throwsTypeError = (fn, message) => throwsExactly(TypeError, fn, message);

function handleOf(image) {
  void image.gamma;
  return recorder.last('KilnImage_getGamma').arg.image;
}

function closedImage() {
  const image = new KilnImage(4, 3);
  image.close();
  return image;
}

const isFreed = (address) => !recorder.live().blocks.some((block) => block.address === address);

class IntList extends Int32Array {}
class FloatList extends Float32Array {}
class VectorList extends Float32Array {}
class ColorList extends Float32Array {}

function setUpLists() {
  kiln.setupKilnTypesInternal(Float32Array.prototype, IntList.prototype, FloatList.prototype, VectorList.prototype,
    ColorList.prototype);
  return {IntList, FloatList, VectorList, ColorList};
}

function job(start) {
  return new Promise((resolve) => {
    start(function (...args) {
      resolve({self: this, args});
    });
  });
}

module.exports = {
  kiln, KilnImage, copying, throwsError, throwsTypeError, handleOf, closedImage, isFreed, setUpLists, job,
};
