/* Records of render elements. */
#ifndef KILN_INCLUDE_ELEMENTS_H_
#define KILN_INCLUDE_ELEMENTS_H_

#include "abi.h"

typedef struct RenderElementInfo {
  const char* name; /* UTF-8, the SDK's */
  uint32_t binary_format;
  uint32_t type;
} RenderElementInfo;
KILN_SIZE(RenderElementInfo, 16);
KILN_AT(RenderElementInfo, name, 0);
KILN_AT(RenderElementInfo, binary_format, 8);
KILN_AT(RenderElementInfo, type, 12);

/* The lower right corner, not the size. */
typedef struct RenderElementRegion {
  int32_t x0;
  int32_t y0;
  int32_t x1;
  int32_t y1;
} RenderElementRegion;
KILN_SIZE(RenderElementRegion, 16);
KILN_AT(RenderElementRegion, x0, 0);
KILN_AT(RenderElementRegion, y0, 4);
KILN_AT(RenderElementRegion, x1, 8);
KILN_AT(RenderElementRegion, y1, 12);

#endif
