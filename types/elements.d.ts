// Render elements.
import { KilnImage } from './image';
import { Plugin } from './scene';

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
