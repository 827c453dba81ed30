'use strict';

const test = require('node:test');
const assert = require('assert');
const {loadNative, recorder} = require('../helpers');
const {testHosts} = require('./hosts');

const {KilnServer} = loadNative();
const server = new KilnServer();
const entryOf = (member) => `Kiln_KilnServer_${member}`;

recorder.answer('Kiln_isDR2', 1);
testHosts({object: server, entryOf, syncResult: (member, code) => (member === 'addHosts' ? code : code === 0)});

test('without the second generation of the distributed system there are no hosts to change', () => {
  recorder.answer('Kiln_isDR2', 0);
  recorder.clear();
  for (const member of ['addHosts', 'removeHosts', 'resetHosts']) {
    for (const form of [member, `${member}Sync`]) {
      assert.throws(() => server[form]('a', () => assert.fail()), {name: 'Error', message: 'Not supported error.'});
    }
    assert.strictEqual(recorder.count(entryOf(member)), 0);
  }
  server.close();
});
