/* Records of a render server; its events use the records of renderer.h. */
#ifndef KILN_INCLUDE_SERVER_H_
#define KILN_INCLUDE_SERVER_H_

#include "renderer.h"

typedef struct KilnServerOptions {
  int32_t portNumber;
  int32_t numThreads;
  const char* remoteScenePath;
  const char* pluginLibraryPath;
  const char* includePaths;
  uint32_t flags; /* KilnServerFlags */
  int32_t cachedAssetsLimitType;
  float cachedAssetsLimitValue;
  uint32_t dr2_flags; /* KilnServerDr2Flags */
  const char* dr2HttpProxy;
  int32_t dr2WorkerThreadsPerServer;
  int32_t dr2ConnectTimeout;
  int32_t dr2UpstreamChannels;
  uint32_t reserved;
} KilnServerOptions;
KILN_SIZE(KilnServerOptions, 72);
KILN_AT(KilnServerOptions, portNumber, 0);
KILN_AT(KilnServerOptions, numThreads, 4);
KILN_AT(KilnServerOptions, remoteScenePath, 8);
KILN_AT(KilnServerOptions, pluginLibraryPath, 16);
KILN_AT(KilnServerOptions, includePaths, 24);
KILN_AT(KilnServerOptions, flags, 32);
KILN_AT(KilnServerOptions, cachedAssetsLimitType, 36);
KILN_AT(KilnServerOptions, cachedAssetsLimitValue, 40);
KILN_AT(KilnServerOptions, dr2_flags, 44);
KILN_AT(KilnServerOptions, dr2HttpProxy, 48);
KILN_AT(KilnServerOptions, dr2WorkerThreadsPerServer, 56);
KILN_AT(KilnServerOptions, dr2ConnectTimeout, 60);
KILN_AT(KilnServerOptions, dr2UpstreamChannels, 64);

enum KilnServerFlags {
  KILN_SERVER_CHANGE_CURRENT_DIRECTORY = 1 << 1,
  KILN_SERVER_KEEP_SCENE_IN_MEMORY = 1 << 2,
  KILN_SERVER_OVERWRITE_LOCAL_CACHE_SETTINGS = 1 << 3,
  KILN_SERVER_RUN_AS_LIVE_LINK = 1 << 4
};

enum KilnServerDr2Flags {
  KILN_DR2_AS_DISPATCHER = 1 << 0,
  KILN_DR2_RUN_LOCAL_RENDER_SERVER = 1 << 1,
  KILN_DR2_SECURE_CONNECTION = 1 << 2,
  KILN_DR2_DISABLE_UDP = 1 << 3,
  KILN_DR2_LISTEN_ON_IPV4 = 1 << 4,
  KILN_DR2_LISTEN_ON_IPV6 = 1 << 5,
  KILN_DR2_PIPELINED_UPSTREAM = 1 << 6
};

#endif
