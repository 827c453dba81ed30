// Entry points of plugin instances: make, find, count, rename, replace and delete.
#include <algorithm>
#include <shared_mutex>
#include <vector>

#include "engine/api/blocks.h"
#include "engine/api/property_access.h"

namespace kiln::engine::api {
namespace {

using scene::Instance;
using scene::PluginId;

// What newPlugin answers.
constexpr int32_t kOtherFailure = -1;
constexpr int32_t kDuplicateName = -2;
constexpr int32_t kInvalidName = -3;

int32_t CreateResult(scene::CreateStatus status) {
  switch (status) {
    case scene::CreateStatus::kOk:
      return 0;
    case scene::CreateStatus::kDuplicateName:
      return kDuplicateName;
    case scene::CreateStatus::kInvalidName:
      return kInvalidName;
    case scene::CreateStatus::kUnknownClass:
      break;
  }
  return kOtherFailure;
}

PluginId IdOf(const Renderer& renderer, const char* name) {
  const std::shared_lock lock(renderer.scene.mutex);
  const Instance* instance = name ? renderer.scene.FindByName(name) : nullptr;
  return instance ? instance->id : scene::kNoPlugin;
}

// 0 when the change answers true.
template <class F>
int32_t Edit(KilnRendererHandle renderer, int32_t auto_commit, F&& change) {
  return WithRenderer<int32_t>(
      renderer, -1, [&](Renderer& r) { return ChangeScene(r, auto_commit != 0, change) ? 0 : -1; });
}

bool DeleteAll(scene::Scene& scene, std::vector<PluginId> ids) {
  std::sort(ids.begin(), ids.end());
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  const bool all_there = std::all_of(ids.begin(), ids.end(), [&](PluginId id) { return scene.Find(id); });
  if (!all_there) return false;
  for (const PluginId id : ids) scene.Delete(id);
  return true;
}

// The text of a class table, which is a literal.
const char* ClassNameOf(const Renderer& renderer, PluginId id) {
  const std::shared_lock lock(renderer.scene.mutex);
  const Instance* instance = renderer.scene.Find(id);
  return instance ? instance->type->name.data() : nullptr;
}

}  // namespace

extern "C" {

int32_t Kiln_KilnRenderer_newPlugin(KilnRendererHandle renderer, const char* name, const char* class_name,
                                    int32_t auto_commit, KilnPluginId* plugin) {
  return WithRenderer<int32_t>(renderer, kOtherFailure, [&](Renderer& r) {
    const scene::PluginClass* type = class_name ? scene::FindClass(class_name) : nullptr;
    if (!type) return kOtherFailure;
    PluginId id = scene::kNoPlugin;
    int32_t result;
    {
      const std::unique_lock lock(r.scene.mutex);
      const auto wanted = name ? std::optional<std::string_view>(name) : std::nullopt;
      result = CreateResult(r.scene.Create(*type, wanted, &id));
    }
    if (result != 0) return result;
    if (plugin) *plugin = id;
    r.SceneChanged(auto_commit != 0);
    return 0;
  });
}

int32_t Kiln_KilnRenderer_deletePlugin(KilnRendererHandle renderer, const char* plugin, int32_t auto_commit) {
  return WithRenderer<int32_t>(renderer, -1, [&](const Renderer& r) {
    return Kiln_KilnRenderer_deletePluginByID(renderer, IdOf(r, plugin), auto_commit);
  });
}

int32_t Kiln_KilnRenderer_deletePluginByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                           int32_t auto_commit) {
  return Edit(renderer, auto_commit, [&](scene::Scene& scene) { return scene.Delete(plugin); });
}

// All of them or, when one is not in the scene, none.
int32_t Kiln_KilnRenderer_deletePluginsByID(KilnRendererHandle renderer, const KilnPluginId* plugins,
                                            int32_t count, int32_t auto_commit) {
  if (count < 0 || (count > 0 && !plugins)) return -1;
  return Edit(renderer, auto_commit, [&](scene::Scene& scene) {
    return DeleteAll(scene, std::vector<PluginId>(plugins, plugins + count));
  });
}

int32_t Kiln_KilnRenderer_replacePluginByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                            KilnPluginId target, int32_t auto_commit) {
  return Edit(renderer, auto_commit, [&](scene::Scene& scene) { return scene.Replace(plugin, target); });
}

