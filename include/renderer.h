/* Records of a renderer: its options, the callbacks and what they carry, loading, control, properties, side
 * features. */
#ifndef KILN_INCLUDE_RENDERER_H_
#define KILN_INCLUDE_RENDERER_H_

#include "values.h"

/* Given to create, and returned by getRenderOptions as one block of the caller's. */
typedef struct KilnRendererOptions {
  const char* pluginLibraryPath; /* UTF-8 or null */
  int32_t kvwDrawStyle;          /* 0 auto, 1 standalone, 2 3dsMax, 3 3dsMaxQt, 4 maya */
  uint32_t flags;                /* KilnRendererFlags */
  uint64_t reserved;
  const char* kvwLanguage; /* UTF-8 or null */
} KilnRendererOptions;
KILN_SIZE(KilnRendererOptions, 32);
KILN_AT(KilnRendererOptions, pluginLibraryPath, 0);
KILN_AT(KilnRendererOptions, kvwDrawStyle, 8);
KILN_AT(KilnRendererOptions, flags, 12);
KILN_AT(KilnRendererOptions, reserved, 16);
KILN_AT(KilnRendererOptions, kvwLanguage, 24);

enum KilnRendererFlags {
  KILN_RENDERER_ENABLE_FRAME_BUFFER = 1 << 0,
  KILN_RENDERER_SHOW_FRAME_BUFFER = 1 << 1,
  KILN_RENDERER_USE_DEFAULT_KVW_THEME = 1 << 3,
  KILN_RENDERER_SHOW_KVW_BUTTON_INTERACTIVE_START = 1 << 4,
  KILN_RENDERER_PREVIEW_RENDERER = 1 << 5,
  KILN_RENDERER_ALLOW_INVALID_CHARACTERS = 1 << 6,
  KILN_RENDERER_HIDE_TO_SCENE_BUTTON = 1 << 8,
  KILN_RENDERER_USE_KVW_LOG = 1 << 9,
  KILN_RENDERER_ENABLE_KVW_PLUGINS = 1 << 10,
  KILN_RENDERER_DEFAULT_FLAGS = 0x20B
};

/* An SDK callback, called on an SDK thread with one of the event records below. Its result counts for upload
 * only. */
typedef int32_t (*KilnCallback)(void* record);

/* What every callback setter takes by pointer and copies; a null pointer instead turns the callback off. */
typedef struct CallbackDescriptor {
  KilnCallback function;
  void* user_data;
  uint64_t reserved[2]; /* zero */
} CallbackDescriptor;
KILN_SIZE(CallbackDescriptor, 32);
KILN_AT(CallbackDescriptor, function, 0);
KILN_AT(CallbackDescriptor, user_data, 8);
KILN_AT(CallbackDescriptor, reserved, 16);

/* The head of every event record. Texts and pointers in a record are valid during the callback. */
typedef struct KilnEventHead {
  uint64_t reserved0;
  void* user_data;
  uint64_t reserved1[2];
  double time; /* seconds since the renderer was made */
} KilnEventHead;
KILN_SIZE(KilnEventHead, 40);
KILN_AT(KilnEventHead, user_data, 8);
KILN_AT(KilnEventHead, time, 32);

/* Closed, post effects updated, show messages window, server start. */
typedef struct KilnPlainEvent {
  KilnEventHead head;
} KilnPlainEvent;
KILN_SIZE(KilnPlainEvent, 40);

typedef struct KilnStateChangedEvent {
  KilnEventHead head;
  int32_t first;
  int32_t second;
} KilnStateChangedEvent;
KILN_SIZE(KilnStateChangedEvent, 48);
KILN_AT(KilnStateChangedEvent, first, 40);
KILN_AT(KilnStateChangedEvent, second, 44);

