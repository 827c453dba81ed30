// The same property read by other ways from JavaScript to a library: koffi, and a wrapper made with node-addon-api.
// They are fetched into the build folder for this benchmark alone; where that is not possible, it says so.
'use strict';

const path = require('path');
const { kiln } = require('./measured_sdk.js');
const { compare, report } = require('./measure.js');

const folder = process.env.KILN_PEERS_DIR;

const renderer = new kiln.KilnRenderer({ enableFrameBuffer: false });
const plugin = renderer.plugins.measured;

function readOurs(count) {
  let sum = 0;
  for (let i = 0; i < count; i++) sum += plugin.subdivs;
  globalThis.sum = sum;
}

// As its documentation reads what a function gives back through pointers.
function withKoffi() {
  const koffi = require(path.join(folder, 'node_modules', 'koffi'));
  const library = koffi.load(path.join(process.env.KILN_BENCH_DIR, 'sdk', 'libKilnSDKLibrary.so'));
  const read = library.func(
    'int Kiln_getPropertyByteArrayByID(void *renderer, uint64_t plugin, str name, _Out_ void **stream, _Out_ int *size, double time)'
  );
  const free = library.func('void C_memory_free(void *block)');
  const stream = [null];
  const size = [0];
  return (name) => {
    read(null, 1, name, stream, size, 0);
    const value = koffi.decode(stream[0], 4, 'int');
    free(stream[0]);
    return value;
  };
}

function withNodeAddonApi() {
  const wrapped = new (require(path.join(process.env.KILN_BENCH_DIR, 'napi_plugin.node')).Plugin)();
  return (name) => wrapped.get(name);
}

function readThrough(get) {
  if (get('subdivs') !== 8) throw new Error('The peer does not read the property.');
  return (count) => {
    let sum = 0;
    for (let i = 0; i < count; i++) sum += get('subdivs');
    globalThis.sum = sum;
  };
}

if (!folder) {
  process.stdout.write('peers: koffi and node-addon-api could not be fetched, so they are not measured\n');
} else {
  report('peers: reading an int through koffi', 'ours', compare(readThrough(withKoffi()), readOurs), { atLeast: 4 });
  report('peers: through node-addon-api', 'ours', compare(readThrough(withNodeAddonApi()), readOurs), { atLeast: 1.6 });
}
renderer.close();
