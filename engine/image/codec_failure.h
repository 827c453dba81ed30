// How codecs say what went wrong, and what decoders check before they allocate.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "engine/image/image.h"

namespace kiln::engine::image {

// Stores the sentence where it is wanted; always false, so that a codec can return it.
inline bool Fail(std::string* error, std::string sentence) {
  if (error) *error = std::move(sentence);
  return false;
}
// The same for what returns an image.
inline Image* FailImage(std::string* error, std::string sentence) {
  Fail(error, std::move(sentence));
  return nullptr;
}

inline constexpr const char* kOutOfMemory = "there is not enough memory for the image";

// An unfilled image for a decoder, marked as it decodes; null with the error set when the size is none or too
// large.
ImagePtr CreateDecoded(int64_t width, int64_t height, float gamma, bool straight_alpha, std::string* error);

// Whether a file of `bytes` bytes can hold `needed` bytes of pixels at the best ratio its packing reaches; a
// header that promises more is refused before memory is taken for it.
inline bool Plausible(uint64_t needed, uint64_t bytes, uint64_t ratio) {
  return needed / ratio <= bytes;
}
inline constexpr uint64_t kDeflateRatio = 1032;

}  // namespace kiln::engine::image