typedef struct KilnImageUpdatedEvent {
  KilnEventHead head;
  int32_t first;
  int32_t second;
  KilnImageHandle image; /* or null */
  uint64_t number;
  int32_t extra;
} KilnImageUpdatedEvent;
KILN_SIZE(KilnImageUpdatedEvent, 72);
KILN_AT(KilnImageUpdatedEvent, first, 40);
KILN_AT(KilnImageUpdatedEvent, second, 44);
KILN_AT(KilnImageUpdatedEvent, image, 48);
KILN_AT(KilnImageUpdatedEvent, number, 56);
KILN_AT(KilnImageUpdatedEvent, extra, 64);

/* Bucket init and bucket failed. */
typedef struct KilnBucketEvent {
  KilnEventHead head;
  int32_t x;
  int32_t y;
  int32_t width;
  int32_t height;
  const char* host; /* UTF-8 or null */
  int32_t extra;
} KilnBucketEvent;
KILN_SIZE(KilnBucketEvent, 72);
KILN_AT(KilnBucketEvent, x, 40);
KILN_AT(KilnBucketEvent, y, 44);
KILN_AT(KilnBucketEvent, width, 48);
KILN_AT(KilnBucketEvent, height, 52);
KILN_AT(KilnBucketEvent, host, 56);
KILN_AT(KilnBucketEvent, extra, 64);

typedef struct KilnBucketReadyEvent {
  KilnEventHead head;
  int32_t x;
  int32_t y;
  int32_t width;
  int32_t height;
  KilnImageHandle image; /* or null */
  const char* host;      /* UTF-8 or null */
  int32_t extra;
} KilnBucketReadyEvent;
KILN_SIZE(KilnBucketReadyEvent, 80);
KILN_AT(KilnBucketReadyEvent, x, 40);
KILN_AT(KilnBucketReadyEvent, y, 44);
KILN_AT(KilnBucketReadyEvent, width, 48);
KILN_AT(KilnBucketReadyEvent, height, 52);
KILN_AT(KilnBucketReadyEvent, image, 56);
KILN_AT(KilnBucketReadyEvent, host, 64);
KILN_AT(KilnBucketReadyEvent, extra, 72);

typedef struct KilnMessageEvent {
  KilnEventHead head;
  const char* message; /* UTF-8 */
  int32_t level;       /* 0 error, 1 warning, 2 info, 3 debug */
} KilnMessageEvent;
KILN_SIZE(KilnMessageEvent, 56);
KILN_AT(KilnMessageEvent, message, 40);
KILN_AT(KilnMessageEvent, level, 48);

typedef struct KilnProgressEvent {
  KilnEventHead head;
  const char* message; /* UTF-8 */
  int32_t first;
  int32_t second;
} KilnProgressEvent;
KILN_SIZE(KilnProgressEvent, 56);
KILN_AT(KilnProgressEvent, message, 40);
KILN_AT(KilnProgressEvent, first, 48);
KILN_AT(KilnProgressEvent, second, 52);

/* Render view changed, host connected, host disconnected; a server's connect and disconnect. */
typedef struct KilnTextEvent {
  KilnEventHead head;
  const char* text; /* UTF-8 */
} KilnTextEvent;
KILN_SIZE(KilnTextEvent, 48);
KILN_AT(KilnTextEvent, text, 40);

/* Render last, render interactive start: bit 0 is a boolean. */
typedef struct KilnFlagEvent {
  KilnEventHead head;
  int32_t flags;
} KilnFlagEvent;
KILN_SIZE(KilnFlagEvent, 48);
KILN_AT(KilnFlagEvent, flags, 40);

typedef struct KilnContextMenuEvent {
  KilnEventHead head;
  int32_t first;
  int32_t second;
  int32_t third;
} KilnContextMenuEvent;
KILN_SIZE(KilnContextMenuEvent, 56);
KILN_AT(KilnContextMenuEvent, first, 40);
KILN_AT(KilnContextMenuEvent, second, 44);
KILN_AT(KilnContextMenuEvent, third, 48);

