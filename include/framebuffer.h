/* Records of the frame-buffer window. */
#ifndef KILN_INCLUDE_FRAMEBUFFER_H_
#define KILN_INCLUDE_FRAMEBUFFER_H_

#include "abi.h"

typedef struct KvwRect {
  int32_t x;
  int32_t y;
  int32_t width;
  int32_t height;
} KvwRect;
KILN_SIZE(KvwRect, 16);
KILN_AT(KvwRect, x, 0);
KILN_AT(KvwRect, y, 4);
KILN_AT(KvwRect, width, 8);
KILN_AT(KvwRect, height, 12);

typedef struct KvwSaveOptions {
  uint32_t flags; /* KvwSaveFlags */
  int32_t compressionType;
  int32_t bitsPerChannel;
} KvwSaveOptions;
KILN_SIZE(KvwSaveOptions, 12);
KILN_AT(KvwSaveOptions, flags, 0);
KILN_AT(KvwSaveOptions, compressionType, 4);
KILN_AT(KvwSaveOptions, bitsPerChannel, 8);

enum KvwSaveFlags {
  KILN_KVW_MULTIPLE_FILES = 1 << 0,
  KILN_KVW_SKIP_ALPHA = 1 << 1,
  KILN_KVW_FRAME_NUMBER = 1 << 2,
  KILN_KVW_NO_ALPHA = 1 << 3,
  KILN_KVW_SINGLE_CHANNEL = 1 << 4,
  KILN_KVW_SKIP_RGB = 1 << 5,
  KILN_KVW_WRITE_INTEGER_IDS = 1 << 6,
  KILN_KVW_VELOCITY_ZERO_BASED = 1 << 7,
  KILN_KVW_MULTI_CHANNEL = 1 << 8,
  KILN_KVW_APPLY_COLOR_CORRECTIONS = 1 << 9
};

#endif
