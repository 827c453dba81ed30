// Reads scenes of every supported format into a Scene: the TOML scene text, glTF and GLB, and model files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "engine/scene/scene.h"
#include "engine/scene/scene_batch.h"

namespace kiln::engine::formats {

// The numbers are the error codes that the boundary reports.
enum class LoadError : int32_t {
  kNone = 0,
  kFileNotFound = 1,        // also: not readable, a directory
  kUnknownFormat = 2,       // neither the name nor the content says what it is
  kUnsupportedFeature = 3,  // the file needs an extension that the engine does not have
  kMissingAsset = 4,        // a buffer or image that the file names can't be read
  kOutOfMemory = 5,
  kParser = 10,  // malformed; file, line and text say where and why
};

struct LoadResult {
  LoadError error = LoadError::kNone;
  std::string file;   // for kParser: the file that is malformed; empty for text and buffers
  uint32_t line = 0;  // 1-based; 0 where the format has no lines
  // The reason, one sentence without a full stop. When the result is ok: what was left out or replaced, a
  // note a line; empty when there is nothing to say.
  std::string text;
  bool ok() const { return error == LoadError::kNone; }
};

// Each adds to the scene, or leaves it as it was when the result is not ok. They take the scene's lock
// themselves, only for the final step, so that a render in progress goes on. A filter is asked about each
// instance before that step, on the calling thread and without the lock (see SceneBatch::CommitTo). Any
// thread.
LoadResult LoadFile(scene::Scene& scene, const std::filesystem::path& file,
                    const scene::LoadFilter& filter = {});
// The TOML scene text; asset paths in it are relative to `base`, the working directory when empty.
LoadResult LoadText(scene::Scene& scene, std::string_view text, const std::filesystem::path& base = {},
                    const scene::LoadFilter& filter = {});
// Any format, recognised by content: TOML text, GLB, glTF JSON, or what the model importer recognises.
LoadResult LoadBuffer(scene::Scene& scene, std::span<const std::byte> bytes,
                      const scene::LoadFilter& filter = {});

}  // namespace kiln::engine::formats
