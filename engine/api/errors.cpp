// The sentences of the error codes.
#include "engine/api/errors.h"

namespace kiln::engine::api {
namespace {

struct Sentence {
  int32_t code;
  const char* text;
};

template <class Code>
constexpr Sentence Row(Code code, const char* text) {
  return {static_cast<int32_t>(code), text};
}

using formats::LoadError;
using render::RenderError;

constexpr Sentence kSentences[] = {
    {0, "No error."},
    Row(LoadError::kFileNotFound, "The scene file was not found or cannot be read."),
    Row(LoadError::kUnknownFormat, "The scene is in no format that the engine knows."),
    Row(LoadError::kUnsupportedFeature, "The scene needs a feature that the engine does not have."),
    Row(LoadError::kMissingAsset, "A file that the scene refers to was not found or cannot be read."),
    Row(LoadError::kOutOfMemory, "There is not enough memory to load the scene."),
    Row(LoadError::kDuplicateName, "The filter gave a plugin a name that another one has."),
    Row(LoadError::kInvalidName, "The filter gave a plugin a name that no plugin can have."),
    Row(LoadError::kParser, "The scene is malformed."),
    Row(RenderError::kNoCamera, "The scene has no camera to render with."),
    Row(RenderError::kEmptyImage, "The image to render has no pixels."),
    Row(RenderError::kOutOfMemory, "There is not enough memory to render the scene."),
    Row(RenderError::kBadScene, "The scene cannot be rendered; the log says why."),
    Row(ApiError::kNoMemory, "There is not enough memory."),
    Row(ApiError::kNotWhileRendering, "This cannot be changed while a render is in progress."),
    Row(ApiError::kUnknownRenderMode, "There is no such render mode."),
    Row(ApiError::kNoGpu, "This render mode needs a GPU, which the engine does not use."),
    Row(ApiError::kNoSuchCamera, "The scene has no camera of that name."),
    Row(ApiError::kNoLightingAnalysis, "The engine has no lighting analysis to update."),
    Row(ApiError::kNotWritten, "The scene cannot be written; the log says why."),
    Row(ApiError::kNoLightCache, "The engine keeps no light in maps or caches that could be saved."),
    Row(ApiError::kNotResumable, "The engine cannot resume a render that was stopped."),
    Row(ApiError::kNoProfiler, "The engine has no profiler."),
    Row(ApiError::kNotDistributed, "The engine does not share its work with other machines."),
    Row(ApiError::kShaderNotFound, "The shader file was not found or cannot be read."),
    Row(ApiError::kNoShader, "The file holds no source of a shader."),
    Row(ApiError::kMalformedShader, "The shader is malformed: its declaration or its braces do not close."),
    Row(ApiError::kInternal, "The engine failed unexpectedly."),
};

}  // namespace

const char* ErrorText(int32_t code) noexcept {
  for (const Sentence& sentence : kSentences) {
    if (sentence.code == code) return sentence.text;
  }
  return "Unknown error.";
}

}  // namespace kiln::engine::api
