// Functions and constants of the module.
import { DecodedType, KilnImage } from './image';
import { ColorList, VectorList } from './lists';
import { KilnRenderer } from './renderer';
import { RendererOptions } from './renderer-options';
import { KilnServer, ServerOptions } from './server';
import { HostCheckResult, OSLParameters } from './utilities';

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
/**
 * Unloads the SDK library and forgets its path. Close what was made with it before: what is left has no events from
 * then on, and its members answer as if there were nothing.
 */
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
