// Any bytes as a shader source: its parameters are read, each with a name and finite numbers, or it is
// refused.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "engine/utilities/osl_declaration.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kiln::engine;
  std::vector<OslParameter> parameters;
  const OslError error =
      ReadOslDeclaration(std::string_view(reinterpret_cast<const char*>(data), size), &parameters);
  if (error != OslError::kNone && !parameters.empty()) std::abort();
  for (const OslParameter& parameter : parameters) {
    if (parameter.name.empty()) std::abort();
    for (const float number : parameter.numbers) {
      if (!std::isfinite(number)) std::abort();
    }
  }
  return 0;
}
