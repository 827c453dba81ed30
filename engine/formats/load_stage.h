// What one load makes before it reaches the scene: the batch, and which files have been read. Private to the
// readers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/formats/loader.h"
#include "engine/scene/scene_batch.h"

namespace kiln::engine::formats {

struct LoadStage {
  scene::Scene& scene;  // where references look that the load itself does not answer
  std::vector<std::filesystem::path> include_paths{};
  scene::SceneBatch batch{};
  std::set<std::filesystem::path> included{};  // canonical; each is read once a load
};

enum class Format { kText, kGltf, kModel };

// kFileNotFound, kUnknownFormat or kOutOfMemory when it can't be read.
LoadResult ReadSceneFile(const std::filesystem::path& file, std::vector<std::byte>* bytes);
// By the file's name, and by its content where the name says nothing.
Format FormatOf(const std::filesystem::path& file, std::span<const std::byte> bytes);

// Each stages the content of a file; after a failure the stage is of no use. `label` names the file in
// errors, empty for a text or a buffer. Text: asset paths and includes are relative to `folder`. glTF:
// `folder` is where relative buffers and images are looked up, empty when there are none to find. Model:
// `file` is empty for a buffer, and `extension_hint` ("obj") may be empty. kUnknownFormat when no reader
// recognises it.
LoadResult StageText(LoadStage& stage, std::string_view text, const std::filesystem::path& folder,
                     const std::filesystem::path& file, const std::string& label);
LoadResult StageGltf(LoadStage& stage, std::span<const std::byte> bytes, const std::filesystem::path& folder,
                     const std::string& label);
LoadResult StageModel(LoadStage& stage, std::span<const std::byte> bytes, const std::filesystem::path& file,
                      std::string_view extension_hint);
// The one of the three for the format. `file` is absolute, `label` what the caller calls it.
LoadResult StageContent(LoadStage& stage, Format format, std::span<const std::byte> bytes,
                        const std::filesystem::path& file, const std::string& label);

// Adds what is staged to the stage's scene; notes of the readers stand before those of the commit.
LoadResult CommitStage(LoadStage& stage, const scene::LoadFilter& filter, LoadResult staged);

}  // namespace kiln::engine::formats
