// Values: immutable, every component a 64-bit float; the constructors work without `new`, too.

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
