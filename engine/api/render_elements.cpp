// Entry points of render elements: make, find and describe them, and take their pixels.
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <mutex>

#include "engine/api/blocks.h"
#include "engine/api/element_access.h"
#include "engine/api/property_access.h"
#include "engine/image/operations.h"
#include "engine/image/pixel_format.h"

namespace kiln::engine::api {
namespace {

using render::BinaryFormat;
using render::Element;
using render::ElementPixels;
using scene::PluginId;

constexpr int32_t kNotMade = 1;
// What the host asks of an image's colours.
constexpr int32_t kDisplayColors = 1;

const Element* FindElement(int32_t type) {
  return render::FindElement(static_cast<render::ElementType>(type));
}

image::Encoding EncodingOf(BinaryFormat format) {
  if (render::IsColor(format)) return image::Encoding::kColor;
  return format == BinaryFormat::kThreeSignedFloats ? image::Encoding::kSigned : image::Encoding::kLinear;
}

// Puts the luminance of another element where the alpha of these pixels is.
bool ReplaceAlpha(Renderer& renderer, PluginId plugin, const RenderElementRegion* region,
                  ElementPixels* pixels) {
  const auto alpha_plugin = FindElementPlugin(renderer, plugin, -1);
  const auto alpha = alpha_plugin ? ReadPixels(renderer, *alpha_plugin, region) : std::nullopt;
  if (!alpha || alpha->rgba.size() != pixels->rgba.size()) return false;
  for (size_t i = 0; i < alpha->rgba.size(); i += 4) {
    pixels->rgba[i + 3] = Luminance({alpha->rgba[i], alpha->rgba[i + 1], alpha->rgba[i + 2]});
  }
  return true;
}

image::ImagePtr ToImage(const ElementPixels& pixels, bool display) {
  image::ImagePtr image(image::CreateUnfilled(pixels.width, pixels.height));
  if (!image) return nullptr;
  std::copy(pixels.rgba.begin(), pixels.rgba.end(), image->pixels());
  if (display && render::IsColor(pixels.format) && !image::ChangeSrgb(*image, true)) return nullptr;
  return image;
}

std::string_view UnitOf(const Element& element) {
  switch (element.type) {
    case render::ElementType::kZDepth:
    case render::ElementType::kWorldPosition:
      return "m";
    case render::ElementType::kVelocity:
      return "m/frame";
    default:
      return "";
  }
}

std::string Quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < 0x20) {
      out += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
    } else {
      if (c == '"' || c == '\\') out += '\\';
      out += c;
    }
  }
  return out + '"';
}

std::string MetadataOf(const ElementPlugin& plugin) {
  const Element& element = *plugin.element;
  std::string text = fmt::format(R"({{"name":{},"type":"{}","description":{})", Quoted(plugin.name),
                                 element.text, Quoted(element.description));
  if (const std::string_view unit = UnitOf(element); !unit.empty())
    text += fmt::format(R"(,"unit":"{}")", unit);
  return text + '}';
}

}  // namespace

