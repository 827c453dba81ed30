// Events of a renderer.
import { KilnImage } from './image';
import { KilnRenderer } from './renderer';
import { RendererState } from './renderer-options';
import { Plugin } from './scene';
import { Color } from './values';

/** A part of the image that is rendered at a time; host is empty for this machine. */
export interface BucketRegion { width: number; height: number; x: number; y: number; host: string; }

/** A light whose colour and intensity were changed in the window. */
export interface LightMixItem {
  readonly plugin: Plugin | null;
  readonly colorMult: Color;
  readonly intensityMult: number;
  readonly enabled: boolean;
  isApplied: boolean;
}

/** Listeners run on the JavaScript thread while the thread that raised the event waits. `time` comes last. */
export interface RendererEvents {
  stateChanged: [from: RendererState | undefined, to: RendererState | undefined, time: number];
  /** The image is null while progressiveImageUpdatedHasBuffer is off. */
  progressiveImageUpdated: [image: KilnImage | null, changeIndex: number, samples: number, time: number];
  bucketInit: [region: BucketRegion, pass: number, time: number];
  /** A region in place of an image while bucketReadyHasBuffer is off. */
  bucketReady: [bucket: KilnImage | BucketRegion, pass: number, time: number];
  bucketFailed: [region: BucketRegion, pass: number, time: number];
  logMessage: [message: string, level: number, time: number];
  progress: [message: string, done: number, total: number, time: number];
  renderViewChanged: [property: string, time: number];
  kvwRenderLast: [isRendering: boolean, time: number];
  kvwRenderInteractive: [isRendering: boolean, time: number];
  kvwClosed: [time: number];
  postEffectsUpdated: [time: number];
  kvwShowMessagesWindow: [time: number];
  hostConnected: [host: string, time: number];
  hostDisconnected: [host: string, time: number];
  kvwContextMenuSelected: [commandId: number, x: number, y: number];
  uploadToCollaboration: [files: string[], time: number];
  /** What the listener sets as isApplied goes back to the window. */
  lightMixTransferToScene: [items: LightMixItem[], time: number];
}

export type Listener<E extends keyof RendererEvents> = (this: KilnRenderer, ...args: RendererEvents[E]) => void;
