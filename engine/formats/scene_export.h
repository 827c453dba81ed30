// Writes a scene, or a part of it, as files of scene text.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/formats/scene_text.h"

namespace kiln::engine::formats {

// Instances of a kind that go into a file of their own, which the main one includes: its name with the
// suffix.
struct SubFile {
  // "view", "lights", "geometry", "nodes", "materials", "textures", "bitmaps", "volumes", "channels" or
  // "settings"; no instance is of any other kind.
  std::string kind;
  std::string suffix;
};

struct ExportOptions {
  TextOptions text{};  // its folder is the file's
  // Only these and what they refer to.
  std::optional<std::vector<scene::PluginId>> plugins{};
  std::vector<SubFile> sub_files{};  // an instance goes to the first that takes it
  std::vector<std::string> includes{};
  bool header = true;
  std::string host{};          // who exports, for the header
  std::optional<int> frame{};  // the name of the file gets it, in four digits
};

// Writes the sub-files that have instances, then the main file, each whole or not at all. Copies the scene
// under its lock and writes without it. False with a sentence without a full stop in *why: for a name that
// loading would take for another format, a suffix with a folder in it, instances none of which exists, and
// files that can't be written. Any thread.
bool ExportScene(const scene::Scene& scene, const std::filesystem::path& file, const ExportOptions& options,
                 std::string* why);

}  // namespace kiln::engine::formats
