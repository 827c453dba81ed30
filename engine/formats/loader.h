// Reads scenes of every supported format into a Scene: the TOML scene text, glTF and GLB, and model files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

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
  kDuplicateName = 6,  // the filter gave a name that another instance has
  kInvalidName = 7,    // the filter gave a name that no instance can have
  kParser = 10,        // malformed; file, line and text say where and why
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

struct LoadStage;

// Reads scenes one after the other and adds them to a scene in one step, or nothing of them. Single-threaded;
// the scene outlives it. After a failure there is nothing left to do with it.
class Loader {
 public:
  // `include_paths`: folders in which included files are looked for, after that of the including text.
  explicit Loader(scene::Scene& scene, std::vector<std::filesystem::path> include_paths = {});
  ~Loader();
  Loader(const Loader&) = delete;
  Loader& operator=(const Loader&) = delete;

  // Each reads one scene; names of the earlier ones can be referred to.
  LoadResult AddFile(const std::filesystem::path& file);
  // The TOML scene text; asset paths in it are relative to `base`, the working directory when empty.
  LoadResult AddText(std::string_view text, const std::filesystem::path& base = {});
  // Any format, recognised by content: TOML text, GLB, glTF JSON, or what the model importer recognises.
  LoadResult AddBuffer(std::span<const std::byte> bytes);

  // In place of a scene that the caller does not have: the load fails with kFileNotFound for the reason.
  void Refuse(const std::string& reason);

  // Adds all of it to the scene under its lock, so that a render in progress waits only for that. A filter is
  // asked about each instance before that step, on the calling thread and without the lock (see
  // SceneBatch::CommitTo).
  LoadResult Commit(const scene::LoadFilter& filter = {});

 private:
  template <class Read>
  LoadResult Add(const std::string& label, const Read& read);

  std::unique_ptr<LoadStage> stage_;
  LoadResult result_;  // the first failure, or the notes so far
};

// Each adds one scene, as a loader of its own does. Any thread.
LoadResult LoadFile(scene::Scene& scene, const std::filesystem::path& file,
                    const scene::LoadFilter& filter = {});
LoadResult LoadText(scene::Scene& scene, std::string_view text, const std::filesystem::path& base = {},
                    const scene::LoadFilter& filter = {});
LoadResult LoadBuffer(scene::Scene& scene, std::span<const std::byte> bytes,
                      const scene::LoadFilter& filter = {});

}  // namespace kiln::engine::formats
