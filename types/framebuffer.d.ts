// The frame-buffer window.

export interface ContextMenuItem {
  id: number;
  type: 'checkbox' | string;
  text: string;
  enabled?: boolean;
  defaultValue?: number;
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
