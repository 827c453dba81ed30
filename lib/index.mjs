// The package for ES modules: the same objects as lib/index.js, each by its name.
import kiln from './index.js';

export default kiln;

export const {
  // Functions of the module.
  setSDKLibraryPath,
  getSDKLibraryErrorString,
  getSDKLibraryMissingFunctions,
  enableFrameBuffer,
  close,
  setProcessPriority,
  setNumaNode,
  setEnvVar,
  getEnvVar,
  getAPIVersion,
  getKilnVersion,
  getKilnVersionDetails,
  getMaterialLibraryPath,
  isDR2,
  createKilnRenderer,
  setupKilnTypesInternal,
  isVectorList,
  isColorList,
  intListToString,
  floatListToString,
  vectorListToString,
  colorListToString,
  typedListToString,
  stringify,
  // Constants.
  LOGLEVEL_ERROR,
  LOGLEVEL_WARNING,
  LOGLEVEL_INFO,
  LOGLEVEL_DEBUG,
  RENDER_PASS_FINAL,
  RENDER_PASS_LIGHT_CACHE,
  RENDER_PASS_IRRADIANCE_MAP,
  PROFILER_MODE_OFF,
  PROFILER_MODE_SIMPLE,
  PROFILER_MODE_FULL,
  Language,
  // Classes.
  KilnRenderer,
  KilnImage,
  Vector,
  Matrix,
  Transform,
  Color,
  AColor,
  IntList,
  FloatList,
  VectorList,
  ColorList,
  // Promise forms of the functions.
  promises,
} = kiln;
