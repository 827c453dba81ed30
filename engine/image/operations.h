// What can be done to the pixels of an image. Those that change an image return false, with the image
// untouched, when a parameter is not finite or has no meaning; those that make one return null. The caller
// owns a new image. Any thread; the caller keeps others off the images meanwhile.
#pragma once

#include "engine/image/image.h"

namespace kiln::engine::image {

// adjust.cpp. Alpha stays as it is.
bool AddColor(Image& image, float red, float green, float blue) noexcept;
// Colour times 2 to the power of `stops`.
bool ChangeExposure(Image& image, float stops) noexcept;
// Contrast about mid-grey, 0.18 in linear light: a power of the ratio to it, so nothing turns negative. 1
// changes nothing, 0 leaves mid-grey alone; negative values are refused.
bool ChangeContrast(Image& image, float contrast) noexcept;
// Encodes with a further power 1 / gamma and notes it in the image's gamma, so encoders know what they are
// given.
bool ChangeGamma(Image& image, float gamma) noexcept;
// Linear to the sRGB curve (the image's gamma becomes 2.2), or back (1).
bool ChangeSrgb(Image& image, bool to_srgb) noexcept;
// One minus colour; twice gives the image again.
bool MakeNegative(Image& image) noexcept;
// Says what the pixels are encoded with and leaves them alone.
bool SetGamma(Image& image, float gamma) noexcept;

// draw.cpp
enum class DrawMode { kCopy = 0, kBlend = 1 };
// Puts `source` with its top left corner at x, y, clipped; kBlend lays it over by its alpha. What the source
// holds is brought to the target's encoding and kind of alpha. Drawing wholly outside succeeds; an image may
// be drawn on itself. False for a mode that does not exist or without memory.
bool Draw(Image& target, const Image& source, int x, int y, int mode) noexcept;

// crop.cpp. The rectangle of |width| by |height| pixels at x, y, which must lie inside; a negative width
// mirrors it left to right, a negative height top to bottom.
Image* Crop(const Image& source, int x, int y, int width, int height) noexcept;

// resample.cpp. Filtered in linear light with premultiplied colour; pixels that are not finite count as
// black. Scaling to the size that is there already gives a copy, bit for bit.
Image* Downscale(const Image& source, int width, int height) noexcept;
// The largest that fits inside width by height and keeps the aspect.
Image* FitIn(const Image& source, int width, int height) noexcept;
// The smallest that covers width by height and keeps the aspect.
Image* FitOut(const Image& source, int width, int height) noexcept;
// Covers width by height and cuts what sticks out, evenly on both sides: exactly that size.
Image* CutIn(const Image& source, int width, int height) noexcept;
// A rectangle of the source scaled to width by height; no pixel outside it has influence.
Image* CropDownscale(const Image& source, int x, int y, int source_width, int source_height, int width,
                     int height) noexcept;

}  // namespace kiln::engine::image
