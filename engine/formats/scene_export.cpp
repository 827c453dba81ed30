// The files of an export: which instance goes where, their names, and their headers.
#include "engine/formats/scene_export.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <shared_mutex>
#include <span>

#include "engine/image/file_output.h"

namespace kiln::engine::formats {
namespace {

namespace fs = std::filesystem;
using scene::Category;
using scene::Instance;

struct Kind {
  std::string_view name;
  bool (*takes)(const scene::PluginClass&);
};

template <Category... categories>
bool IsAnyOf(const scene::PluginClass& type) {
  return (type.categories & (CategoryBit(categories) | ...)) != 0;
}

bool IsNode(const scene::PluginClass& type) {
  return type.is_object && !IsAnyOf<Category::kLight>(type);
}

constexpr std::array<Kind, 10> kKinds = {{
    {"view", IsAnyOf<Category::kRenderView>},
    {"lights", IsAnyOf<Category::kLight>},
    {"geometry", IsAnyOf<Category::kGeometrySource>},
    {"nodes", IsNode},
    {"materials", IsAnyOf<Category::kMaterial, Category::kBsdf>},
    {"textures",
     IsAnyOf<Category::kTexture, Category::kTextureFloat, Category::kTextureInt, Category::kTextureVector,
             Category::kTextureMatrix, Category::kTextureTransform, Category::kUvwGen>},
    {"bitmaps", IsAnyOf<Category::kBitmap>},
    {"volumes", IsAnyOf<Category::kVolumetric>},
    {"channels", IsAnyOf<Category::kRenderChannel>},
    {"settings", IsAnyOf<Category::kSettings>},
}};

// The number of the sub-file that an instance belongs to; nothing for the main file.
std::optional<size_t> SubFileOf(const std::vector<SubFile>& files, const Instance& instance) {
  for (size_t i = 0; i < files.size(); ++i) {
    const auto* kind = std::ranges::find(kKinds, files[i].kind, &Kind::name);
    if (files[i].suffix.empty() || kind == kKinds.end() || !kind->takes(*instance.type)) continue;
    // Kinds with one suffix share its file.
    const auto* first = &files.front();
    while (first->suffix != files[i].suffix) ++first;
    return static_cast<size_t>(first - files.data());
  }
  return {};
}

// A comment holds no control characters and nothing that is no UTF-8.
std::string Comment(const std::string& text) {
  std::string comment = QuoteText(text);
  comment = comment.substr(1, comment.size() - 2);
  return comment;
}

std::string Header(const ExportOptions& options) {
  if (!options.header) return {};
  std::string header = "# A Kiln scene.\n";
  if (!options.host.empty()) header += "# Exported from " + Comment(options.host) + ".\n";
  return header + '\n';
}

std::string Includes(const std::vector<std::string>& files) {
  if (files.empty()) return {};
  std::string text = "include = [";
  for (const std::string& file : files) text += (&file == files.data() ? "" : ", ") + QuoteText(file);
  return text + "]\n\n";
}

fs::path Named(const fs::path& file, const std::string& suffix) {
  return file.parent_path() / (file.stem().string() + suffix + file.extension().string());
}

std::string Extension(const fs::path& file) {
  std::string extension = file.extension().string();
  std::ranges::transform(extension, extension.begin(), [](unsigned char c) { return std::tolower(c); });
  return extension;
}

bool Refuse(std::string* why, std::string reason) {
  *why = std::move(reason);
  return false;
}

bool Check(const fs::path& file, const ExportOptions& options, std::string* why) {
  const std::string extension = Extension(file);
  if (extension == ".gltf" || extension == ".glb") {
    return Refuse(why, fmt::format("scenes are exported as scene text, which \"{}\" would not be taken for",
                                   file.string()));
  }
  for (const SubFile& sub : options.sub_files) {
    if (sub.suffix.find_first_of("/\\") != std::string::npos) {
      return Refuse(why, fmt::format("the suffix \"{}\" of a sub-file names a folder", sub.suffix));
    }
  }
  return true;
}

bool Write(const fs::path& file, const std::string& text, std::string* why) {
  return image::WriteFileWhole(file, std::as_bytes(std::span(text.data(), text.size())), why);
}

SceneCopy Copy(const scene::Scene& scene) {
  const std::shared_lock lock(scene.mutex);
  return SceneCopy(scene);
}

}  // namespace

bool ExportScene(const scene::Scene& scene, const fs::path& name, const ExportOptions& options,
                 std::string* why) {
  if (name.empty()) return Refuse(why, "no file was named");
  const fs::path file =
      fs::absolute(options.frame ? Named(name, fmt::format("_{:04}", *options.frame)) : name)
          .lexically_normal();
  if (!Check(file, options, why)) return false;
  SceneCopy copy = Copy(scene);
  if (options.plugins) {
    copy.Keep(*options.plugins);
    if (copy.instances().empty()) return Refuse(why, "none of the chosen plugins is in the scene");
  }
  TextOptions text = options.text;
  text.folder = file.parent_path();

  std::vector<std::string> includes = options.includes;
  for (size_t i = 0; i < options.sub_files.size(); ++i) {
    const std::string part = WriteText(
        copy, text, [&](const Instance& instance) { return SubFileOf(options.sub_files, instance) == i; });
    if (part.empty()) continue;
    const fs::path sub_file = Named(file, options.sub_files[i].suffix);
    const std::string include = sub_file.filename().string();
    if (std::ranges::find(includes, include) != includes.end()) {
      return Refuse(why, fmt::format("\"{}\" is a sub-file and an included file at once", include));
    }
    if (!Write(sub_file, Header(options) + part, why)) return false;
    includes.push_back(include);
  }
  const std::string rest = WriteText(
      copy, text, [&](const Instance& instance) { return !SubFileOf(options.sub_files, instance); });
  return Write(file, Header(options) + Includes(includes) + rest, why);
}

}  // namespace kiln::engine::formats
