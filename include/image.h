/* Records of images. */
#ifndef KILN_INCLUDE_IMAGE_H_
#define KILN_INCLUDE_IMAGE_H_

#include "abi.h"

/* The colour that addColor adds. */
typedef struct KilnImageColor {
  float red;
  float green;
  float blue;
} KilnImageColor;
KILN_SIZE(KilnImageColor, 12);
KILN_AT(KilnImageColor, red, 0);
KILN_AT(KilnImageColor, green, 4);
KILN_AT(KilnImageColor, blue, 8);

/* What the PNG encoders take. */
enum KilnPngFlags { KILN_PNG_FIRST_FLAG = 1, KILN_PNG_16_BITS = 2 };

/* What toBitmapData takes. */
enum KilnBitmapFlags {
  KILN_BITMAP_SWAP_CHANNELS = 1,
  KILN_BITMAP_REVERSE_Y = 2,
  KILN_BITMAP_PRESERVE_ALPHA = 4
};

/* What drawImage takes. */
enum KilnDrawMode { KILN_DRAW_COPY = 0, KILN_DRAW_BLEND = 1 };

/* What toIntList takes. */
enum KilnIntListType {
  KILN_INTS_BGRA_BYTE = 0,
  KILN_INTS_RGBA_FLOAT = 1,
  KILN_INTS_RGBA_16 = 3,
  KILN_INTS_BGR_BYTE = 4
};

#endif
