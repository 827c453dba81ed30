// How codecs say what went wrong.
#pragma once

#include <string>
#include <utility>

namespace kiln::engine::image {

// Stores the sentence where it is wanted; always false, so that a codec can return it.
inline bool Fail(std::string* error, std::string sentence) {
  if (error) *error = std::move(sentence);
  return false;
}

inline constexpr const char* kOutOfMemory = "there is not enough memory for the image";

}  // namespace kiln::engine::image
