// Entry points of string vectors.
#include "engine/api/blocks.h"
#include "engine/api/guard.h"

namespace kiln::engine::api {

extern "C" {

const char* getVectorElement(KilnStringVector vector, int32_t index) {
  const auto* texts = static_cast<const StringVector*>(vector);
  if (!texts || index < 0 || static_cast<size_t>(index) >= texts->size()) return nullptr;
  return (*texts)[index].c_str();
}

int32_t getVectorSize(KilnStringVector vector) {
  const auto* texts = static_cast<const StringVector*>(vector);
  return texts ? static_cast<int32_t>(texts->size()) : 0;
}

void releaseVector(KilnStringVector vector) {
  delete static_cast<StringVector*>(vector);
}

}  // extern "C"
}  // namespace kiln::engine::api
