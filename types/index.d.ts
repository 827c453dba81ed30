// What the package offers to TypeScript. Texts of errors and the finer rules stand in docs/.
/// <reference types="node" />

import { EventEmitter } from 'events';

// ---------------------------------------------------------------------------------------------------------------
// Functions of the module

/**
 * Takes the SDK library from a folder; null or undefined takes the system's default search. With `load` the loaded
 * library is swapped even while objects of it live: true loads at once, anything else at the next use.
 * Returns whether the library could be bound, or true when it was not tried yet.
 */
export function setSDKLibraryPath(path: string | null | undefined, load?: boolean): boolean;
/** What the last attempt to load a library came to. */
export function getSDKLibraryErrorString(): string;
/** The entry points that the loaded library lacks. */
export function getSDKLibraryMissingFunctions(): string[];
/** Whether renderers made from now on may open the frame-buffer window. */
export function enableFrameBuffer(isEnabled: boolean): void;
/** Unloads the SDK library and forgets its path. */
export function close(): void;
export function setProcessPriority(pid: number, priority: 'idle' | 'low' | 'normal' | 'high' | 'highest'): boolean;
export function setNumaNode(pid: number, node: number): boolean;
/** Sets a variable of the SDK's own environment; undefined or null removes it. */
export function setEnvVar(name: string, value: string | null | undefined): boolean;
export function getEnvVar(name: string): string | undefined;
export function getAPIVersion(): string;
export function getKilnVersion(): string;
export function getKilnVersionDetails(): string | undefined;
export function getMaterialLibraryPath(): string | undefined;
export function isDR2(): boolean;

export type CreateCallback = (error: Error | null, renderer?: KilnRenderer) => void;
export function createKilnRenderer(callback: CreateCallback): void;
export function createKilnRenderer(options: RendererOptions | null | undefined, callback: CreateCallback): void;
export function createKilnRenderer(callback: CreateCallback, options: RendererOptions | null | undefined): void;

export type CreateServerCallback = (error: Error | null, server?: KilnServer) => void;
export function createKilnServer(callback: CreateServerCallback): void;
export function createKilnServer(options: ServerOptions | null | undefined, callback: CreateServerCallback): void;
export function createKilnServer(callback: CreateServerCallback, options: ServerOptions | null | undefined): void;

/** The package calls it once for its list classes; a host that replaces them calls it again. */
export function setupKilnTypesInternal(
  root: object, intList: object, floatList: object, vectorList: object, colorList: object
): void;

export function isVectorList(value: unknown): value is VectorList;
export function isColorList(value: unknown): value is ColorList;
/** The list as text, cut after so many items where there are more; undefined for what is no typed array. */
export function intListToString(list: ArrayBufferView, maxItems?: number): string | undefined;
export function floatListToString(list: ArrayBufferView, maxItems?: number): string | undefined;
export function vectorListToString(list: ArrayBufferView, maxItems?: number): string | undefined;
export function colorListToString(list: ArrayBufferView, maxItems?: number): string | undefined;
/** The form is chosen by the kind of list; other values give their own text. */
export function typedListToString(list: unknown, maxItems?: number): string | undefined;
/** A value of a scene as text, arrays and lists element by element. */
export function stringify(value: unknown, maxItems?: number, ...rest: unknown[]): string;

export type OSLParameterType = 'Unsupported' | 'Int' | 'Boolean' | 'Float' | 'String' | 'Texture' | 'Color' | 'Vector';
/** What a shader declares, in the order of its declarations. */
export interface OSLParameters {
  outputColorParams: string[];
  outputFloatParams: string[];
  outputClosureParams: string[];
  inputParams: {
    name: string;
    type: OSLParameterType;
    /** null where the type has no value. */
    defaultValue: number | boolean | string | Color | Vector | null;
  }[];
}
/** Reads the parameters of a shader on another thread; null for a shader without a description. */
export function getOSLParameters(
  fileName: string, callback?: (error: Error | null, parameters: OSLParameters | null) => void
): void;
export function getOSLParametersSync(fileName: string): OSLParameters | null;

export interface HostCheckResult {
  ready: boolean;
  /** Left out for a state without a name. */
  status?: 'Error Resolve' | 'Error Connect' | 'Error Timeout' | 'Server Ready' | 'Server Unknown' | 'Server Error' | 'Server Busy';
  cpuCount?: number;
  kilnVersion?: string;
  hostResolved?: string;
  hostConnectedTo?: string;
  revisionTime?: string;
}
/** Asks a render host, a name or "name:port", whether it is there and what it is. */
export function checkDRHost(host: string, callback: (error: Error | null, result?: HostCheckResult) => void): void;
export function checkDRHostSync(host: string): HostCheckResult | undefined;

/** The keys count in any case; what is left out keeps the SDK's default. */
export interface ScannedMaterialParams {
  plain?: number | 'PL_NONE' | 'PlNone' | 'PL_HMG' | 'PlHmg' | 'PL_HMGSYM' | 'PlHmgSym' | 'PL_SCRAMBLE' | 'PlScramble';
  filter?: { r?: number; g?: number; b?: number } | null;
  /** Four rows of a transform. */
  uvtrans?: ArrayLike<{ x?: number; y?: number; z?: number }>;
  clrSpace?: number | 'CS_SRGB' | 'cssrgb' | 'CS_ADOBE' | 'csAdobe' | 'CS_PP' | 'csPP';
  triplanar?: number | { enabled?: boolean; randomOffset?: boolean; randomRotation?: boolean };
  mapChBitmask?: number;
  noCachedGI?: boolean;
  [key: string]: unknown;
}
/** The integers that a plugin's property of a scanned material holds. */
export function encodeScannedMaterialParams(params: ScannedMaterialParams): Int32Array;

/** One reference between two plugins. */
export interface PluginLink {
  fromPlugin: Plugin | null;
  fromProperty: string;
  toPlugin: Plugin | null;
}
export const Util: {
  /** What the plugin refers to; with `recursive` also what that refers to. undefined when its renderer is closed. */
  readonly getChildPlugins: (plugin: Plugin, recursive: boolean) => PluginLink[] | undefined;
  /** What refers to the plugin. */
  readonly getParentPlugins: (plugin: Plugin) => PluginLink[] | undefined;
  /** The intensity that a light file of the IES prescribes. */
  readonly getIESPrescribedIntensity: (fileName?: string) => number;
};

/** Names a mesh file and says how it is read. The keys count in any case. */
export interface ProxyReadParams {
  file?: string;
  object_path?: string;
  compute_normals?: number;
  flip_axis?: number;
  subdiv_level?: number;
  subdiv_preserve_map_borders?: number;
  anim_type?: number;
  num_preview_faces?: number;
  /** In degrees. */
  smooth_angle?: number;
  anim_speed?: number;
  anim_offset?: number;
  fps?: number;
  hair_width_multiplier?: number;
  particle_width_multiplier?: number;
  use_full_names?: boolean;
  compute_bbox?: boolean;
  subdiv_all_meshes?: boolean;
  subdiv_uvs?: boolean;
  subdiv_preserve_geom_borders?: boolean;
  instancing?: boolean;
  use_alembic_offset?: boolean;
}
/** Which data of a mesh file are read. The keys count in any case; `all` stands for every one. */
export interface ProxyDataFlags {
  vertices?: boolean;
  normals?: boolean;
  mtlIDs?: boolean;
  velocities?: boolean;
  UVs?: boolean;
  shaders?: boolean;
  objectInfos?: boolean;
  hairObjectInfos?: boolean;
  particleObjectInfos?: boolean;
  hair?: boolean;
  particles?: boolean;
  geometryVoxelsBBoxes?: boolean;
  hairVoxelsBBoxes?: boolean;
  particleVoxelsBBoxes?: boolean;
  all?: boolean;
}
/**
 * A mesh file's content; what was not asked for, or is not in the file, has no key. A voxel's range in a list runs from
 * its start index to the next one's.
 */
