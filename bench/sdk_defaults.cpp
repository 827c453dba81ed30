// All entry points, each answering 0; sdk_library.cpp takes the place of those that are measured.
#include "entry_points.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

#define KILN_ENTRY(family, result, name, parameters)                               \
  extern "C" __attribute__((weak, visibility("default"))) result name parameters { \
    return static_cast<result>(0);                                                 \
  }
#include "entry_points.def"
