// What a renderer is made, run and told with, and what it tells of itself.
import { KilnRenderer } from './renderer';
import { Plugin } from './scene';

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

export type DoneCallback = (error: Error | null) => void;

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
