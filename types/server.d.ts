// Render servers, and the hosts that share the work.
import { EventEmitter } from 'events';
import { DoneCallback } from './renderer-options';

/** Strings, and arrays of them to any depth; other values are skipped. */
export type Hosts = string | readonly Hosts[];

export type HostListCallback = (hosts: string[]) => void;

/** The keys count in any case. */
export interface DRClientOptions {
  dispatcher?: string;
  httpProxy?: string;
  localRendering?: boolean;
  withBroadcastListener?: boolean;
  pipelinedUpstream?: boolean;
  enableAssigningWUsAsBackups?: boolean;
  immediatelyForwardReadySplitBucketSubunits?: boolean;
  connectTimeout?: number;
  upstreamChannels?: number;
  verboseLevel?: number;
}

/** The hosts that share the work. `Removed` is what a removal comes to. */
export interface HostMembers<Removed> {
  /** A name or "name:port" each. */
  addHosts(...hosts: (Hosts | DoneCallback)[]): void;
  removeHosts(...hosts: (Hosts | DoneCallback)[]): void;
  resetHosts(...hosts: (Hosts | DoneCallback)[]): void;
  /** The library's code: above 0 when the hosts were added and connected. */
  addHostsSync(...hosts: Hosts[]): number;
  removeHostsSync(...hosts: Hosts[]): Removed;
  resetHostsSync(...hosts: Hosts[]): Removed;
  getAllHosts(callback: HostListCallback): void;
  getActiveHosts(callback: HostListCallback): void;
  getInactiveHosts(callback: HostListCallback): void;
  getAllHostsSync(): string[];
  getActiveHostsSync(): string[];
  getInactiveHostsSync(): string[];
}

/** The same members as promises. */
export interface HostPromises {
  addHosts(...hosts: Hosts[]): Promise<void>;
  removeHosts(...hosts: Hosts[]): Promise<void>;
  resetHosts(...hosts: Hosts[]): Promise<void>;
  getAllHosts(): Promise<string[]>;
  getActiveHosts(): Promise<string[]>;
  getInactiveHosts(): Promise<string[]>;
}

export interface ServerOptions {
  portNumber?: number;
  numThreads?: number;
  remoteScenePath?: string | null;
  pluginLibraryPath?: string | null;
  includePaths?: string | null;
  changeCurrentDirectory?: boolean;
  keepSceneInMemory?: boolean;
  overwriteLocalCacheSettings?: boolean;
  runAsLiveLink?: boolean;
  cachedAssetsLimitType?: number;
  cachedAssetsLimitValue?: number;
  /** Those that follow count where isDR2() is true. */
  dr2AsDispatcher?: boolean;
  dr2RunLocalRenderServer?: boolean;
  dr2SecureConnection?: boolean;
  dr2DisableUdp?: boolean;
  dr2ListenOnIpv4?: boolean;
  dr2ListenOnIpv6?: boolean;
  dr2PipelinedUpstream?: boolean;
  dr2HttpProxy?: string | null;
  dr2WorkerThreadsPerServer?: number;
  dr2ConnectTimeout?: number;
  dr2UpstreamChannels?: number;
}

/** The last of each is the time of the event, in seconds. */
export interface ServerEvents {
  connect: [host: string, time: number];
  disconnect: [host: string, time: number];
  logMessage: [message: string, level: number, time: number];
  start: [time: number];
  progress: [message: string, first: number, second: number, time: number];
}

/** The members for hosts throw where isDR2() is false. */
export interface KilnServer extends HostMembers<boolean> {}
/** A render server, to which others connect; while it runs it is not collected. */
export class KilnServer extends EventEmitter {
  constructor(options?: ServerOptions | null);
  on<E extends keyof ServerEvents>(event: E, listener: (...args: ServerEvents[E]) => void): this;
  once<E extends keyof ServerEvents>(event: E, listener: (...args: ServerEvents[E]) => void): this;
  off<E extends keyof ServerEvents>(event: E, listener: (...args: ServerEvents[E]) => void): this;
  /** 2 at first; writing it changes which messages are told. */
  minLogLevel: number;
  start(): void;
  stop(): void;
  /** Ends the server: with a callback on another thread, otherwise before it returns. */
  close(callback?: () => void): void;
  readonly promises: HostPromises & { close(): Promise<void> };
}