export interface ProxyData {
  vertices?: VectorList;
  vertexIndices?: IntList;
  voxelVerticesStartIndices?: IntList;
  voxelVertexIndicesStartIndices?: IntList;
  normals?: VectorList;
  normalIndices?: IntList;
  voxelNormalsStartIndices?: IntList;
  voxelNormalIndicesStartIndices?: IntList;
  materialIDs?: IntList;
  /** One int for ten faces. */
  edgeVisibility?: IntList;
  voxelMaterialIDsStartIndices?: IntList;
  velocities?: VectorList;
  voxelVelocitiesStartIndices?: IntList;
  uvOriginalIndices?: IntList;
  uvSetNames?: string[];
  uvValues?: VectorList[];
  uvValueIndices?: IntList[];
  voxelUVValuesStartIndices?: IntList;
  voxelUVValueIndicesStartIndices?: IntList;
  shaderIDs?: IntList;
  shaderNames?: string[];
  objectInfoIDs?: IntList;
  objectInfoVBegins?: IntList;
  objectInfoVEnds?: IntList;
  objectInfoNames?: string[];
  hairObjectInfoIDs?: IntList;
  hairObjectInfoVBegins?: IntList;
  hairObjectInfoVEnds?: IntList;
  hairObjectInfoNames?: string[];
  particleObjectInfoIDs?: IntList;
  particleObjectInfoVBegins?: IntList;
  particleObjectInfoVEnds?: IntList;
  particleObjectInfoNames?: string[];
  hairVertices?: VectorList;
  hairVerticesPerStrand?: IntList;
  hairVerticesStartIndices?: IntList;
  hairVerticesPerStrandStartIndices?: IntList;
  hairWidths?: FloatList;
  hairWidthsStartIndices?: IntList;
  particleVertices?: VectorList;
  particleVerticesStartIndices?: IntList;
  particleWidths?: FloatList;
  particleWidthsStartIndices?: IntList;
  /** The lower and the upper corner of each voxel. */
  geometryVoxelsBBoxes?: VectorList;
  hairVoxelsBBoxes?: VectorList;
  particleVoxelsBBoxes?: VectorList;
  voxelInfoWireColor?: ColorList;
  voxelInfoSmoothed?: IntList;
  voxelInfoFlipNormals?: IntList;
}
/** One frame, or a frame number and a list for each frame; anything else is no data. */
export type MeshFrames<List> = List | readonly (readonly (number | List)[])[];
/**
 * An object of a mesh file as plain data, which the library reads where it lies. The keys count in any case. Vector lists
 * count numbers, three a vector.
 */
export interface MeshFileData {
  vertices?: MeshFrames<Float32Array>;
  faces?: MeshFrames<Int32Array | Uint32Array>;
  normals?: MeshFrames<Float32Array>;
  faceNormals?: MeshFrames<Int32Array | Uint32Array>;
  velocities?: MeshFrames<Float32Array>;
  faceMtlIDs?: MeshFrames<Int32Array | Uint32Array>;
  /** The channel's index, its vertices and its faces. */
  mapChannels?: readonly (readonly (number | Float32Array | Int32Array | Uint32Array)[])[];
  mapChNames?: readonly string[];
  /** The shader's ID and its name. */
  shaderNames?: readonly (readonly (number | string)[])[];
  edgeVisibility?: MeshFrames<Int32Array | Uint32Array>;
  hairVertices?: MeshFrames<Float32Array>;
  hairVerticesPerStrand?: MeshFrames<Int32Array | Uint32Array>;
  hairWidths?: MeshFrames<Float32Array>;
  particleVertices?: MeshFrames<Float32Array>;
  particleWidths?: MeshFrames<Float32Array>;
}
/** As many key frames as transforms; otherwise the object does not move. The keys count in any case. */
export interface AnimatedTransforms {
  transforms?: readonly Transform[];
  keyFrames?: readonly number[];
}
/** How a mesh file is written. The lists are used when they are long enough for all objects. */
export interface MeshFileSettings {
  voxelElements?: number;
  /** 10000 when not given. */
  numPreviewElements?: number;
  /** Any other text stands for the default. */
  previewType?: 'face_sampling' | 'clustering' | 'edge_collapse' | (string & {});
  isAnimated?: boolean;
  startFrame?: number;
  endFrame?: number;
  mergeVoxels?: boolean;
  customPreviewFile?: string;
  /** Three numbers an object. */
  voxelInfoWireColor?: Float32Array;
  /** One number an object, like the next one. */
  voxelInfoSmoothed?: Int32Array;
  voxelInfoFlipNormals?: Int32Array;
  exportPointCloud?: boolean;
  /** 2.2 when not given. */
  pointSize?: number;
  /** 1000 when not given. */
  previewHairs?: number;
  /** 20000 when not given. */
  previewParticles?: number;
}
export interface MeshFileOptions extends MeshFileSettings {
  objectName?: string;
  objectID?: number;
  transform?: Transform;
  animTransform?: AnimatedTransforms;
}
/** Arrays of another length than the objects are ignored. */
export interface CombinedMeshFileOptions extends MeshFileSettings {
  objectNames?: readonly string[];
  objectIDs?: readonly number[];
  transforms?: readonly Transform[];
  animTransforms?: readonly AnimatedTransforms[];
}
export type ProxyDataCallback = (error: Error | null, data?: ProxyData) => void;
/** Mesh files, named by a plugin of the class GeomMeshFile or by an object. */
export const Proxy: {
  /** Three indices a face. Like the other two it throws when the file can't be read. */
  readonly readPreviewGeometry: (
    source: Plugin | ProxyReadParams, countHint?: number
  ) => { vertices: VectorList; indices: IntList };
  /** The number of vertices of each strand. */
  readonly readPreviewHair: (
    source: Plugin | ProxyReadParams, countHint?: number
  ) => { vertices: VectorList; lengths: IntList };
  readonly readPreviewParticles: (source: Plugin | ProxyReadParams, countHint?: number) => { positions: VectorList };
  /** These two give an object without keys when the file can't be read. */
  readonly readPreviewData: (source: Plugin | ProxyReadParams, flags?: ProxyDataFlags) => ProxyData;
  readonly readFullDataSync: (source: Plugin | ProxyReadParams, flags?: ProxyDataFlags) => ProxyData;
  /** On another thread. One object may name the file and hold the flags; with two arguments everything is read. */
  readonly readFullData: (
    ...args: (Plugin | (ProxyReadParams & ProxyDataFlags) | ProxyDataFlags | ProxyDataCallback)[]
  ) => void;
  /**
   * Writes a file of one object: a plugin of the class GeomStaticMesh, GeomMayaHair or GeomParticleSystem, or data. false
   * when the library could not write it or data could not be read, undefined when an option could not be read.
   */
  readonly createMeshFile: (source: Plugin | MeshFileData, path: string, options?: MeshFileOptions) => boolean | undefined;
  /** A file of several objects. With a plugin among them only the plugins are written, by the first one's renderer. */
  readonly createCombinedMeshFile: (
    sources: readonly (Plugin | MeshFileData)[], path: string, options?: CombinedMeshFileOptions
  ) => boolean | undefined;
};

/** Strings, and arrays of them to any depth; other values are skipped. */
export type Hosts = string | readonly Hosts[];
export type HostListCallback = (hosts: string[]) => void;

/** The keys count in any case. */
export interface DRClientOptions {
  dispatcher?: string;
  httpProxy?: string;
  localRendering?: boolean;
  withBroadcastListener?: boolean;
  pipelinedUpstream?: boolean;
  enableAssigningWUsAsBackups?: boolean;
  immediatelyForwardReadySplitBucketSubunits?: boolean;
  connectTimeout?: number;
  upstreamChannels?: number;
  verboseLevel?: number;
}