typedef struct KilnLightMixItem {
  KilnPluginId plugin;
  float color_mult[3];
  float intensity_mult;
  uint32_t enabled;
  uint32_t is_applied; /* written by the host */
} KilnLightMixItem;
KILN_SIZE(KilnLightMixItem, 32);
KILN_AT(KilnLightMixItem, plugin, 0);
KILN_AT(KilnLightMixItem, color_mult, 8);
KILN_AT(KilnLightMixItem, intensity_mult, 20);
KILN_AT(KilnLightMixItem, enabled, 24);
KILN_AT(KilnLightMixItem, is_applied, 28);

typedef struct KilnLightMixEvent {
  KilnEventHead head;
  KilnLightMixItem* items;
  int32_t count;
} KilnLightMixEvent;
KILN_SIZE(KilnLightMixEvent, 56);
KILN_AT(KilnLightMixEvent, items, 40);
KILN_AT(KilnLightMixEvent, count, 48);

typedef struct KilnUploadEvent {
  KilnEventHead head;
  const char* strings; /* NUL-terminated texts, one behind the other */
  int32_t count;
} KilnUploadEvent;
KILN_SIZE(KilnUploadEvent, 56);
KILN_AT(KilnUploadEvent, strings, 40);
KILN_AT(KilnUploadEvent, count, 48);

/* A block of scene data; the memory stays as it is until `release` has been called with `user` as its third
 * argument. */
typedef struct KilnSceneBuffer {
  const void* data;
  uint64_t size;
  KilnReleaseFunction release;
  void* user;
} KilnSceneBuffer;
KILN_SIZE(KilnSceneBuffer, 32);
KILN_AT(KilnSceneBuffer, data, 0);
KILN_AT(KilnSceneBuffer, size, 8);
KILN_AT(KilnSceneBuffer, release, 16);
KILN_AT(KilnSceneBuffer, user, 24);

/* Called once per plugin that is read: null leaves it out, `second` keeps it, a new text from the SDK's
 * allocator renames it. */
typedef const char* (*KilnFilterFunction)(const char* first, const char* second, void* user);

typedef struct KilnSubSequence {
  int32_t start;
  int32_t end;
  int32_t step;
} KilnSubSequence;
KILN_SIZE(KilnSubSequence, 12);
KILN_AT(KilnSubSequence, start, 0);
KILN_AT(KilnSubSequence, end, 4);
KILN_AT(KilnSubSequence, step, 8);

typedef struct KilnImageOptions {
  int32_t left;
  int32_t top;
  int32_t right;  /* 0: the image's edge */
  int32_t bottom; /* 0: the image's edge */
  int32_t doColorCorrect;
  int32_t stripAlpha;
  int32_t flipImage;
} KilnImageOptions;
KILN_SIZE(KilnImageOptions, 28);
KILN_AT(KilnImageOptions, left, 0);
KILN_AT(KilnImageOptions, top, 4);
KILN_AT(KilnImageOptions, right, 8);
KILN_AT(KilnImageOptions, bottom, 12);
KILN_AT(KilnImageOptions, doColorCorrect, 16);
KILN_AT(KilnImageOptions, stripAlpha, 20);
KILN_AT(KilnImageOptions, flipImage, 24);

typedef struct KilnSubFileInfo {
  const char* type;
  const char* suffix;
} KilnSubFileInfo;
KILN_SIZE(KilnSubFileInfo, 16);
KILN_AT(KilnSubFileInfo, type, 0);
KILN_AT(KilnSubFileInfo, suffix, 8);

