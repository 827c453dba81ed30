// A library under the SDK's file name, for the loader's tests: every entry point is there and answers
// nothing, but for one that the build may leave out.
#include "entry_points.h"

#define EXPORTED extern "C" __declspec(dllexport)

#ifdef LEAVE_ONE_OUT
#define Kiln_KilnRenderer_getState Kiln_KilnRenderer_getState_of_another_version
extern "C" int32_t Kiln_KilnRenderer_getState(KilnRendererHandle renderer);
#endif

namespace {
template <class Result>
Result Nothing() {
  return Result();
}
}  // namespace

#define KILN_ENTRY(family, result, name, parameters) \
  EXPORTED result name parameters {                  \
    return Nothing<result>();                        \
  }
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include "entry_points.def"