export interface ServerOptions {
  portNumber?: number;
  numThreads?: number;
  remoteScenePath?: string | null;
  pluginLibraryPath?: string | null;
  includePaths?: string | null;
  changeCurrentDirectory?: boolean;
  keepSceneInMemory?: boolean;
  overwriteLocalCacheSettings?: boolean;
  runAsLiveLink?: boolean;
  cachedAssetsLimitType?: number;
  cachedAssetsLimitValue?: number;
  /** Those that follow count where isDR2() is true. */
  dr2AsDispatcher?: boolean;
  dr2RunLocalRenderServer?: boolean;
  dr2SecureConnection?: boolean;
  dr2DisableUdp?: boolean;
  dr2ListenOnIpv4?: boolean;
  dr2ListenOnIpv6?: boolean;
  dr2PipelinedUpstream?: boolean;
  dr2HttpProxy?: string | null;
  dr2WorkerThreadsPerServer?: number;
  dr2ConnectTimeout?: number;
  dr2UpstreamChannels?: number;
}
/** The last of each is the time of the event, in seconds. */
export interface ServerEvents {
  connect: [host: string, time: number];
  disconnect: [host: string, time: number];
  logMessage: [message: string, level: number, time: number];
  start: [time: number];
  progress: [message: string, first: number, second: number, time: number];
}
/** A render server, to which others connect; while it runs it is not collected. */
export class KilnServer extends EventEmitter {
  constructor(options?: ServerOptions | null);
  on<E extends keyof ServerEvents>(event: E, listener: (...args: ServerEvents[E]) => void): this;
  once<E extends keyof ServerEvents>(event: E, listener: (...args: ServerEvents[E]) => void): this;
  off<E extends keyof ServerEvents>(event: E, listener: (...args: ServerEvents[E]) => void): this;
  /** 2 at first; writing it changes which messages are told. */
  minLogLevel: number;
  start(): void;
  stop(): void;
  /** Ends the server: with a callback on another thread, otherwise before it returns. */
  close(callback?: () => void): void;
  /** These throw where isDR2() is false. */
  addHosts(...hosts: (Hosts | DoneCallback)[]): void;
  removeHosts(...hosts: (Hosts | DoneCallback)[]): void;
  resetHosts(...hosts: (Hosts | DoneCallback)[]): void;
  /** The library's code: above 0 when the hosts were added and connected. */
  addHostsSync(...hosts: Hosts[]): number;
  removeHostsSync(...hosts: Hosts[]): boolean;
  resetHostsSync(...hosts: Hosts[]): boolean;
  getAllHosts(callback: HostListCallback): void;
  getActiveHosts(callback: HostListCallback): void;
  getInactiveHosts(callback: HostListCallback): void;
  getAllHostsSync(): string[];
  getActiveHostsSync(): string[];
  getInactiveHostsSync(): string[];
  readonly promises: {
    addHosts(...hosts: Hosts[]): Promise<void>;
    removeHosts(...hosts: Hosts[]): Promise<void>;
    resetHosts(...hosts: Hosts[]): Promise<void>;
    getAllHosts(): Promise<string[]>;
    getActiveHosts(): Promise<string[]>;
    getInactiveHosts(): Promise<string[]>;
    close(): Promise<void>;
  };
}

/** The description and the presets out of a scan file. */
export class ScannedMaterialInfo {
  constructor(fileName: string);
  close(): void;
  /** null when there is no such text. */
  getInfoSync(name: string): string | null;
  getPresetSync(name: string): Record<string, number>;
}

/** Builds the compact binary form of user attributes, which a plugin's property holds. */
export class BinUserAttributesWriter {
  constructor();
  /** false for a value of another kind, of which nothing is written. */
  add(name: string, value: number | string | AColor | Color | Vector): boolean;
  /** The attributes as whole words; the writer is empty afterwards. */
  toIntList(): IntList;
  toString(): string;
}

/** Functions that belong to no object, as promises. */
export const promises: {
  readonly createKilnRenderer: (options?: RendererOptions | null) => Promise<KilnRenderer>;
  readonly createKilnServer: (options?: ServerOptions | null) => Promise<KilnServer>;
  readonly getOSLParameters: (fileName: string) => Promise<OSLParameters | null>;
  readonly checkDRHost: (host: string) => Promise<HostCheckResult>;
  readonly createImageFromBuffer: (
    buffer: Buffer, type: DecodedType, renderer?: KilnRenderer
  ) => Promise<KilnImage>;
};

// ---------------------------------------------------------------------------------------------------------------
// Constants

export const LOGLEVEL_ERROR: 0;
export const LOGLEVEL_WARNING: 1;
export const LOGLEVEL_INFO: 2;
export const LOGLEVEL_DEBUG: 3;
export const RENDER_PASS_FINAL: 0;
export const RENDER_PASS_LIGHT_CACHE: 1;
export const RENDER_PASS_IRRADIANCE_MAP: 2;
export const PROFILER_MODE_OFF: 0;
export const PROFILER_MODE_SIMPLE: 1;
export const PROFILER_MODE_FULL: 2;
export const Language: { readonly EN_US: 'en-US'; readonly ZH_CN: 'zh-CN' };

// ---------------------------------------------------------------------------------------------------------------
// Lists

/** Lists print as the scene's values do; `maxItems` cuts a long one. */
export class IntList extends Int32Array {
  /** The number of elements. */
  readonly count: number;
  toArray(): number[];
  toString(maxItems?: number): string;
}
export class FloatList extends Float32Array {
  /** The number of elements. */
  readonly count: number;
  toArray(): number[];
  toString(maxItems?: number): string;
}

export type VectorLike = Vector | readonly [number, number, number] | { x: number; y: number; z: number };
export type ColorLike = Color | AColor | readonly [number, number, number] | { r: number; g: number; b: number };

/**
 * Three floats a vector, packed. As a typed array it is its numbers: length, index, for ... of and map; `count`, `get`,
 * `set` with an index, `elements` and `toArray` are by vector.
 */
export class VectorList extends Float32Array {
  constructor(vectors: Iterable<VectorLike>);
  constructor(numbers?: ArrayLike<number> | number);
  constructor(buffer: ArrayBufferLike, byteOffset?: number, length?: number);
  static from(items: ArrayLike<number> | Iterable<number>): VectorList;
  static from(items: Iterable<VectorLike>): VectorList;
  static from<T>(
    items: ArrayLike<T> | Iterable<T>, map: (item: T, index: number) => VectorLike | number, self?: any
  ): VectorList;
  /** The number of vectors. */
  readonly count: number;
  /** undefined where there is none. */
  get(index: number): Vector | undefined;
  /** Throws a RangeError where there is none. */
  set(index: number, vector: VectorLike): void;
  set(numbers: ArrayLike<number>, offset?: number): void;
  elements(): IterableIterator<Vector>;
  toArray(): Vector[];
  toString(maxItems?: number): string;
}

/** Three floats a colour, packed; otherwise as VectorList. */
export class ColorList extends Float32Array {
  constructor(colors: Iterable<ColorLike>);
  constructor(numbers?: ArrayLike<number> | number);
  constructor(buffer: ArrayBufferLike, byteOffset?: number, length?: number);
  static from(items: ArrayLike<number> | Iterable<number>): ColorList;
  static from(items: Iterable<ColorLike>): ColorList;
  static from<T>(
    items: ArrayLike<T> | Iterable<T>, map: (item: T, index: number) => ColorLike | number, self?: any
  ): ColorList;
  /** The number of colours. */
  readonly count: number;
  /** undefined where there is none. */
  get(index: number): Color | undefined;
  /** Throws a RangeError where there is none. */
  set(index: number, color: ColorLike): void;
  set(numbers: ArrayLike<number>, offset?: number): void;
  elements(): IterableIterator<Color>;
  toArray(): Color[];
  toString(maxItems?: number): string;
}

// ---------------------------------------------------------------------------------------------------------------
// Values: immutable, every component a 64-bit float; the constructors work without `new`, too

type Triple = readonly number[];

