// Shaders, hosts, scanned materials, references between plugins and user attributes.
import { IntList } from './lists';
import { Plugin } from './scene';
import { AColor, Color, Vector } from './values';

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