extern "C" {

int32_t Kiln_newRenderElementPlugin(KilnRendererHandle renderer, int32_t type, const char* name,
                                    const char* display_name, KilnPluginId* plugin) {
  return WithRenderer<int32_t>(renderer, kNotMade, [&](Renderer& r) {
    const Element* element = FindElement(type);
    if (!element) return kNotMade;
    PluginId id = scene::kNoPlugin;
    const bool made = ChangeScene(r, true, [&](scene::Scene& scene) {
      const auto wanted = name ? std::optional<std::string_view>(name) : std::nullopt;
      const scene::PluginClass& made_of = *scene::FindClass(element->class_name);
      if (scene.Create(made_of, wanted, &id) != scene::CreateStatus::kOk) return false;
      if (display_name) scene.Set(id, "name", scene::Value(std::string(display_name)));
      return true;
    });
    if (made && plugin) *plugin = id;
    return made ? 0 : kNotMade;
  });
}

// The first one that was made.
KilnPluginId Kiln_getRenderElementPlugin(KilnRendererHandle renderer, int32_t type) {
  return WithRenderer<KilnPluginId>(renderer, KILN_NO_PLUGIN, [&](const Renderer& r) -> PluginId {
    const auto ids = type >= 0 ? ElementPlugins(r, type) : std::vector<PluginId>();
    return ids.empty() ? scene::kNoPlugin : ids.front();
  });
}

KilnPluginId* Kiln_getRenderElementPluginsList(KilnRendererHandle renderer, int32_t type, int32_t* count) {
  if (!count) return nullptr;
  *count = 0;
  return WithRenderer<KilnPluginId*>(renderer, nullptr, [&](const Renderer& r) -> KilnPluginId* {
    const auto ids = ElementPlugins(r, type);
    if (ids.empty()) return nullptr;
    KilnPluginId* block = CopyToBlock(ids);
    *count = static_cast<int32_t>(ids.size());
    return block;
  });
}

int32_t Kiln_getRenderElementInfo(KilnRendererHandle renderer, KilnPluginId plugin, int32_t type,
                                  RenderElementInfo* info) {
  if (!info) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    const auto found = FindElementPlugin(r, plugin, type);
    if (!found) return 0;
    *info = {r.Keep(found->name), static_cast<uint32_t>(found->element->format),
             static_cast<uint32_t>(found->element->type)};
    return 1;
  });
}

// Elements have one layer, number 0.
uint64_t Kiln_getRenderElementData(KilnRendererHandle renderer, KilnPluginId plugin,
                                   KilnPluginId alpha_plugin, int32_t type, int32_t layer,
                                   int32_t pixel_format, int32_t rgb_order, const RenderElementRegion* region,
                                   void** data) {
  if (!data) return 0;
  *data = nullptr;
  const auto format = image::FindPixelFormat(pixel_format);
  if (!format || layer != 0) return 0;
  return WithRenderer<uint64_t>(renderer, 0, [&](Renderer& r) -> uint64_t {
    const auto found = FindElementPlugin(r, plugin, type);
    auto pixels = found ? ReadPixels(r, *found, region) : std::nullopt;
    if (!pixels) return 0;
    const bool has_alpha = alpha_plugin != KILN_NO_PLUGIN && alpha_plugin != 0;
    if (has_alpha && !ReplaceAlpha(r, alpha_plugin, region, &*pixels)) return 0;
    const size_t bytes = pixels->rgba.size() / 4 * format->pixel_bytes();
    auto* block = NewBlock<std::byte>(bytes);
    image::PackPixels(pixels->rgba, *format, {EncodingOf(pixels->format), rgb_order == 0, pixels->integers},
                      block);
    *data = block;
    return bytes;
  });
}

KilnImageHandle Kiln_getRenderElementAsImage(KilnRendererHandle renderer, KilnPluginId plugin, int32_t type,
                                             int32_t layer, const RenderElementRegion* region,
                                             int32_t color_correction) {
  if (layer != 0) return nullptr;
  return WithRenderer<KilnImageHandle>(renderer, nullptr, [&](Renderer& r) -> KilnImageHandle {
    const auto found = FindElementPlugin(r, plugin, type);
    const auto pixels = found ? ReadPixels(r, *found, region) : std::nullopt;
    return pixels ? ToImage(*pixels, color_correction == kDisplayColors).release() : nullptr;
  });
}

// The text lives as long as the renderer, so that giving it back is only to be seen in the slot.
const char* Kiln_getRenderElementMetadata(KilnRendererHandle renderer, KilnPluginId plugin, int32_t type,
                                          uint64_t* slot) {
  if (!slot) return nullptr;
  if (*slot != 0) {
    *slot = 0;
    return nullptr;
  }
  return WithRenderer<const char*>(renderer, nullptr, [&](Renderer& r) -> const char* {
    const auto found = FindElementPlugin(r, plugin, type);
    if (!found) return nullptr;
    *slot = 1;
    return r.Keep(MetadataOf(*found));
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