export class Vector {
  constructor(x: number, y: number, z: number);
  constructor(source?: Triple | Vector);
  static mixed(v0: Vector, v1: Vector, v2: Vector): number;
  readonly x: number;
  readonly y: number;
  readonly z: number;
  readonly [index: number]: number;
  toString(): string;
  add(v: Vector): Vector;
  sub(v: Vector): Vector;
  mul(x: Vector | Matrix | Transform | number): Vector;
  div(x: Vector | number): Vector;
  dot(v: Vector): number;
  cross(v: Vector): Vector;
  crossMatrix(m: Matrix): Matrix;
  length(): number;
  lengthSqr(): number;
  normalize(): Vector;
  rotate(v: Vector): Vector;
  negative(): Vector;
}

/** Three columns. */
export class Matrix {
  constructor(
    m0: number, m1: number, m2: number, m3: number, m4: number, m5: number, m6: number, m7: number, m8: number
  );
  constructor(column0: Triple | Vector, column1: Triple | Vector, column2: Triple | Vector);
  /** A number or a vector is the diagonal. */
  constructor(source?: number | Vector | Matrix);
  static outerProduct(a: Vector, b: Vector): Matrix;
  static makeRotationMatrixX(radians: number): Matrix;
  static makeRotationMatrixY(radians: number): Matrix;
  static makeRotationMatrixZ(radians: number): Matrix;
  readonly column0: Vector;
  readonly column1: Vector;
  readonly column2: Vector;
  readonly [index: number]: Vector;
  toString(): string;
  mul(x: Matrix | number): Matrix;
  mulVector(v: Vector): Vector;
  div(n: number): Matrix;
  sub(m: Matrix): Matrix;
  add(m: Matrix): Matrix;
  cross(v: Vector): Matrix;
  negative(): Matrix;
  orthogonal(): Matrix;
  orthonormal(): Matrix;
  transpose(): Matrix;
  inverse(): Matrix;
  withoutScale(): Matrix;
  rotate(axis: Vector): Matrix;
  replaceRow(index: number, row: Vector): Matrix;
  replaceColumn(index: number, column: Vector): Matrix;
  addDiagonal(diagonal: Vector): Matrix;
  addTranspose(m: Matrix): Matrix;
}

/** A matrix and an offset. */
export class Transform {
  constructor(
    m0: number, m1: number, m2: number, m3: number, m4: number, m5: number, m6: number, m7: number, m8: number,
    x: number, y: number, z: number
  );
  constructor(
    column0: Triple | Vector, column1: Triple | Vector, column2: Triple | Vector, offset: Triple | Vector
  );
  constructor(matrix: Matrix, offset: Triple | Vector);
  constructor(source?: Transform);
  readonly matrix: Matrix;
  readonly offset: Vector;
  readonly [index: number]: Vector;
  toString(): string;
  add(t: Transform): Transform;
  sub(t: Transform): Transform;
  div(n: number): Transform;
  mul(x: Transform | number): Transform;
  mulVector(v: Vector): Vector;
  negative(): Transform;
  inverse(): Transform;
  transformVector(v: Vector): Vector;
  replaceMatrix(m: Matrix): Transform;
  replaceOffset(v: Vector): Transform;
}

type ColorSpace = 0 | 1 | 2;

export class Color {
  constructor(r: number, g: number, b: number);
  constructor(source?: Triple | Color | AColor);
  static readonly COLOR_SPACE_CIE: 0;
  static readonly COLOR_SPACE_SRGB: 1;
  static readonly COLOR_SPACE_ACEScg: 2;
  static fromTemperature(kelvin: number, colorSpace?: ColorSpace): Color;
  static getRGBToRGBMatrix(source: ColorSpace, destination: ColorSpace): Matrix;
  readonly r: number;
  readonly g: number;
  readonly b: number;
  readonly [index: number]: number;
  toString(): string;
  add(c: Color): Color;
  sub(c: Color): Color;
  mul(x: Color | number): Color;
  div(x: Color | number): Color;
  getClosestTemperature(colorSpace?: ColorSpace): number;
  getClosestTemperatureAndColor(colorSpace?: ColorSpace): object;
  toSRGB(): Color;
  fromSRGB(): Color;
}

export class AColor {
  constructor(r: number, g: number, b: number, a?: number);
  constructor(source?: Triple | AColor);
  constructor(color: Color, a?: number);
  readonly r: number;
  readonly g: number;
  readonly b: number;
  readonly a: number;
  readonly [index: number]: number;
  toString(): string;
  /** Takes a Color, not an AColor. */
  add(c: Color): AColor;
  sub(c: Color): AColor;
  mul(x: AColor | number): AColor;
  div(x: AColor | number): AColor;
  toSRGB(): AColor;
  fromSRGB(): AColor;
}

// ---------------------------------------------------------------------------------------------------------------
// Renderer

export interface RendererOptions {
  pluginLibraryPath?: string | null;
  kvwDrawStyle?: 'standalone' | '3dsMax' | '3dsMaxQt' | 'maya' | number | null;
  enableFrameBuffer?: boolean;
  showFrameBuffer?: boolean;
  useDefaultKvwTheme?: boolean;
  showKvwButtonInteractiveStart?: boolean;
  previewRenderer?: boolean;
  allowInvalidCharactersInPluginNames?: boolean;
  hideToSceneButton?: boolean;
  useKvwLog?: boolean;
  enableKvwPlugins?: boolean;
  kvwLanguage?: string | null;
}

export interface ReportedRendererOptions {
  kvwDrawStyle: 'auto' | 'standalone' | '3dsMax' | '3dsMaxQt' | 'maya';
  enableFrameBuffer: boolean;
  showFrameBuffer: boolean;
  useDefaultKvwTheme: boolean;
  showKvwButtonInteractiveStart: boolean;
  previewRenderer: boolean;
  allowInvalidCharactersInPluginNames: boolean;
  hideToSceneButton: boolean;
  useKvwLog: boolean;
  pluginLibraryPath: string | undefined;
  kvwLanguage: string | undefined;
}

export type RendererState =
  | 'fatalError' | 'idleInitialized' | 'idleStopped' | 'idleError' | 'idleFrameDone' | 'idleDone'
  | 'preparing' | 'rendering' | 'renderingPaused' | 'renderingAwaitingChanges';

export type RenderMode =
  | 'production' | 'interactive' | 'interactiveCuda' | 'interactiveOptix' | 'productionCuda' | 'productionOptix';

/** Pixels of the picture that are rendered. */
export interface RenderRegion { left: number; top: number; width: number; height: number; }
/** A part of a larger picture, in fractions of its pixels, that becomes the whole. */
export interface CropRegion {
  srcWidth: number;
  srcHeight: number;
  rgnLeft: number;
  rgnTop: number;
  rgnWidth: number;
  rgnHeight: number;
}

/** A plugin along the ray of a pick; as text it names all three. */
export interface Pick { plugin: Plugin | null; distance: number; mtlID: number; toString(): string; }

export interface InteractiveStatistics {
  pathsPerSecond: number;
  elapsedTicks: number;
  sampleLevel: number;
  numPasses: number;
  currentNoiseThreshold: number;
  computeDevices: Array<{ name: string; utilization: number; freeMem: number; totalMem: number }>;
  computeDevicesMemUsage: Record<
    | 'Textures' | 'Geometry' | 'Environment' | 'Pinned' | 'Misc' | 'Lights' | 'LightCache' | 'Hair' | 'Particles'
    | 'VolumeGrid' | 'Total', number>;
}

export interface ComputeDevice {
  name: string;
  useForRendering: boolean;
  useForDenoising: boolean;
  useLowPriority: boolean;
  isSupported: boolean;
  type: 'CPU' | 'GPU' | 'Accelerator' | 'unknown';
  totalMemoryMB: number;
  numConnectedDisplays: number;
  frequencyMHz: number;
  gigaFlops: number;
  ccMajor: number;
  ccMinor: number;
  rtCoreVersion: number;
}
/** The index of a device, alone or with whether it works at low priority. */
export type ComputeDeviceChoice = number | [index: number, lowPriority: boolean];

/** A key that is missing counts as 0: without options the renderer's own values hold. */
export interface ResumableOptions {
  outputFile: string;
  compressProgressiveFiles?: number | boolean;
  deleteResumableFileOnSuccess?: number | boolean;
  progressiveAutoSaveSeconds?: number;
}

