// Plugins, their classes and categories.
import { KilnRenderer } from './renderer';

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