typedef struct KilnExportSettings {
  const KilnSubFileInfo* subFileInfos;
  const char* hostAppString;
  const KilnPluginId* pluginExportList;
  const char* additionalIncludeFiles; /* texts one behind the other, one NUL more at the end */
  double leftInterval;
  double rightInterval;
  uint32_t compressed;
  uint32_t appendFrameSuffix;
  uint32_t hexArraysAndTransforms; /* bit 0 hexArrays, bit 1 hexTransforms */
  uint32_t renderElementsSeparateFolders;
  uint32_t currentFrameOnly;
  uint32_t incremental;
  uint32_t printHeader;
  uint32_t subFileInfosCount;
  uint32_t pluginExportListCount;
  uint32_t reserved0;
  uint32_t kidataExport;
  int32_t kidataSmallBufferSizeLimit;
  int32_t kidataFileSizeLimitMiB;
  uint32_t reserved1;
} KilnExportSettings;
KILN_SIZE(KilnExportSettings, 104);
KILN_AT(KilnExportSettings, subFileInfos, 0);
KILN_AT(KilnExportSettings, hostAppString, 8);
KILN_AT(KilnExportSettings, pluginExportList, 16);
KILN_AT(KilnExportSettings, additionalIncludeFiles, 24);
KILN_AT(KilnExportSettings, leftInterval, 32);
KILN_AT(KilnExportSettings, rightInterval, 40);
KILN_AT(KilnExportSettings, compressed, 48);
KILN_AT(KilnExportSettings, appendFrameSuffix, 52);
KILN_AT(KilnExportSettings, hexArraysAndTransforms, 56);
KILN_AT(KilnExportSettings, renderElementsSeparateFolders, 60);
KILN_AT(KilnExportSettings, currentFrameOnly, 64);
KILN_AT(KilnExportSettings, incremental, 68);
KILN_AT(KilnExportSettings, printHeader, 72);
KILN_AT(KilnExportSettings, subFileInfosCount, 76);
KILN_AT(KilnExportSettings, pluginExportListCount, 80);
KILN_AT(KilnExportSettings, kidataExport, 88);
KILN_AT(KilnExportSettings, kidataSmallBufferSizeLimit, 92);
KILN_AT(KilnExportSettings, kidataFileSizeLimitMiB, 96);

typedef struct KilnPick {
  KilnPluginId plugin;
  double distance;
  int32_t mtl_id;
  uint32_t reserved;
} KilnPick;
KILN_SIZE(KilnPick, 24);
KILN_AT(KilnPick, plugin, 0);
KILN_AT(KilnPick, distance, 8);
KILN_AT(KilnPick, mtl_id, 16);

/* One block of the caller's; `entries` is as long as `count` says. */
typedef struct KilnPickResult {
  uint32_t count;
  uint32_t reserved;
  KilnPick entries[1];
} KilnPickResult;
KILN_AT(KilnPickResult, count, 0);
KILN_AT(KilnPickResult, entries, 8);

typedef struct KilnCropRegion {
  int32_t srcWidth;
  int32_t srcHeight;
  float rgnLeft;
  float rgnTop;
  float rgnWidth;
  float rgnHeight;
} KilnCropRegion;
KILN_SIZE(KilnCropRegion, 24);
KILN_AT(KilnCropRegion, srcWidth, 0);
KILN_AT(KilnCropRegion, srcHeight, 4);
KILN_AT(KilnCropRegion, rgnLeft, 8);
KILN_AT(KilnCropRegion, rgnTop, 12);
KILN_AT(KilnCropRegion, rgnWidth, 16);
KILN_AT(KilnCropRegion, rgnHeight, 20);

typedef struct KilnRenderRegion {
  int32_t left;
  int32_t top;
  int32_t width;
  int32_t height;
} KilnRenderRegion;
KILN_SIZE(KilnRenderRegion, 16);
KILN_AT(KilnRenderRegion, left, 0);
KILN_AT(KilnRenderRegion, top, 4);
KILN_AT(KilnRenderRegion, width, 8);
KILN_AT(KilnRenderRegion, height, 12);

typedef struct KilnBox {
  float lower[3];
  float upper[3];
} KilnBox;
KILN_SIZE(KilnBox, 24);
KILN_AT(KilnBox, lower, 0);
KILN_AT(KilnBox, upper, 12);