export interface ProfilerOptions {
  outputDirectory?: string;
  outputFilename?: string;
  outputSuffix?: string;
  mode?: 0 | 1 | 2 | 'off' | 'simple' | 'full';
}

export interface ContextMenuItem {
  id: number;
  type: 'checkbox' | string;
  text: string;
  enabled?: boolean;
  defaultValue?: number;
}

export interface ImageSize { width: number; height: number; }
export interface ImageSizeUpdate extends ImageSize { resetCropRegion?: boolean; resetRenderRegion?: boolean; }

/** Part of the image, in pixels from its top left; a width or height of 0 takes everything. */
export interface GetImageOptions {
  left?: number;
  top?: number;
  width?: number;
  height?: number;
  /** Values for a screen (sRGB) in place of linear light. */
  doColorCorrect?: boolean;
  stripAlpha?: boolean;
  flipImage?: boolean;
}

/** A part of the image that is rendered at a time; host is empty for this machine. */
export interface BucketRegion { width: number; height: number; x: number; y: number; host: string; }

/** A light whose colour and intensity were changed in the window. */
export interface LightMixItem {
  readonly plugin: Plugin | null;
  readonly colorMult: Color;
  readonly intensityMult: number;
  readonly enabled: boolean;
  isApplied: boolean;
}

/** Listeners run on the JavaScript thread while the thread that raised the event waits. `time` comes last. */
export interface RendererEvents {
  stateChanged: [from: RendererState | undefined, to: RendererState | undefined, time: number];
  /** The image is null while progressiveImageUpdatedHasBuffer is off. */
  progressiveImageUpdated: [image: KilnImage | null, changeIndex: number, samples: number, time: number];
  bucketInit: [region: BucketRegion, pass: number, time: number];
  /** A region in place of an image while bucketReadyHasBuffer is off. */
  bucketReady: [bucket: KilnImage | BucketRegion, pass: number, time: number];
  bucketFailed: [region: BucketRegion, pass: number, time: number];
  logMessage: [message: string, level: number, time: number];
  progress: [message: string, done: number, total: number, time: number];
  renderViewChanged: [property: string, time: number];
  kvwRenderLast: [isRendering: boolean, time: number];
  kvwRenderInteractive: [isRendering: boolean, time: number];
  kvwClosed: [time: number];
  postEffectsUpdated: [time: number];
  kvwShowMessagesWindow: [time: number];
  hostConnected: [host: string, time: number];
  hostDisconnected: [host: string, time: number];
  kvwContextMenuSelected: [commandId: number, x: number, y: number];
  uploadToCollaboration: [files: string[], time: number];
  /** What the listener sets as isApplied goes back to the window. */
  lightMixTransferToScene: [items: LightMixItem[], time: number];
}

type Listener<E extends keyof RendererEvents> = (this: KilnRenderer, ...args: RendererEvents[E]) => void;
type DoneCallback = (error: Error | null) => void;

/**
 * Is asked about every plugin that a load reads, with its class and its name: a falsy answer leaves it out, a string is
 * its new name, anything else keeps it.
 */
export type PluginFilter = (this: KilnRenderer, className: string, name: string) => unknown;

/** Frames from `start` to `end`; `step` counts only where both are given, and is 1 without. */
export interface FrameRange { start?: number; end?: number; step?: number; }
/** A frame, a range of frames, or any of these in arrays to any depth. */
export type Frames = number | FrameRange | readonly Frames[];

export type ImprovedDefaultsLevel = 'draft' | 'low' | 'medium' | 'high' | 'veryHigh';

export interface ExportSettings {
  appendFrameSuffix?: boolean;
  currentFrameOnly?: boolean;
  incremental?: boolean;
  /** The frames that animated values are written for. */
  leftInterval?: number;
  rightInterval?: number;
  /** Default: true. */
  compressed?: boolean;
  /** Large arrays in a form for machines. Default: true. */
  hexArrays?: boolean;
  hexTransforms?: boolean;
  renderElementsSeparateFolders?: boolean;
  /** Default: true. */
  printHeader?: boolean;
  hostAppString?: string;
  /** These plugins alone; without it, all. */
  pluginExportList?: Plugin[];
  additionalIncludeFiles?: string[];
  /** Kinds of plugins that go to a file of their own. One that can't be used leaves the keys below unread. */
  subFileInfos?: Array<{ type: string; suffix: string }>;
  kidataExport?: boolean;
  /** Default: 128. */
  kidataSmallBufferSizeLimit?: number;
  kidataFileSizeLimitMiB?: number;
}

/** The members that take a callback, as promises. */
export interface RendererPromises {
  addHosts(...hosts: Hosts[]): Promise<void>;
  removeHosts(...hosts: Hosts[]): Promise<void>;
  resetHosts(...hosts: Hosts[]): Promise<void>;
  getAllHosts(): Promise<string[]>;
  getActiveHosts(): Promise<string[]>;
  getInactiveHosts(): Promise<string[]>;
  load(fileName: string): Promise<void>;
  loadAsText(sceneText: string): Promise<void>;
  loadFromBuffer(sceneData: Buffer): Promise<void>;
  append(fileNames: string | string[], flag?: boolean): Promise<void>;
  appendAsText(sceneTexts: string | string[]): Promise<void>;
  appendFromBuffer(sceneData: Buffer | Buffer[]): Promise<void>;
  loadFiltered(fileName: string, filter: PluginFilter): Promise<void>;
  loadAsTextFiltered(sceneText: string, filter: PluginFilter): Promise<void>;
  appendFiltered(fileNames: string | string[], filter: PluginFilter): Promise<void>;
  appendAsTextFiltered(sceneTexts: string | string[], filter: PluginFilter): Promise<void>;
  appendFromBufferFiltered(sceneData: Buffer | Buffer[], filter: PluginFilter): Promise<void>;
  deletePlugins(...plugins: Array<string | Plugin> | [plugins: Array<string | Plugin>]): Promise<boolean>;
  export(filePath: string, settings?: ExportSettings): Promise<void>;
  /** Resolves when the render is prepared and under way. */
  start(): Promise<void>;
  render(): Promise<void>;
  stop(): Promise<void>;
  /** Resolves to whether the render has ended within the time, in milliseconds; without one it waits for the end. */
  waitForRenderEnd(timeout?: number): Promise<boolean>;
  waitForSequenceEnd(timeout?: number): Promise<boolean>;
  pickPlugin(x: number, y: number, timeout?: number): Promise<Plugin | null>;
  pickPlugins(x: number, y: number, maxResults?: number, timeout?: number): Promise<Pick[]>;
  /** Rejects where nothing can be denoised. */
  denoiseNow(blocking?: boolean): Promise<KilnImage>;
  saveIrradianceMapFile(fileName: string): Promise<void>;
  saveLightCacheFile(fileName: string): Promise<void>;
  savePhotonMapFile(fileName: string): Promise<void>;
  saveCausticsFile(fileName: string): Promise<void>;
  /** May be called any number of times. */
  close(): Promise<void>;
}

export type KvwCompression =
  | 'noCompression' | 'runLength' | 'zipScanline' | 'zipBlock' | 'PIZ' | 'PXR24' | 'b44' | 'b44a' | 'dwaa' | 'dwab';
