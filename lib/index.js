// The package: the add-on's exports, with list classes, an event emitter, promises and the embedded engine as default.
'use strict';

const native = require('./native.js');
const { makeEmitter, makeSwitchedEmitter } = require('./events.js');
const { useEngineIfNothingBound } = require('./engine.js');
const { IntList, FloatList, VectorList, ColorList, setupLists } = require('./lists.js');
const { setupPromises } = require('./promises.js');

setupLists(native);
makeSwitchedEmitter(native.KilnRenderer);
makeEmitter(native.KilnServer);
const promises = setupPromises(native);
useEngineIfNothingBound(native);

Object.defineProperties(exports, Object.getOwnPropertyDescriptors(native));
Object.assign(exports, { IntList, FloatList, VectorList, ColorList, promises });
