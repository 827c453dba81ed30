'use strict';

// What the tests of render elements share: the add-on bound to the recorder, and elements that it made.
//
//   open()                       a renderer
//   elementOf(renderer, info)    an element; info has its ID as `plugin` beside the record's fields
//   held()                       how many blocks of the SDK's the host holds
//   closeAtEnd(renderer)         behind the last test of a file

const test = require('node:test');
const {loadNative, recorder, collect} = require('../helpers');

const kiln = loadNative();
kiln.enableFrameBuffer(false);

const INFO = 'Kiln_getRenderElementInfo';
const open = () => new kiln.KilnRenderer();

function elementOf(renderer, {plugin = 0x100000007n, name = 'Element', type = 101, binary_format: format = 6} = {}) {
  recorder.once('Kiln_newRenderElementPlugin', {result: 0, out: {plugin}});
  recorder.once(INFO, {result: 1, out: {info: {name, binary_format: format, type}}});
  return renderer.renderElements.add('color');
}

const held = () => recorder.liveCounts().blocks;

function closeAtEnd(renderer) {
  test('everything that the SDK handed out has come back', async () => {
    renderer.close();
    await collect(() => {
      const live = recorder.live();
      return live.blocks.length === 0 && live.handles.length === 0;
    });
    recorder.check();
  });
}

module.exports = {kiln, recorder, INFO, open, elementOf, held, closeAtEnd};
