// From plugins to elements, and from regions to pixels.
#include "engine/api/element_access.h"

#include <algorithm>
#include <shared_mutex>

namespace kiln::engine::api {
namespace {

template <class T>
T ValueOf(const scene::Scene& scene, const scene::Instance& instance, std::string_view name, T otherwise) {
  const scene::Property* property = instance.type->FindProperty(name);
  if (!property) return otherwise;
  const scene::Value value = scene.Get(instance, *property);
  const T* held = value.As<T>();
  return held ? *held : otherwise;
}

std::optional<render::Bucket> PartOf(const render::Film& film, const RenderElementRegion* region) {
  const int width = film.width();
  const int height = film.height();
  const RenderElementRegion r = region ? *region : RenderElementRegion{};
  if (r.x0 == 0 && r.y0 == 0 && r.x1 == 0 && r.y1 == 0) return render::Bucket{0, 0, width, height};
  if (r.x0 < 0 || r.y0 < 0 || r.x1 <= r.x0 || r.y1 <= r.y0 || r.x1 > width || r.y1 > height) {
    return std::nullopt;
  }
  return render::Bucket{r.x0, r.y0, r.x1 - r.x0, r.y1 - r.y0};
}

// Distances between two that the plugin names, from 0 to 1.
void Normalise(const ElementPlugin& plugin, render::ElementPixels* pixels) {
  if (!(plugin.far > plugin.near)) return;
  for (size_t i = 0; i < pixels->rgba.size(); ++i) {
    float& v = pixels->rgba[i];
    if (i % 4 != 3) v = std::clamp((v - plugin.near) / (plugin.far - plugin.near), 0.0f, 1.0f);
  }
}

}  // namespace

const render::Element* ElementOf(const scene::Instance& instance) {
  return render::FindElement(static_cast<render::ElementType>(instance.type->element));
}

std::optional<ElementPlugin> FindElementPlugin(const Renderer& renderer, scene::PluginId id, int32_t type) {
  const std::shared_lock lock(renderer.scene.mutex);
  const scene::Instance* instance = renderer.scene.Find(id);
  const render::Element* element = instance ? ElementOf(*instance) : nullptr;
  if (!element || (type >= 0 && instance->type->element != type)) return std::nullopt;
  ElementPlugin plugin;
  plugin.id = id;
  plugin.element = element;
  plugin.name = ValueOf(renderer.scene, *instance, "name", std::string());
  if (plugin.name.empty()) plugin.name = element->text;
  plugin.near = ValueOf(renderer.scene, *instance, "near", 0.0f);
  plugin.far = ValueOf(renderer.scene, *instance, "far", 0.0f);
  plugin.strength = ValueOf(renderer.scene, *instance, "strength", 1.0f);
  plugin.enabled = ValueOf(renderer.scene, *instance, "enabled", true);
  return plugin;
}

std::vector<scene::PluginId> ElementPlugins(const Renderer& renderer, int32_t type) {
  const std::shared_lock lock(renderer.scene.mutex);
  std::vector<scene::PluginId> ids;
  for (const render::Element& element : render::AllElements()) {
    if (type >= 0 && type != static_cast<int32_t>(element.type)) continue;
    const auto of_class = renderer.scene.Ids(scene::FindClass(element.class_name));
    ids.insert(ids.end(), of_class.begin(), of_class.end());
  }
  std::ranges::sort(ids);
  return ids;
}

std::optional<render::ElementPixels> ReadPixels(Renderer& renderer, const ElementPlugin& plugin,
                                                const RenderElementRegion* region) {
  const std::shared_ptr<const render::Film> film = renderer.Film();
  if (!film || !plugin.enabled) return std::nullopt;
  const auto part = PartOf(*film, region);
  if (!part) return std::nullopt;
  auto pixels = render::ReadElement(*film, *plugin.element, *part);
  if (!pixels) return std::nullopt;
  if (plugin.element->type == render::ElementType::kZDepth) Normalise(plugin, &*pixels);
  if (plugin.element->type == render::ElementType::kDenoised) {
    if (!renderer.denoiser.Read(film, plugin.strength, *part, pixels->rgba.data())) return std::nullopt;
  }
  return pixels;
}

}  // namespace kiln::engine::api
