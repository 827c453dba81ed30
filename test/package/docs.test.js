// The pages of docs/api: every public class has one that names all its members, and their links lead somewhere.
'use strict';

const assert = require('assert');
const fs = require('fs');
const path = require('path');
const { test } = require('node:test');
const { interfaceBody, readDeclarations } = require('../helpers/declarations.js');
const { ROOT } = require('./program.js');
const kiln = require('../../lib/index.js');

const API = path.join(ROOT, 'docs', 'api');

/** The page of each class, where it is not called like the class. */
const PAGES = {
  PluginRef: 'plugin', Category: 'class',
  Vector: 'values', Matrix: 'values', Transform: 'values', Color: 'values', AColor: 'values',
  ScannedMaterialInfo: 'utilities', BinUserAttributesWriter: 'utilities',
  IntList: 'lists', FloatList: 'lists', VectorList: 'lists', ColorList: 'lists',
};
// What an emitter has, Node.js documents.
const EMITTER = ['on', 'addListener', 'prependListener', 'removeListener', 'off', 'removeAllListeners'];

const kebab = (name) => name.replace(/([a-z])([A-Z])/g, '$1-$2').toLowerCase();
const read = (page) => fs.readFileSync(path.join(API, `${page}.md`), 'utf8');

/** The words of a page that stand as code: `load(fileName, [callback])` has load, fileName and callback. */
function wordsInCode(text) {
  const spans = [...text.replace(/```[^]*?```/g, '').matchAll(/`([^`]+)`/g)].map(([, code]) => code);
  return new Set(spans.join(' ').match(/[\w]+/g));
}

/** The members of a class: of its prototype, its own, and those that an instance has from the start. */
function membersOf(Class, instance) {
  const own = Object.getOwnPropertyNames(Class);
  const names = [...Object.getOwnPropertyNames(Class.prototype), ...own, ...(instance ? Object.getOwnPropertyNames(instance) : [])];
  const known = ['constructor', 'prototype', 'length', 'name', 'arguments', 'caller', ...EMITTER];
  return [...new Set(names)].filter((name) => !known.includes(name) || (name === 'length' && Class === kiln.Vector));
}

const isClass = (value) =>
  typeof value === 'function' && value.prototype !== undefined && Object.getOwnPropertyNames(value.prototype).length > 1;
const classes = Object.getOwnPropertyNames(kiln).filter((name) => isClass(kiln[name]));

test('the classes of the package are the ones that are looked at', () => {
  for (const name of ['KilnRenderer', 'KilnImage', 'Plugin', 'Class', 'Vector', 'VectorList']) assert.ok(classes.includes(name), name);
});

for (const name of classes) {
  test(`docs/api names every member of ${name}`, () => {
    const renderer = name === 'KilnRenderer' ? new kiln.KilnRenderer({ enableFrameBuffer: false }) : null;
    const members = membersOf(kiln[name], renderer);
    if (renderer) renderer.close();
    const words = wordsInCode(read(PAGES[name] || kebab(name)));
    assert.ok(words.has(name) || read(PAGES[name] || kebab(name)).startsWith(`# ${name}`), `${name} stands on its page`);
    assert.deepStrictEqual(members.filter((member) => !words.has(member)), []);
  });
}

test('docs/api names every function and constant of the module', () => {
  const words = wordsInCode(read('module'));
  const names = Object.getOwnPropertyNames(kiln).filter((name) => !classes.includes(name));
  assert.ok(names.length > 25);
  assert.deepStrictEqual(names.filter((name) => !words.has(name)), []);
});

test('docs/api names every event, and every key of options, of metadata and of collections', () => {
  const { EVENT_KINDS } = require('../../lib/events.js');
  const events = wordsInCode(read('events'));
  const declared = [...interfaceBody(readDeclarations(), 'RendererEvents').matchAll(/^ {2}(\w+): \[/gm)].map(([, name]) => name);
  // These three have no switch.
  const always = ['kvwContextMenuSelected', 'uploadToCollaboration', 'lightMixTransferToScene'];
  assert.deepStrictEqual(declared.sort(), [...Object.keys(EVENT_KINDS), ...always].sort());
  assert.deepStrictEqual(declared.filter((name) => !events.has(name)), []);
  const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
  const page = wordsInCode(read('kiln-renderer'));
  assert.deepStrictEqual(Object.keys(renderer.options).filter((name) => !page.has(name)), []);
  const elements = wordsInCode(read('render-element'));
  assert.deepStrictEqual(Object.keys(renderer.renderElements).filter((name) => !elements.has(name)), []);
  const meta = wordsInCode(read('class'));
  const keys = Object.keys(renderer.classes.LightSpot('a').getMeta('color'));
  assert.deepStrictEqual(keys.filter((name) => !meta.has(name)), []);
  assert.deepStrictEqual(Object.keys(renderer.classCategories).filter((name) => !meta.has(name)), []);
  renderer.close();
});

/** All Markdown files of the documentation. */
function pages() {
  const below = (folder) => fs.readdirSync(path.join(ROOT, folder)).map((name) => `${folder}/${name}`);
  return ['README.md', ...below('docs'), ...below('docs/api')].filter((name) => name.endsWith('.md'));
}

/** The anchors that a page's headings make. */
function anchors(text) {
  const headings = [...text.matchAll(/^#+ (.+)$/gm)].map(([, heading]) => heading);
  return headings.map((heading) => heading.toLowerCase().replace(/[^\w\- ]/g, '').replace(/ /g, '-'));
}

test('links between the pages lead to files and headings that are there', () => {
  let count = 0;
  for (const page of pages()) {
    const text = fs.readFileSync(path.join(ROOT, page), 'utf8');
    for (const [, target] of text.replace(/```[^]*?```/g, '').matchAll(/\]\(([^)\s]+)\)/g)) {
      if (/^https?:/.test(target)) continue;
      const [file, anchor] = target.split('#');
      const found = file === '' ? path.join(ROOT, page) : path.join(ROOT, path.dirname(page), file);
      assert.ok(fs.existsSync(found), `${page} links to ${target}`);
      if (anchor) assert.ok(anchors(fs.readFileSync(found, 'utf8')).includes(anchor), `${page} links to ${target}`);
      count += 1;
    }
  }
  assert.ok(count > 20, `${count} links`);
});

test('every page of the classes is linked from their list', () => {
  const list = read('README');
  for (const name of fs.readdirSync(API)) assert.ok(name === 'README.md' || list.includes(`(${name})`), name);
});
