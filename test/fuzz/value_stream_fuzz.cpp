// Any bytes as a value stream: nothing outside them is read, and what they mean can be written and read
// again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "engine/api/value_stream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using kiln::engine::api::DecodeValue;
  using kiln::engine::scene::Type;
  const auto value = DecodeValue(data, {.bytes = size, .pointers = false});
  if (!value) return 0;
  std::vector<char> first(kiln::engine::api::EncodedSize(*value, Type::kUnspecified));
  kiln::engine::api::EncodeValue(*value, Type::kUnspecified, first.data());
  // A second time, since some tags come back as others. As bytes, since a NaN equals nothing.
  const auto again = DecodeValue(first.data(), {.bytes = first.size(), .pointers = false});
  if (!again) std::abort();
  std::vector<char> second(kiln::engine::api::EncodedSize(*again, Type::kUnspecified));
  kiln::engine::api::EncodeValue(*again, Type::kUnspecified, second.data());
  if (first != second) std::abort();
  return 0;
}