/** What is left out is off; 32 bits per channel. */
export interface KvwSaveOptions {
  multipleFiles?: boolean;
  skipAlpha?: boolean;
  frameNumber?: boolean;
  noAlpha?: boolean;
  singleChannel?: boolean;
  skipRGB?: boolean;
  writeIntegerIDs?: boolean;
  velocityZeroBased?: boolean;
  multiChannel?: boolean;
  applyColorCorrections?: boolean;
  bitsPerChannel?: 8 | 16 | 32;
  compressionType?: KvwCompression | number;
}
/** The control surface of a renderer's frame-buffer window. Its members block but for loadImage and saveImage. */
export interface Kvw {
  shown: boolean;
  interactivity: boolean;
  /** undefined while there is no window. */
  position: { x: number; y: number } | undefined;
  size: { width: number; height: number } | undefined;
  /** Can only be set. */
  alwaysOnTop: boolean | undefined;
  confirmClearImage: boolean;
  getState(kind: 'main' | 'history'): Buffer | undefined;
  setState(state: Buffer, kind: 'main' | 'history'): void;
  resetState(): void;
  getPersistentState(): Buffer | undefined;
  setPersistentState(state: Buffer): void;
  getSettings(): unknown;
  setSettings(settings: object): boolean;
  getLayers(): unknown;
  setLayers(layers: object): boolean;
  loadColorCorrectionsPreset(fileName: string): boolean;
  saveColorCorrectionsPreset(fileName: string): boolean;
  setTitlePrefix(prefix: string): boolean;
  setProjectPath(path: string): boolean;
  fillSettingsKVW(fileName?: string): boolean;
  applySettingsKVW(): boolean;
  loadImage(fileName: string, callback?: (error: Error | null) => void): void;
  loadImageSync(fileName: string): boolean;
  enableProgressBar(enable?: boolean): void;
  setProgressText(text: string): void;
  /** Between 0 and 1; without an argument the bar shows no progress. */
  setProgressValue(value?: number): void;
  setProgressTextAndValue(text: string, value: number): void;
  saveImage(fileName: string, callback?: (error: Error | null) => void): void;
  saveImage(
    fileName: string, options: KvwSaveOptions | null | undefined, callback?: (error: Error | null) => void
  ): void;
  saveImageSync(fileName: string, options?: KvwSaveOptions | null): boolean;
  clearImage(): void;
  /** Writes to the window's log; level is one of the LOGLEVEL_ constants. */
  logMessage(level: number, text: string): void;
}

/** Keep a reference to a renderer until it is closed: one that nothing refers to is closed by the collector. */
export class KilnRenderer extends EventEmitter {
  constructor(options?: RendererOptions | object | null);

  readonly promises: RendererPromises;

  load(fileName: string, callback?: DoneCallback): void;
  loadSync(fileName: string | string[]): void;
  loadAsText(sceneText: string, callback?: DoneCallback): void;
  loadAsTextSync(sceneText: string | string[]): void;
  loadFromBuffer(sceneData: Buffer, callback?: DoneCallback): void;
  loadFromBufferSync(sceneData: Buffer): void;
  /** Adds to the scene. `flag` is the library's own. */
  append(fileNames: string | string[], callback?: DoneCallback, flag?: boolean): void;
  append(fileNames: string | string[], flag: boolean): void;
  appendSync(fileNames: string | string[], flag?: boolean): void;
  appendAsText(sceneTexts: string | string[], callback?: DoneCallback): void;
  appendAsTextSync(...sceneTexts: string[]): void;
  appendAsTextSync(sceneTexts: string[]): void;
  appendFromBuffer(sceneData: Buffer | Buffer[], callback?: DoneCallback): void;
  appendFromBufferSync(...sceneData: Buffer[]): void;
  appendFromBufferSync(sceneData: Buffer[]): void;

  loadFiltered(fileName: string, filter: PluginFilter, afterLoad: DoneCallback): void;
  loadFilteredSync(fileName: string, filter: PluginFilter): void;
  loadAsTextFiltered(sceneText: string, filter: PluginFilter, afterLoad: DoneCallback): void;
  loadAsTextFilteredSync(sceneText: string, filter: PluginFilter): void;
  appendFiltered(fileNames: string | string[], filter: PluginFilter, afterLoad: DoneCallback): void;
  appendFilteredSync(fileNames: string | string[], filter: PluginFilter): void;
  appendAsTextFiltered(sceneTexts: string | string[], filter: PluginFilter, afterLoad: DoneCallback): void;
  appendAsTextFilteredSync(sceneTexts: string | string[], filter: PluginFilter): void;
  appendFromBufferFiltered(sceneData: Buffer | Buffer[], filter: PluginFilter, afterLoad: DoneCallback): void;
  appendFromBufferFilteredSync(sceneData: Buffer | Buffer[], filter: PluginFilter): void;

  /** Calls back with whether all were deleted. */
  deletePlugins(plugins: Array<string | Plugin>, callback: (deleted: boolean) => void): void;
  deletePlugins(...pluginsAndCallback: [...plugins: Array<string | Plugin>, callback: (deleted: boolean) => void]): void;
  deletePluginsSync(plugins: Array<string | Plugin>): boolean;
  deletePluginsSync(...plugins: Array<string | Plugin>): boolean;

  /** The arguments may stand in any order. */
  export(filePath: string, callback: DoneCallback): void;
  export(filePath: string, settings: ExportSettings, callback: DoneCallback): void;
  exportSync(filePath: string, settings?: ExportSettings): boolean;
  serializeScene(): boolean;

  /** With a callback the preparation runs beside the JavaScript thread; the callback comes when it is done. */
  start(callback?: DoneCallback): void;
  render(callback?: DoneCallback): void;
  /** 0 when the render is under way. */
  startSync(): number;
  stop(callback?: () => void): void;
  waitForRenderEnd(callback: (ended: boolean) => void): void;
  waitForRenderEnd(timeout: number, callback: (ended: boolean) => void): void;
  waitForSequenceEnd(callback: (ended: boolean) => void): void;
  waitForSequenceEnd(timeout: number, callback: (ended: boolean) => void): void;
  renderSequence(...frames: Frames[]): void;
  continueSequence(): void;
  /** An interactive render holds still, and goes on. */
  pause(): boolean;
  resume(): boolean;
  /** The parts of the picture next to this pixel come first. */
  bucketRenderNearest(x: number, y: number): void;
  /** Takes the scene's changes over; the index of the last change. */
  commit(): number;
  /** The index of the last change that was taken over. */
  getChangeIndex(): number;
  /** Settings of that quality; 'medium' without a level. */
  setImprovedDefaultSettings(level?: ImprovedDefaultsLevel | number): boolean;
  setInteractiveSampleLevel(level: number): boolean;
  setInteractiveNoiseThreshold(threshold: number): boolean;
  /** In milliseconds; 0 is none. */
  setInteractiveTimeout(timeout: number): boolean;
  /** Both return what the library answers. */
  setProgressiveImageUpdateDifference(difference: number): number;
  setProgressiveImageUpdateTimeout(timeout: number): number;
  updateLightingAnalysis(): boolean;
  /** Forgets the keyframes up to a time. */
  clearAllPropertyValuesUpToTime(time: number): boolean;
  clearPropertyValuesUpToTime(time: number, categories: CategoryName[]): boolean;
  /** undefined when there is no image yet. */
  getImage(options?: GetImageOptions): KilnImage | undefined;
  clearScene(): boolean;
  /** Without a callback the JavaScript thread waits for the renderer's threads. */
  close(callback?: () => void): void;
  /** The machines that share the work: a name or "name:port" each. */
  addHosts(...hosts: (Hosts | DoneCallback)[]): void;
  removeHosts(...hosts: (Hosts | DoneCallback)[]): void;
  resetHosts(...hosts: (Hosts | DoneCallback)[]): void;
  /** These give the library's code. */
  addHostsSync(...hosts: Hosts[]): number;
  removeHostsSync(...hosts: Hosts[]): number;
  resetHostsSync(...hosts: Hosts[]): number;
  getAllHosts(callback: HostListCallback): void;
  getActiveHosts(callback: HostListCallback): void;
  getInactiveHosts(callback: HostListCallback): void;
  getAllHostsSync(): string[];
  getActiveHostsSync(): string[];
  getInactiveHostsSync(): string[];
  /** These two throw where isDR2() is true, */
  setDREnabled(drEnabled: boolean, flag?: boolean): boolean;
  getDREnabled(): boolean;
  /** and these three where it is false. */
  enableDRClient(options?: DRClientOptions): boolean;
  disableDRClient(): boolean;
  isDRClientEnabled(): boolean;

  /** What `new KilnRenderer(handle)` takes to share this renderer. */
  getInstanceHandle(): object;

