// Images.
import { FloatList } from './lists';
import { KilnRenderer } from './renderer';
import { DoneCallback } from './renderer-options';
import { AColor, Color } from './values';

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
