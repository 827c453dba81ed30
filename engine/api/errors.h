// The error codes of the boundary, with their sentences.
#pragma once

#include <cstdint>

#include "engine/formats/loader.h"
#include "engine/render/session.h"

namespace kiln::engine::api {

// Codes beside those of formats::LoadError and render::RenderError. Codes that cross the boundary never
// change.
enum class ApiError : int32_t {
  kNone = 0,
  kNoMemory = 30,
  kNotWhileRendering = 31,
  kUnknownRenderMode = 32,
  kNoGpu = 33,
  kNoSuchCamera = 34,
  kNoLightingAnalysis = 35,
  kNotWritten = 36,
  kNoLightCache = 37,
  kNotResumable = 38,
  kNoProfiler = 39,
  kNotDistributed = 50,
  kShaderNotFound = 51,
  kNoShader = 52,
  kMalformedShader = 53,
  kInternal = 99,
};

// The sentence of any code, without a full stop where the host goes on with file and line. Never null;
// static.
const char* ErrorText(int32_t code) noexcept;

}  // namespace kiln::engine::api