typedef struct KilnAutoExposure {
  float autoExposure;
  float autoWhiteBalance;
} KilnAutoExposure;
KILN_SIZE(KilnAutoExposure, 8);
KILN_AT(KilnAutoExposure, autoExposure, 0);
KILN_AT(KilnAutoExposure, autoWhiteBalance, 4);

/* setImageSizeEx: which regions survive a new size. */
enum KilnImageSizeFlags { KILN_KEEP_CROP_REGION = 1, KILN_KEEP_RENDER_REGION = 2 };

/* The head of the statistics block. Behind it: `device_count` KilnStatisticsDevice, then eleven u64 counters,
   all at 4-byte boundaries. */
typedef struct KilnStatisticsHead {
  double pathsPerSecond;
  uint32_t elapsedTicks;
  int32_t sampleLevel;
  int32_t numPasses;
  float currentNoiseThreshold;
  int32_t device_count;
} KilnStatisticsHead;
KILN_AT(KilnStatisticsHead, pathsPerSecond, 0);
KILN_AT(KilnStatisticsHead, elapsedTicks, 8);
KILN_AT(KilnStatisticsHead, sampleLevel, 12);
KILN_AT(KilnStatisticsHead, numPasses, 16);
KILN_AT(KilnStatisticsHead, currentNoiseThreshold, 20);
KILN_AT(KilnStatisticsHead, device_count, 24);
enum { KILN_STATISTICS_DEVICES_OFFSET = 28, KILN_STATISTICS_COUNTERS = 11 };

typedef struct KilnStatisticsDevice {
  const char* name;
  float utilization;
  float freeMem;
  float totalMem;
  uint32_t reserved;
} KilnStatisticsDevice;
KILN_SIZE(KilnStatisticsDevice, 24);
KILN_AT(KilnStatisticsDevice, name, 0);
KILN_AT(KilnStatisticsDevice, utilization, 8);
KILN_AT(KilnStatisticsDevice, freeMem, 12);
KILN_AT(KilnStatisticsDevice, totalMem, 16);

/* An entry of a device list, which is one block of the caller's. */
typedef struct KilnComputeDevice {
  uint8_t reserved0[16];
  const char* name;
  uint32_t reserved1;
  uint32_t kind; /* 2 CPU, 4 GPU, 8 accelerator */
  uint32_t reserved2;
  uint32_t totalMemoryMB;
  uint32_t reserved3;
  uint32_t numConnectedDisplays;
  uint32_t frequencyMHz;
  uint32_t gigaFlops;
  uint32_t ccMajor;
  uint32_t ccMinor;
  uint32_t rtCoreVersion;
  uint32_t useForRendering;
  uint32_t useLowPriority;
  uint32_t useForDenoising;
  uint32_t isSupported;
  uint8_t reserved4[28];
} KilnComputeDevice;
KILN_SIZE(KilnComputeDevice, 112);
KILN_AT(KilnComputeDevice, name, 16);
KILN_AT(KilnComputeDevice, kind, 28);
KILN_AT(KilnComputeDevice, totalMemoryMB, 36);
KILN_AT(KilnComputeDevice, numConnectedDisplays, 44);
KILN_AT(KilnComputeDevice, frequencyMHz, 48);
KILN_AT(KilnComputeDevice, gigaFlops, 52);
KILN_AT(KilnComputeDevice, ccMajor, 56);
KILN_AT(KilnComputeDevice, ccMinor, 60);
KILN_AT(KilnComputeDevice, rtCoreVersion, 64);
KILN_AT(KilnComputeDevice, useForRendering, 68);
KILN_AT(KilnComputeDevice, useLowPriority, 72);
KILN_AT(KilnComputeDevice, useForDenoising, 76);
KILN_AT(KilnComputeDevice, isSupported, 80);

