// Readers of other people's formats, called by the loader with the whole content of a file.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "engine/formats/loader.h"
#include "engine/scene/scene_batch.h"

namespace kiln::engine::formats {

// glTF 2.0, JSON or GLB. `base_dir` is where relative buffers and images are looked up (empty: there are none
// to find but embedded ones), `file_label` names the file in errors (empty for a buffer). Stages everything
// in a SceneBatch and commits it to the scene only on success. Any thread.
LoadResult ImportGltf(scene::Scene& scene, std::span<const std::byte> bytes,
                      const std::filesystem::path& base_dir, const std::string& file_label,
                      const scene::LoadFilter& filter = {});

// OBJ, PLY, STL, FBX and the other model formats. `file` is empty for a buffer; `extension_hint` ("obj",
// without the dot) helps formats that their content does not give away, and may be empty. kUnknownFormat when
// no reader recognises the content. Commits only on success. Any thread.
LoadResult ImportModel(scene::Scene& scene, std::span<const std::byte> bytes,
                       const std::filesystem::path& file, std::string_view extension_hint,
                       const scene::LoadFilter& filter = {});

}  // namespace kiln::engine::formats
