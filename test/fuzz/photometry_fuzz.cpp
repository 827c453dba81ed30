// Any bytes as a photometric file: it is refused, or its flux is a number that is not negative.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "engine/utilities/photometry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kiln::engine;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  // The file of a tilt is the same text.
  const auto photometry = ParsePhotometry(text, [&](const std::string&) { return std::string(text); });
  if (!photometry) return 0;
  if (photometry->candela.size() != photometry->vertical.size() * photometry->horizontal.size()) std::abort();
  const double flux = LuminousFlux(*photometry);
  if (std::isnan(flux) || flux < 0) std::abort();
  return 0;
}