int32_t Kiln_KilnRenderer_renamePlugin(KilnRendererHandle renderer, const char* plugin, const char* name) {
  return WithRenderer<int32_t>(renderer, -1, [&](const Renderer& r) {
    return Kiln_KilnRenderer_renamePluginByID(renderer, IdOf(r, plugin), name);
  });
}

// A name is nothing that a render sees, so there is nothing to commit.
int32_t Kiln_KilnRenderer_renamePluginByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                           const char* name) {
  return WithRenderer<int32_t>(renderer, -1, [&](Renderer& r) {
    const std::unique_lock lock(r.scene.mutex);
    return name && r.scene.Rename(plugin, name) ? 0 : -1;
  });
}

int32_t Kiln_KilnRenderer_pluginExistsByID(KilnRendererHandle renderer, KilnPluginId plugin) {
  return WithRenderer<int32_t>(renderer, 0, [&](const Renderer& r) {
    const std::shared_lock lock(r.scene.mutex);
    return r.scene.Find(plugin) != nullptr;
  });
}

KilnPluginId Kiln_KilnRenderer_getPluginID(KilnRendererHandle renderer, const char* name) {
  return WithRenderer<KilnPluginId>(renderer, KILN_NO_PLUGIN,
                                    [&](const Renderer& r) { return IdOf(r, name); });
}

const char* Kiln_KilnRenderer_getPluginName(KilnRendererHandle renderer, KilnPluginId plugin) {
  return WithRenderer<const char*>(renderer, nullptr, [&](Renderer& r) -> const char* {
    const std::shared_lock lock(r.scene.mutex);
    const Instance* instance = r.scene.Find(plugin);
    return instance ? r.Keep(instance->name) : nullptr;
  });
}

const char* Kiln_KilnRenderer_getPluginType(KilnRendererHandle renderer, const char* plugin) {
  return WithRenderer<const char*>(renderer, nullptr,
                                   [&](const Renderer& r) { return ClassNameOf(r, IdOf(r, plugin)); });
}

const char* Kiln_KilnRenderer_getPluginTypeByID(KilnRendererHandle renderer, KilnPluginId plugin) {
  return WithRenderer<const char*>(renderer, nullptr,
                                   [&](const Renderer& r) { return ClassNameOf(r, plugin); });
}

KilnStringVector Kiln_KilnRenderer_getPluginNames(KilnRendererHandle renderer) {
  return WithRenderer<KilnStringVector>(renderer, nullptr, [](const Renderer& r) {
    const std::shared_lock lock(r.scene.mutex);
    StringVector names;
    names.reserve(r.scene.Count());
    for (const PluginId id : r.scene.Ids()) names.push_back(r.scene.Find(id)->name);
    return NewStringVector(std::move(names));
  });
}

// A null class name means all classes.
int32_t Kiln_KilnRenderer_getPluginsCountOfType(KilnRendererHandle renderer, const char* class_name) {
  return WithRenderer<int32_t>(renderer, 0, [&](const Renderer& r) -> size_t {
    const scene::PluginClass* type = class_name ? scene::FindClass(class_name) : nullptr;
    if (class_name && !type) return 0;
    const std::shared_lock lock(r.scene.mutex);
    return r.scene.Count(type);
  });
}

KilnPluginId* Kiln_KilnRenderer_getPluginIDsOfType(KilnRendererHandle renderer, const char* class_name,
                                                   int32_t* count) {
  if (!count) return nullptr;
  *count = 0;
  return WithRenderer<KilnPluginId*>(renderer, nullptr, [&](const Renderer& r) -> KilnPluginId* {
    const scene::PluginClass* type = class_name ? scene::FindClass(class_name) : nullptr;
    if (class_name && !type) return nullptr;
    std::vector<PluginId> ids;
    {
      const std::shared_lock lock(r.scene.mutex);
      ids = r.scene.Ids(type);
    }
    KilnPluginId* block = CopyToBlock(ids);
    *count = static_cast<int32_t>(ids.size());
    return block;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
