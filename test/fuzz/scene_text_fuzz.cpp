// Any bytes as a scene text: it is read or refused, and what was read is written, read and written the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "engine/formats/load_stage.h"
#include "engine/formats/scene_text.h"
#include "test/engine/scene/every_type.h"

namespace kiln::engine::formats {

// Included models are another reader's.
LoadResult StageGltf(LoadStage&, std::span<const std::byte>, const std::filesystem::path&,
                     const std::string&) {
  return {LoadError::kUnsupportedFeature, {}, 0, "no model"};
}
LoadResult StageModel(LoadStage&, std::span<const std::byte>, const std::filesystem::path&,
                      std::string_view) {
  return {LoadError::kUnsupportedFeature, {}, 0, "no model"};
}

}  // namespace kiln::engine::formats

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kiln::engine::formats;
  kiln::engine::scene::Scene scene;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (!ReadSceneText(scene, text, "/none", {}).ok()) {
    if (scene.Count() != 0) std::abort();
    return 0;
  }
  TextOptions options;
  options.compressed = size % 2 == 0;
  const std::string written = WriteText(SceneCopy(scene), options);
  kiln::engine::scene::Scene again;
  if (!ReadSceneText(again, written, "/none", {}).ok()) std::abort();
  if (WriteText(SceneCopy(again), options) != written) std::abort();
  return 0;
}