  /** The nearest plugin at a pixel; a timeout in front of the callback is not waited for. */
  pickPlugin(x: number, y: number, callback: (plugin: Plugin | null) => void, timeout?: number): void;
  pickPlugin(x: number, y: number, timeout: number, callback: (plugin: Plugin | null) => void): void;
  pickPluginSync(x: number, y: number, timeout?: number): Plugin | null;
  /** All plugins along the ray through a place of the picture, the nearest first. */
  pickPlugins(
    x: number, y: number, callback: (picks: Pick[]) => void, maxResults?: number, timeout?: number
  ): void;
  pickPlugins(
    x: number, y: number, maxResults: number, callback: (picks: Pick[]) => void, timeout?: number
  ): void;
  pickPlugins(
    x: number, y: number, maxResults: number, timeout: number, callback: (picks: Pick[]) => void
  ): void;
  /** The number is the timeout and the greatest count at once. */
  pickPluginsSync(x: number, y: number, timeoutAndMaxResults?: number): Pick[];

  clearLastError(): void;
  /** undefined while there is no scene. */
  getBoundingBox(): { min: Vector; max: Vector } | undefined;
  getAutoExposureResult(): { autoExposure: number; autoWhiteBalance: number } | undefined;
  /** null while there are none. */
  getInteractiveStatistics(): InteractiveStatistics | null;
  getComputeDevicesOptix(): ComputeDevice[];
  getComputeDevicesCUDA(): ComputeDevice[];
  getComputeDevicesDenoiser(): ComputeDevice[];
  setComputeDevicesOptix(devices: ComputeDeviceChoice[]): boolean;
  setComputeDevicesCUDA(devices: ComputeDeviceChoice[]): boolean;
  setComputeDevicesDenoiser(devices: number[]): boolean;
  setComputeDevicesEnvironmentVariable(): boolean;

  saveIrradianceMapFile(fileName: string, callback: DoneCallback): void;
  saveLightCacheFile(fileName: string, callback: DoneCallback): void;
  savePhotonMapFile(fileName: string, callback: DoneCallback): void;
  saveCausticsFile(fileName: string, callback: DoneCallback): void;
  saveIrradianceMapFileSync(fileName: string): boolean;
  saveLightCacheFileSync(fileName: string): boolean;
  savePhotonMapFileSync(fileName: string): boolean;
  saveCausticsFileSync(fileName: string): boolean;

  setResumableRendering(enable: boolean, options?: ResumableOptions): boolean;
  setBitmapCache(enable: boolean): boolean;
  /** The callback gets the denoised image; when the result is false it is not called. */
  denoiseNow(callback?: (image: KilnImage | null) => void, blocking?: boolean): boolean;
  /** Folders separated by semicolons. */
  setIncludePaths(paths: string, flag?: boolean | number): void;
  setKilnProfiler(options?: ProfilerOptions): void;
  /** Replaces the items of the window's context menu; see the event kvwContextMenuSelected. */
  setKVWContextMenuItems(items: ContextMenuItem[]): void;
  setKVWContextMenuItemValue(id: number, value: number): boolean;
  getKVWContextMenuItemValue(id: number): number | undefined;

  get size(): ImageSize;
  set size(value: ImageSizeUpdate);
  get renderRegion(): RenderRegion | undefined;
  set renderRegion(value: RenderRegion);
  get cropRegion(): CropRegion | undefined;
  set cropRegion(value: CropRegion);
  frame: number;
  time: number;
  /** Whether values without a time are keyframes at the current time. */
  useAnimatedValues: boolean;
  get camera(): Plugin | undefined;
  set camera(value: Plugin | string | null | undefined);
  get cameraName(): string | null;
  set cameraName(value: string | null | undefined);
  /** Throws while a render runs, and where distributed rendering is of the second generation. */
  inProcess: boolean;
  keepInteractiveRunning: boolean;
  readonly paused: boolean;
  readonly sequenceEnded: boolean;
  /** Seconds since the renderer was made. */
  readonly currentEventTime: number;
  readonly state: RendererState | undefined;
  get renderMode(): RenderMode | undefined;
  set renderMode(value: RenderMode | number);
  /** 0 is one for each core. Throws while a render runs. */
  numThreads: number;
  readonly lastError: string;
  readonly renderEnded: boolean;
  autoCommit: boolean;
  minLogLevel: number;
  readonly options: ReportedRendererOptions;
  progressiveImageUpdatedHasBuffer: boolean;
  bucketReadyHasBuffer: boolean;
  /** Typed lists above this size in bytes are kept by the engine instead of copied; -1: none. */
  maxTypedListsCopyByteSize: number;

  /** The scene's plugins, by name; called with a class name, those of a class. */
  readonly plugins: Plugins;
  readonly classes: Classes;
  readonly classCategories: Record<CategoryName, Category>;
  /** The extra channels of a render. */
  readonly renderElements: RenderElements;
  /** The frame-buffer window. */
  readonly kvw: Kvw;

  on<E extends keyof RendererEvents>(event: E, listener: Listener<E>): this;
  on(event: string | symbol, listener: (...args: any[]) => void): this;
  addListener<E extends keyof RendererEvents>(event: E, listener: Listener<E>): this;
  addListener(event: string | symbol, listener: (...args: any[]) => void): this;
  once<E extends keyof RendererEvents>(event: E, listener: Listener<E>): this;
  once(event: string | symbol, listener: (...args: any[]) => void): this;
  prependListener<E extends keyof RendererEvents>(event: E, listener: Listener<E>): this;
  prependListener(event: string | symbol, listener: (...args: any[]) => void): this;
  prependOnceListener<E extends keyof RendererEvents>(event: E, listener: Listener<E>): this;
  prependOnceListener(event: string | symbol, listener: (...args: any[]) => void): this;
  off<E extends keyof RendererEvents>(event: E, listener: Listener<E>): this;
  off(event: string | symbol, listener: (...args: any[]) => void): this;
  removeListener<E extends keyof RendererEvents>(event: E, listener: Listener<E>): this;
  removeListener(event: string | symbol, listener: (...args: any[]) => void): this;
}

// ---------------------------------------------------------------------------------------------------------------
// Scene

export type CategoryName =
  | 'Bitmap' | 'BSDF' | 'Geometric_object' | 'Geometry_source' | 'Light' | 'Material' | 'Render_channel' | 'Render_view'
  | 'Settings' | 'Texture' | 'Texture_float' | 'Texture_int' | 'Texture_matrix' | 'Texture_transform' | 'Texture_vector'
  | 'UVWGen' | 'Volumetric';

export interface PropertyMeta {
  name: string;
  aliases: string[];
  type: string;
  defaultValue: any;
  description: string;
  deprecation: string | null;
  GPUSupport: 'Full' | 'Partial' | 'None' | 'Unknown';
  /** Absent where the property is no list of a fixed length. */
  elementsCount?: number;
  /** On a plugin's own metadata alone. */
  runtimeType?: string;
}

/** A plugin of the scene. Its properties are its keys; a property that is called like a member hides the member. */
export class Plugin {
  [property: string]: any;
  deleteThis(): boolean;
  getIntegerID(): number;
  getName(): string | undefined;
  setName(name: string): boolean;
  toString(): string;
  getType(): string | undefined;
  getClass(): Class | undefined;
  getRenderer(): KilnRenderer;
  getMeta(): Record<string, PropertyMeta>;
  getMeta(propertyName: string): PropertyMeta | undefined;
  getValue(name: string, time?: number): any;
  setValue(name: string, value: any, time?: number): boolean;
  getValueAsString(name: string): string;
  /** What setValue takes back as it is. */
  getValueAsBinaryBuffer(name: string): Buffer | undefined;
  isPropertyAnimated(name: string): boolean | undefined;
  getKeyframeTimes(name: string): Float64Array | undefined;
  replaceWith(target: Plugin | string | null): boolean;
  getOutputName(): string | null | undefined;
  getReference(name?: string): Plugin | PluginRef | undefined;
  getPlugin(): Plugin;
  isValid(): boolean;
}

