// The renderer.
import { EventEmitter } from 'events';
import { RenderElements } from './elements';
import { Listener, RendererEvents } from './events';
import { ContextMenuItem, Kvw } from './framebuffer';
import { KilnImage } from './image';
import {
  ComputeDevice, ComputeDeviceChoice, CropRegion, DoneCallback, ExportSettings, Frames, GetImageOptions, ImageSize,
  ImageSizeUpdate, ImprovedDefaultsLevel, InteractiveStatistics, Pick, PluginFilter, ProfilerOptions, RenderMode,
  RenderRegion, RendererOptions, RendererState, ReportedRendererOptions, ResumableOptions
} from './renderer-options';
import { Category, CategoryName, Classes, Plugin, Plugins } from './scene';
import { DRClientOptions, HostMembers, HostPromises } from './server';
import { Vector } from './values';

/** The members that take a callback, as promises. */
export interface RendererPromises extends HostPromises {
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

/** Removals of hosts give the library's code. */
export interface KilnRenderer extends HostMembers<number> {}
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
