// Typed lists.
import { AColor, Color, Vector } from './values';

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
