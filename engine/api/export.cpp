// Entry points that write the scene.
#include <algorithm>
#include <climits>
#include <cmath>
#include <shared_mutex>
#include <string>
#include <vector>

#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/formats/scene_export.h"

namespace kiln::engine::api {
namespace {

std::string TextOf(const char* text) {
  return text ? text : "";
}

// Texts one behind the other, and an empty one at the end.
std::vector<std::string> ListOf(const char* texts) {
  std::vector<std::string> list;
  for (; texts && *texts; texts += list.back().size() + 1) list.emplace_back(texts);
  return list;
}

// Both 0, as the settings start, means every frame, and so does an interval that ends before it begins.
bool IsInterval(double left, double right) {
  return std::isfinite(left) && std::isfinite(right) && left <= right && (left != 0 || right != 0);
}

// Settings that say nothing here are not looked at: the exporting host's incremental files, folders of render
// elements, and files of binary data beside the text. Transforms are always numbers.
formats::ExportOptions ReadSettings(const KilnExportSettings& settings, double frame) {
  formats::ExportOptions options;
  options.text.binary_lists = settings.hexArraysAndTransforms & 1;
  options.text.compressed = settings.compressed != 0;
  if (settings.currentFrameOnly) {
    options.text.frozen_at = frame;
  } else if (IsInterval(settings.leftInterval, settings.rightInterval)) {
    options.text.frames = {settings.leftInterval, settings.rightInterval};
  }
  if (settings.appendFrameSuffix) {
    options.frame = static_cast<int>(std::clamp<double>(std::floor(frame), INT_MIN, INT_MAX));
  }
  options.header = settings.printHeader != 0;
  options.host = TextOf(settings.hostAppString);
  options.includes = ListOf(settings.additionalIncludeFiles);
  if (settings.pluginExportList && settings.pluginExportListCount) {
    const KilnPluginId* ids = settings.pluginExportList;
    options.plugins.emplace(ids, ids + settings.pluginExportListCount);
  }
  for (uint32_t i = 0; settings.subFileInfos && i < settings.subFileInfosCount; ++i) {
    const KilnSubFileInfo& info = settings.subFileInfos[i];
    options.sub_files.push_back({TextOf(info.type), TextOf(info.suffix)});
  }
  return options;
}

// What a host gets that passes no settings is what it gets that changes none.
constexpr KilnExportSettings DefaultSettings() {
  KilnExportSettings settings{};
  settings.compressed = 1;
  settings.hexArraysAndTransforms = 1;
  settings.printHeader = 1;
  settings.kidataSmallBufferSizeLimit = 128;
  return settings;
}

}  // namespace

extern "C" {

int32_t Kiln_KilnRenderer_exportScene(KilnRendererHandle renderer, const char* file,
                                      const KilnExportSettings* settings) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    const double frame = r.WithSettings([](const Settings& s) { return s.time; });
    const auto options = ReadSettings(settings ? *settings : DefaultSettings(), frame);
    std::string why;
    if (formats::ExportScene(r.scene, file ? file : "", options, &why)) return 0;
    r.events.OnLog(static_cast<int>(LogLevel::kError), "The scene cannot be exported: " + why);
    r.SetError(static_cast<int32_t>(ApiError::kNotWritten));
    return 1;
  });
}

// Whether the scene has a text and there is memory for it; nobody but an export ever needs that text.
int32_t Kiln_KilnRenderer_serializeScene(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 1, [](const Renderer& r) {
    const std::shared_lock lock(r.scene.mutex);
    const formats::SceneCopy copy(r.scene);
    return formats::WriteText(copy).empty() && !copy.instances().empty();
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
