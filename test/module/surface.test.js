'use strict';

// The whole surface as a text: every export, class and member with its attributes and length. A change of the surface is
// a change of surface.txt, which KILN_UPDATE_SURFACE=1 writes anew.
const test = require('node:test');
const assert = require('assert');
const fs = require('fs');
const path = require('path');
const {loadNative} = require('../helpers');

const GOLDEN = path.join(__dirname, 'surface.txt');
const kiln = loadNative();
// What a function has of its own in every version of Node.js.
const PLAIN = ['length', 'name', 'prototype', 'arguments', 'caller', 'constructor'];

function attributesOf({writable, enumerable, configurable, get}) {
  const changeable = get === undefined ? writable : true;
  return `${changeable ? 'w' : '-'}${enumerable ? 'e' : '-'}${configurable ? 'c' : '-'}`;
}

function lineOf(indent, object, key) {
  const own = Object.getOwnPropertyDescriptor(object, key);
  const {value} = own;
  const kind = typeof value === 'function' ? `function, ${value.length}` : own.get ? 'accessor' : typeof value;
  return `${' '.repeat(indent)}${String(key)}  ${attributesOf(own)}  ${kind}`;
}

// Keys in the order of their definition; symbols behind.
function linesOf(indent, object, skip = []) {
  const keys = Reflect.ownKeys(object).filter((key) => !skip.includes(key));
  return keys.map((key) => lineOf(indent, object, key));
}

function surface() {
  kiln.enableFrameBuffer(false);
  const renderer = new kiln.KilnRenderer();
  const instances = {
    KilnRenderer: renderer, KilnImage: new kiln.KilnImage(1, 1), Vector: new kiln.Vector(), Matrix: new kiln.Matrix(),
    Transform: new kiln.Transform(), Color: new kiln.Color(), AColor: new kiln.AColor(),
  };
  const lines = [];
  for (const key of Reflect.ownKeys(kiln)) {
    lines.push(lineOf(0, kiln, key));
    const value = kiln[key];
    if (typeof value === 'function' && value.prototype !== undefined) {
      lines.push(...linesOf(4, value, PLAIN));
      lines.push(...linesOf(2, value.prototype, ['constructor']));
      if (instances[key]) lines.push('  instance', ...linesOf(4, instances[key]));
    } else if (typeof value === 'object') {
      lines.push(...linesOf(2, value));
    }
  }
  for (const key of ['renderElements', 'kvw']) {
    if (renderer[key]) lines.push(key, ...linesOf(2, renderer[key], PLAIN));
  }
  renderer.close();
  return `${lines.join('\n')}\n`;
}

test('the surface is the one that is written down', () => {
  const present = surface();
  if (process.env.KILN_UPDATE_SURFACE) fs.writeFileSync(GOLDEN, present);
  assert.strictEqual(present, fs.readFileSync(GOLDEN, 'utf8'));
});
