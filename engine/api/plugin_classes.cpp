// Entry points of plugin classes. The names and texts of a class table are literals and live as long as the
// library.
#include <string>

#include "engine/api/blocks.h"
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/scene/plugin_class.h"

namespace kiln::engine::api {
namespace {

using scene::PluginClass;

// What the body makes of the class, or the failure when there is no such class or renderer.
template <class R, class F>
R WithClass(KilnRendererHandle renderer, const char* name, R failure, F&& body) noexcept {
  return WithRenderer<R>(renderer, failure, [&](const Renderer&) -> R {
    const PluginClass* type = name ? scene::FindClass(name) : nullptr;
    return type ? static_cast<R>(body(*type)) : failure;
  });
}

bool HasCategory(const PluginClass& type, int32_t category) {
  if (category < 0 || category >= scene::kCategoryCount) return false;
  return (type.categories & CategoryBit(static_cast<scene::Category>(category))) != 0;
}

template <class Keep>
KilnStringVector ClassNames(KilnRendererHandle renderer, Keep&& keep) {
  return WithRenderer<KilnStringVector>(renderer, nullptr, [&](const Renderer&) {
    StringVector names;
    for (const PluginClass* type : scene::AllClasses()) {
      if (keep(*type)) names.emplace_back(type->name);
    }
    return NewStringVector(std::move(names));
  });
}

}  // namespace

extern "C" {

const char* Kiln_KilnRenderer_pluginClassExists(KilnRendererHandle renderer, const char* class_name) {
  return WithClass<const char*>(renderer, class_name, nullptr,
                                [](const PluginClass& type) { return type.name.data(); });
}

int32_t Kiln_KilnRenderer_getPluginClassNamesCount(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](const Renderer&) { return scene::AllClasses().size(); });
}

KilnStringVector Kiln_KilnRenderer_getPluginClassNames(KilnRendererHandle renderer) {
  return ClassNames(renderer, [](const PluginClass&) { return true; });
}

KilnStringVector Kiln_KilnRenderer_getPluginClassNamesByCategory(KilnRendererHandle renderer,
                                                                 int32_t category) {
  if (category < 0 || category >= scene::kCategoryCount) return nullptr;
  return ClassNames(renderer, [&](const PluginClass& type) { return HasCategory(type, category); });
}

int32_t Kiln_KilnRenderer_isPluginClassOfCategory(KilnRendererHandle renderer, const char* class_name,
                                                  int32_t category) {
  return WithClass<int32_t>(renderer, class_name, 0,
                            [&](const PluginClass& type) { return HasCategory(type, category); });
}

uint64_t Kiln_KilnRenderer_getPluginClassCategories(KilnRendererHandle renderer, const char* class_name) {
  return WithClass<uint64_t>(renderer, class_name, 0,
                             [](const PluginClass& type) { return type.categories; });
}

char* Kiln_KilnRenderer_getPluginDescription(KilnRendererHandle renderer, const char* class_name) {
  return WithClass<char*>(renderer, class_name, nullptr,
                          [](const PluginClass& type) { return CopyToBlock(type.description); });
}

const char* Kiln_KilnRenderer_getPluginDeprecation(KilnRendererHandle renderer, const char* class_name) {
  return WithClass<const char*>(renderer, class_name, nullptr, [](const PluginClass& type) {
    return type.deprecation.empty() ? nullptr : type.deprecation.data();
  });
}

int32_t Kiln_KilnRenderer_getPluginGpuSupport(KilnRendererHandle renderer, const char* class_name) {
  return WithClass<int32_t>(renderer, class_name, static_cast<int32_t>(scene::ClassGpuSupport::kNone),
                            [](const PluginClass& type) { return type.gpu; });
}

KilnStringVector Kiln_KilnRenderer_getClassPropertyNames(KilnRendererHandle renderer,
                                                         const char* class_name) {
  return WithClass<KilnStringVector>(renderer, class_name, nullptr, [](const PluginClass& type) {
    StringVector names;
    for (const scene::Property& property : type.properties) names.emplace_back(property.name);
    return NewStringVector(std::move(names));
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
