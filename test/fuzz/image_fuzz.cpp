// Any bytes as an image file, of whatever format they begin as: an image comes out, or a sentence.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "engine/image/codec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kiln::engine::image;
  std::string error;
  const ImagePtr image(Decode(std::as_bytes(std::span(data, size)), &error));
  if ((image == nullptr) == error.empty()) std::abort();
  if (image && !IsImage(image.get())) std::abort();
  return 0;
}
