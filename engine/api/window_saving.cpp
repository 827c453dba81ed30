// The entry point that saves what the frame-buffer window shows.
#include <algorithm>
#include <climits>
#include <cmath>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "engine/api/element_access.h"
#include "engine/api/registry.h"
#include "engine/window/color_corrections.h"
#include "engine/window/save.h"

namespace kiln::engine::api {
namespace {

using window::Json;
using window::SavedElement;
using window::SaveOptions;
using window::SaveStatus;

// The window's options, with the two that are no affair of the writer's.
struct Options {
  SaveOptions save;
  bool frame_number = false;
  bool correct_colors = false;
};

Options FromRecord(const KvwSaveOptions& record) {
  const auto has = [&](uint32_t flag) { return (record.flags & flag) != 0; };
  Options options;
  SaveOptions& save = options.save;
  save.multiple_files = has(KILN_KVW_MULTIPLE_FILES);
  save.skip_alpha = has(KILN_KVW_SKIP_ALPHA);
  save.no_alpha = has(KILN_KVW_NO_ALPHA);
  save.single_channel = has(KILN_KVW_SINGLE_CHANNEL);
  save.skip_rgb = has(KILN_KVW_SKIP_RGB);
  save.write_integer_ids = has(KILN_KVW_WRITE_INTEGER_IDS);
  save.velocity_zero_based = has(KILN_KVW_VELOCITY_ZERO_BASED);
  save.multi_channel = has(KILN_KVW_MULTI_CHANNEL);
  save.compression = record.compressionType;
  save.bits = record.bitsPerChannel;
  options.frame_number = has(KILN_KVW_FRAME_NUMBER);
  options.correct_colors = has(KILN_KVW_APPLY_COLOR_CORRECTIONS);
  return options;
}

Options FromSettings(const Json& settings) {
  const Json& chosen = settings.at("save");
  const auto has = [&](const char* key) { return chosen.at(key).get<bool>(); };
  Options options;
  SaveOptions& save = options.save;
  save.multiple_files = has("multipleFiles");
  save.skip_alpha = has("skipAlpha");
  save.no_alpha = has("noAlpha");
  save.single_channel = has("singleChannel");
  save.skip_rgb = has("skipRGB");
  save.write_integer_ids = has("writeIntegerIDs");
  save.velocity_zero_based = has("velocityZeroBased");
  save.multi_channel = has("multiChannel");
  save.compression = chosen.at("compressionType").get<int>();
  save.bits = chosen.at("bitsPerChannel").get<int>();
  options.frame_number = has("frameNumber");
  options.correct_colors = has("applyColorCorrections");
  return options;
}

int CurrentFrame(Renderer& renderer) {
  const double time = renderer.WithSettings([](const Settings& settings) { return settings.time; });
  return static_cast<int>(std::clamp<double>(std::floor(time), INT_MIN, INT_MAX));
}

// All elements that the render keeps, or only those of one name.
std::vector<SavedElement> ReadElements(Renderer& renderer, const std::string* name) {
  std::vector<SavedElement> elements;
  for (const scene::PluginId id : ElementPlugins(renderer, -1)) {
    const auto plugin = FindElementPlugin(renderer, id, -1);
    if (!plugin || (name && plugin->name != *name)) continue;
    if (auto pixels = ReadPixels(renderer, *plugin, nullptr)) {
      elements.push_back({plugin->name, plugin->element->type, std::move(*pixels)});
    }
  }
  return elements;
}

// Those elements that are the picture in another form are corrected like it.
bool CorrectElement(const Json& layers, render::ElementPixels* pixels) {
  if (pixels->format != render::BinaryFormat::kFourFloats) return true;
  const image::ImagePtr image(image::CreateUnfilled(pixels->width, pixels->height));
  if (!image) return false;
  std::ranges::copy(pixels->rgba, image->pixels());
  window::ApplyLayers(layers, *image);
  std::copy_n(image->pixels(), pixels->rgba.size(), pixels->rgba.begin());
  return true;
}

bool CorrectColors(const Json& layers, image::Image* picture, std::vector<SavedElement>* elements) {
  window::ApplyLayers(layers, *picture);
  return std::ranges::all_of(*elements,
                             [&](SavedElement& element) { return CorrectElement(layers, &element.pixels); });
}

SaveStatus Save(Renderer& renderer, const std::filesystem::path& file, Options options, std::string* error) {
  const auto film = renderer.Film();
  const window::Shown shown = renderer.window.ShownAfter(film ? film->version() : 0);
  const image::ImagePtr picture = shown.render    ? renderer.Snapshot()
                                  : shown.picture ? image::ImagePtr(image::Clone(*shown.picture))
                                                  : nullptr;
  *error = "There is no picture to save: render one first, or load one.";
  if (!picture) return SaveStatus::kNoPicture;
  const Json settings = renderer.window.settings();
  const auto channel = settings.at("display").at("channel").get<std::string>();
  std::vector<SavedElement> elements;
  if (options.save.single_channel && channel != "color") {
    if (shown.render) elements = ReadElements(renderer, &channel);
    *error = "The render has no element \"" + channel + "\" to save.";
    if (elements.empty()) return SaveStatus::kNoPicture;
  } else if (!options.save.single_channel && shown.render &&
             (options.save.multi_channel || options.save.multiple_files)) {
    elements = ReadElements(renderer, nullptr);
  }
  *error = "There is not enough memory to correct the colours.";
  if (options.correct_colors && !CorrectColors(renderer.window.layers(), picture.get(), &elements)) {
    return SaveStatus::kNotWritten;
  }
  if (options.frame_number) options.save.frame = CurrentFrame(renderer);
  return window::Save(file, *picture, std::move(elements), options.save, error);
}

}  // namespace

extern "C" {

int32_t Kiln_KilnRenderer_saveKvwToFile(KilnRendererHandle renderer, const char* file,
                                        const KvwSaveOptions* options) {
  constexpr auto kNone = static_cast<int32_t>(SaveStatus::kNoRenderer);
  if (!file) return kNone;
  return WithRenderer<int32_t>(renderer, kNone, [&](Renderer& r) {
    const std::filesystem::path path(std::u8string(reinterpret_cast<const char8_t*>(file)));
    std::string error;
    const SaveStatus status =
        Save(r, path, options ? FromRecord(*options) : FromSettings(r.window.settings()), &error);
    if (status != SaveStatus::kSaved) r.events.OnLog(static_cast<int>(LogLevel::kError), error);
    return static_cast<int32_t>(status);
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