typedef struct KilnDRClientOptions {
  uint64_t reserved;
  const char* dispatcher;
  const char* httpProxy;
  uint32_t flags; /* KilnDRClientFlags */
  int32_t connectTimeout;
  int32_t upstreamChannels;
  int32_t verboseLevel;
} KilnDRClientOptions;
KILN_SIZE(KilnDRClientOptions, 40);
KILN_AT(KilnDRClientOptions, dispatcher, 8);
KILN_AT(KilnDRClientOptions, httpProxy, 16);
KILN_AT(KilnDRClientOptions, flags, 24);
KILN_AT(KilnDRClientOptions, connectTimeout, 28);
KILN_AT(KilnDRClientOptions, upstreamChannels, 32);
KILN_AT(KilnDRClientOptions, verboseLevel, 36);

enum KilnDRClientFlags {
  KILN_DR_LOCAL_RENDERING = 1 << 0,
  KILN_DR_BROADCAST_LISTENER = 1 << 1,
  KILN_DR_PIPELINED_UPSTREAM = 1 << 2,
  KILN_DR_ASSIGN_BACKUPS = 1 << 3,
  KILN_DR_FORWARD_SUBUNITS = 1 << 4
};

typedef struct KilnResumableOptions {
  const char* outputFile;
  int32_t compressProgressiveFiles;
  int32_t deleteResumableFileOnSuccess;
  int32_t progressiveAutoSaveSeconds;
  uint32_t reserved;
} KilnResumableOptions;
KILN_SIZE(KilnResumableOptions, 24);
KILN_AT(KilnResumableOptions, outputFile, 0);
KILN_AT(KilnResumableOptions, compressProgressiveFiles, 8);
KILN_AT(KilnResumableOptions, deleteResumableFileOnSuccess, 12);
KILN_AT(KilnResumableOptions, progressiveAutoSaveSeconds, 16);

typedef struct KilnProfilerOptions {
  const char* outputDirectory;
  const char* outputFilename;
  const char* outputSuffix;
  int32_t mode; /* 0 off, 1 simple, 2 full */
  uint32_t reserved;
} KilnProfilerOptions;
KILN_SIZE(KilnProfilerOptions, 32);
KILN_AT(KilnProfilerOptions, outputDirectory, 0);
KILN_AT(KilnProfilerOptions, outputFilename, 8);
KILN_AT(KilnProfilerOptions, outputSuffix, 16);
KILN_AT(KilnProfilerOptions, mode, 24);

typedef struct KilnContextMenuItem {
  int32_t id;
  int32_t type; /* 1 checkbox, otherwise 0 */
  int32_t defaultValue;
  uint32_t enabled;
  const char* text;
} KilnContextMenuItem;
KILN_SIZE(KilnContextMenuItem, 24);
KILN_AT(KilnContextMenuItem, id, 0);
KILN_AT(KilnContextMenuItem, type, 4);
KILN_AT(KilnContextMenuItem, defaultValue, 8);
KILN_AT(KilnContextMenuItem, enabled, 12);
KILN_AT(KilnContextMenuItem, text, 16);

struct KilnDenoiseRequest;
/* Called once on any thread with the finished image, or null, which then belongs to the host. */
typedef void (*KilnDenoiseCompletion)(KilnImageHandle image, struct KilnDenoiseRequest* request);

typedef struct KilnDenoiseRequest {
  KilnDenoiseCompletion completion; /* or null */
  KilnRendererHandle renderer;
  void* user;
  void* pending; /* set to null by the host */
  uint32_t blocking;
  uint32_t reserved;
} KilnDenoiseRequest;
KILN_SIZE(KilnDenoiseRequest, 40);
KILN_AT(KilnDenoiseRequest, completion, 0);
KILN_AT(KilnDenoiseRequest, renderer, 8);
KILN_AT(KilnDenoiseRequest, user, 16);
KILN_AT(KilnDenoiseRequest, pending, 24);
KILN_AT(KilnDenoiseRequest, blocking, 32);

#endif