/** A named output of a plugin. */
export class PluginRef extends Plugin {
  toString(): string;
}

/** Called, a class makes a plugin. */
export interface Class {
  (name?: string): Plugin;
}
/** A class of plugins; its keys are the metadata of its properties. */
export class Class {
  [property: string]: any;
  getName(): string;
  toString(): string;
  getRenderer(): KilnRenderer;
  getMeta(): Record<string, PropertyMeta>;
  getMeta(propertyName: string): PropertyMeta | undefined;
  getDescription(): string | null;
  getDeprecation(): string | null;
  getGPUSupport(): 'Full' | 'Partial' | 'Bake' | 'None' | 'Unknown' | undefined;
  getInstances(): Plugin[];
  getInstanceOrCreate(name?: string): Plugin;
  getCategories(): Partial<Record<CategoryName, Category>> | undefined;
}

/** The classes of a category, by name. */
export class Category {
  [className: string]: any;
  getName(): CategoryName;
  toString(): string;
  getRenderer(): KilnRenderer;
}

export interface Plugins extends Iterable<Plugin> {
  (className: string): Plugins | undefined;
  readonly length: number;
  [name: string]: any;
}

export interface Classes extends Iterable<Class> {
  readonly length: number;
  [name: string]: any;
}

// ---------------------------------------------------------------------------------------------------------------
// Render elements

export type BinaryFormat =
  | 'single_float' | '3_floats' | '2_signed_floats' | 'single_integer' | '3_signed_floats' | '4_floats';
export type PixelFormat =
  | '1_byte_int_grayscale' | '2_byte_int_grayscale' | '4_byte_int_grayscale' | '4_byte_float_grayscale'
  | '3x1_bytes_int_RGB' | '3x2_bytes_int_RGB' | '3x4_bytes_float_RGB'
  | '4x1_bytes_int_RGBA' | '4x2_bytes_int_RGBA' | '4x4_bytes_float_RGBA';

/** Keys of getData count only where the element has a property of the same name. */
export interface ElementDataOptions {
  x?: number;
  y?: number;
  width?: number;
  height?: number;
  layerIndex?: number;
  pixelFormat?: PixelFormat;
  alphaChannelPlugin?: Plugin | RenderElement;
  rgbOrder?: boolean;
}
export interface ElementImageOptions {
  x?: number;
  y?: number;
  width?: number;
  height?: number;
  layerIndex?: number;
  doColorCorrect?: boolean;
}

/** An extra channel of a render. */
export interface RenderElement {
  readonly name: string;
  /** Of getAvailableTypes(), or 'other'. */
  readonly type: string;
  readonly binaryFormat: BinaryFormat | 'other';
  readonly defaultPixelFormat: PixelFormat;
  readonly plugin: Plugin | null;
  /** The pixels in the default format, or as the options say. */
  getData(options?: ElementDataOptions): Buffer;
  getImage(options?: ElementImageOptions, layerIndex?: number): KilnImage;
  getImage(layerIndex: number): KilnImage;
  getImage(x: number, y: number, width: number, height: number, layerIndex?: number): KilnImage;
  getMetadata(): string | null;
}

export interface RenderElements {
  /** null when the element could not be made. */
  add(type: string, instanceName?: string, displayName?: string): RenderElement | null;
  get(type: string): RenderElement | undefined;
  getAll(type?: string): Array<RenderElement | null>;
  getAvailablePixelFormats(): PixelFormat[];
  getAvailableBinaryFormats(): BinaryFormat[];
  getAvailableTypes(): string[];
}

// ---------------------------------------------------------------------------------------------------------------
// Image

export type DecodedType = 'bmp' | 'png' | 'jpg' | 'jpeg';
export type SavedType = DecodedType | 'tif' | 'tiff' | 'exr';
export type IntListType =
  | 'bgra' | 'bgra_byte' | 'bgr' | 'bgr_byte' | 'rgba16' | 'rgba_16bit' | 'rgba32' | 'rgba_float' | number;

export interface BitmapDataOptions {
  preserveAlpha?: boolean;
  swapChannels?: boolean;
  reverseY?: boolean;
  stride?: number;
  alphaValue?: number;
}

/** What stands behind the type or the file name: the format's own values, then a renderer and a callback. */
export type EncodeArgument = boolean | number | KilnRenderer;

export interface ImagePromises {
  /** Rejects when the file cannot be written. */
  save(fileName: string, ...args: Array<string | EncodeArgument>): Promise<void>;
  compress(type: DecodedType, ...args: EncodeArgument[]): Promise<Buffer>;
  getDownscaled(width: number, height: number): Promise<KilnImage>;
  getDownscaledCropped(
    x: number, y: number, width: number, height: number, imageWidth: number, imageHeight: number
  ): Promise<KilnImage>;
  getFitIn(width: number, height: number): Promise<KilnImage>;
  getFitOut(width: number, height: number): Promise<KilnImage>;
  getCutIn(width: number, height: number): Promise<KilnImage>;
}

type ImageCallback = (image: KilnImage | null) => void;

/** Four floats a pixel. The memory goes with close(), or with the collector. */
export class KilnImage {
  constructor(width: number, height: number);
  constructor(buffer: Buffer, type: DecodedType);
  constructor(source: KilnImage);

  static createFromBuffer(
    buffer: Buffer, type: DecodedType, callback: (error: Error | null, image: KilnImage | null) => void
  ): void;
  static createFromBuffer(
    buffer: Buffer, type: DecodedType, renderer: KilnRenderer,
    callback: (error: Error | null, image: KilnImage | null) => void
  ): void;
  static createFromBufferSync(buffer: Buffer, type: DecodedType, renderer?: KilnRenderer): KilnImage;

  readonly promises: ImagePromises;

  width: number;
  height: number;
  /** Where a bucket lies in the frame. */
  x?: number;
  y?: number;
  host?: string;
  gamma: number;

  close(): void;

  save(fileName: string, ...args: Array<string | EncodeArgument | DoneCallback>): void;
  saveSync(fileName: string, ...args: Array<string | EncodeArgument>): boolean;
  compress(
    type: DecodedType, ...args: Array<EncodeArgument | ((error: Error | null, data: Buffer | null) => void)>
  ): void;
  compressSync(type: DecodedType, ...args: EncodeArgument[]): Buffer | undefined;

  getDownscaled(width: number, height: number, callback: ImageCallback): void;
  getDownscaledSync(width: number, height: number): KilnImage | undefined;
  getDownscaledCropped(
    x: number, y: number, width: number, height: number, imageWidth: number, imageHeight: number,
    callback: ImageCallback
  ): void;
  /** The last argument is asked for, and never called. */
  getDownscaledCroppedSync(
    x: number, y: number, width: number, height: number, imageWidth: number, imageHeight: number,
    callback: () => void
  ): KilnImage | undefined;
  getFitIn(width: number, height: number, callback: ImageCallback): void;
  getFitInSync(width: number, height: number): KilnImage | undefined;
  getFitOut(width: number, height: number, callback: ImageCallback): void;
  getFitOutSync(width: number, height: number): KilnImage | undefined;
  getCutIn(width: number, height: number, callback: ImageCallback): void;
  getCutInSync(width: number, height: number): KilnImage | undefined;

  getCropped(x: number, y: number, width: number, height: number): KilnImage | undefined;
  /** At the source's own position when none is given. */
  draw(source: KilnImage, x?: number, y?: number, mode?: 'copy' | 'blend' | number): boolean;
  addColor(color: Color | AColor): boolean | undefined;
  changeExposure(value: number): boolean;
  changeContrast(value: number): boolean;
  changeGamma(value: number): boolean;
  /** To the curve of a screen; with false back to linear light. */
  changeSRGB(apply?: boolean): boolean;
  makeNegative(): boolean;

  /** The image's own memory: writes change the image, and close() empties the list. */
  getPixelData(): FloatList;
  toBitmapData(options?: BitmapDataOptions): Uint8ClampedArray | undefined;
  toIntList(type?: IntListType): Int32Array | undefined;
}
