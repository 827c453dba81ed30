// Entry points that read scenes: from files, texts and memory, one or several, with and without a filter.
#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <shared_mutex>
#include <span>
#include <string>
#include <vector>

#include "engine/api/property_access.h"
#include "engine/formats/loader.h"
#include "engine/utilities/memory.h"

namespace kiln::engine::api {
namespace {

using formats::LoadError;
using formats::LoadResult;
using scene::LoadFilter;
using scene::Scene;

LoadResult NothingGiven(const char* text) {
  return {LoadError::kFileNotFound, {}, 0, text};
}

LoadResult ReadFile(Scene& scene, const char* file, const LoadFilter& filter) {
  return file ? formats::LoadFile(scene, file, filter) : NothingGiven("no scene file was named");
}

LoadResult ReadText(Scene& scene, const char* text, const LoadFilter& filter) {
  return text ? formats::LoadText(scene, text, {}, filter) : NothingGiven("no scene text was given");
}

LoadResult ReadBuffer(Scene& scene, const KilnSceneBuffer& buffer, const LoadFilter& filter) {
  if (!buffer.data && buffer.size) return NothingGiven("no scene data was given");
  return formats::LoadBuffer(scene, std::span(static_cast<const std::byte*>(buffer.data), buffer.size),
                             filter);
}

// The host's filter: null leaves an instance out, the second argument keeps it, a text of the shared memory
// renames it.
LoadFilter MakeFilter(KilnFilterFunction function, void* user) {
  if (!function) return {};
  return [=](std::string_view class_name, std::string_view name) -> std::optional<std::string> {
    const std::string first(class_name);
    const std::string second(name);
    const char* answer = function(first.c_str(), second.c_str(), user);
    if (!answer) return std::nullopt;
    if (answer == second.c_str()) return second;
    const std::unique_ptr<char, decltype(&FreeShared)> owned(const_cast<char*>(answer), &FreeShared);
    return std::string(answer);
  };
}

// Gives the host's memory back when the reading is over, however it went.
class BufferLease {
 public:
  BufferLease(const KilnSceneBuffer* buffers, int32_t count)
      : buffers_(buffers, buffers && count > 0 ? static_cast<size_t>(count) : 0) {}
  ~BufferLease() {
    for (const KilnSceneBuffer& buffer : buffers_) {
      if (buffer.release) buffer.release(const_cast<void*>(buffer.data), buffer.size, buffer.user);
    }
  }
  BufferLease(const BufferLease&) = delete;
  BufferLease& operator=(const BufferLease&) = delete;

 private:
  std::span<const KilnSceneBuffer> buffers_;
};

std::vector<scene::PluginId> SortedIds(const Scene& scene) {
  const std::shared_lock lock(scene.mutex);
  std::vector<scene::PluginId> ids = scene.Ids();
  std::sort(ids.begin(), ids.end());
  return ids;
}

// Reads all, or nothing: what the earlier ones have added goes again when a later one fails.
template <class Item, class Read>
LoadResult ReadAll(Scene& scene, const Item* items, int32_t count, Read&& read) {
  if (!items || count <= 0) return NothingGiven("no scene was given");
  std::vector<scene::PluginId> added;
  LoadResult result;
  for (int32_t i = 0; i < count && result.ok(); ++i) {
    const auto before = count > 1 ? SortedIds(scene) : std::vector<scene::PluginId>();
    result = read(scene, items[i]);
    if (count == 1 || !result.ok()) continue;
    const auto after = SortedIds(scene);
    std::set_difference(after.begin(), after.end(), before.begin(), before.end(), std::back_inserter(added));
  }
  if (!result.ok() && !added.empty()) {
    const std::unique_lock lock(scene.mutex);
    for (const scene::PluginId id : added) scene.Delete(id);
  }
  return result;
}

int32_t Replace(KilnRendererHandle renderer, const std::function<LoadResult(Scene&)>& read) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) { return !r.ReplaceScene(read); });
}

int32_t Append(KilnRendererHandle renderer, const std::function<LoadResult(Scene&)>& read) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) { return !r.AppendToScene(read); });
}

template <class Item, class Read>
int32_t AppendAll(KilnRendererHandle renderer, const Item* items, int32_t count, const LoadFilter& filter,
                  Read&& read) {
  return Append(renderer, [&](Scene& scene) {
    return ReadAll(scene, items, count, [&](Scene& s, const Item& item) { return read(s, item, filter); });
  });
}

}  // namespace

extern "C" {

int32_t Kiln_KilnRenderer_load(KilnRendererHandle renderer, const char* file) {
  return Kiln_KilnRenderer_loadFiltered(renderer, file, nullptr, nullptr);
}

int32_t Kiln_KilnRenderer_loadFiltered(KilnRendererHandle renderer, const char* file,
                                       KilnFilterFunction filter, void* user) {
  return Replace(renderer, [&](Scene& scene) { return ReadFile(scene, file, MakeFilter(filter, user)); });
}

int32_t Kiln_KilnRenderer_loadAsText(KilnRendererHandle renderer, const char* text) {
  return Kiln_KilnRenderer_loadAsTextFiltered(renderer, text, nullptr, nullptr);
}

int32_t Kiln_KilnRenderer_loadAsTextFiltered(KilnRendererHandle renderer, const char* text,
                                             KilnFilterFunction filter, void* user) {
  return Replace(renderer, [&](Scene& scene) { return ReadText(scene, text, MakeFilter(filter, user)); });
}

int32_t Kiln_KilnRenderer_loadAsBuffer(KilnRendererHandle renderer, const KilnSceneBuffer* buffer) {
  const BufferLease lease(buffer, 1);
  return Replace(renderer, [&](Scene& scene) {
    return buffer ? ReadBuffer(scene, *buffer, {}) : NothingGiven("no scene data was given");
  });
}

int32_t Kiln_KilnRenderer_append(KilnRendererHandle renderer, const char* file) {
  return Kiln_KilnRenderer_appendMulti(renderer, &file, 1, 0);
}

int32_t Kiln_KilnRenderer_appendFiltered(KilnRendererHandle renderer, const char* file,
                                         KilnFilterFunction filter, void* user) {
  return Kiln_KilnRenderer_appendMultiFiltered(renderer, &file, 1, filter, user);
}

int32_t Kiln_KilnRenderer_appendAsText(KilnRendererHandle renderer, const char* text) {
  return Kiln_KilnRenderer_appendMultiAsText(renderer, &text, 1);
}

int32_t Kiln_KilnRenderer_appendAsTextFiltered(KilnRendererHandle renderer, const char* text,
                                               KilnFilterFunction filter, void* user) {
  return Kiln_KilnRenderer_appendMultiAsTextFiltered(renderer, &text, 1, filter, user);
}

// The flag is for hosts of other libraries; here all ways of appending are one.
int32_t Kiln_KilnRenderer_appendMulti(KilnRendererHandle renderer, const char* const* files, int32_t count,
                                      int32_t /*flag*/) {
  return Kiln_KilnRenderer_appendMultiFiltered(renderer, files, count, nullptr, nullptr);
}

int32_t Kiln_KilnRenderer_appendMultiAsText(KilnRendererHandle renderer, const char* const* texts,
                                            int32_t count) {
  return Kiln_KilnRenderer_appendMultiAsTextFiltered(renderer, texts, count, nullptr, nullptr);
}

int32_t Kiln_KilnRenderer_appendMultiFiltered(KilnRendererHandle renderer, const char* const* files,
                                              int32_t count, KilnFilterFunction filter, void* user) {
  return Guarded<int32_t>(
      1, [&] { return AppendAll(renderer, files, count, MakeFilter(filter, user), ReadFile); });
}

int32_t Kiln_KilnRenderer_appendMultiAsTextFiltered(KilnRendererHandle renderer, const char* const* texts,
                                                    int32_t count, KilnFilterFunction filter, void* user) {
  return Guarded<int32_t>(
      1, [&] { return AppendAll(renderer, texts, count, MakeFilter(filter, user), ReadText); });
}

int32_t Kiln_KilnRenderer_appendMultiAsBuffer(KilnRendererHandle renderer, const KilnSceneBuffer* buffers,
                                              int32_t count) {
  return Kiln_KilnRenderer_appendMultiAsBufferFiltered(renderer, buffers, count, nullptr, nullptr);
}

int32_t Kiln_KilnRenderer_appendMultiAsBufferFiltered(KilnRendererHandle renderer,
                                                      const KilnSceneBuffer* buffers, int32_t count,
                                                      KilnFilterFunction filter, void* user) {
  const BufferLease lease(buffers, count);
  return Guarded<int32_t>(
      1, [&] { return AppendAll(renderer, buffers, count, MakeFilter(filter, user), ReadBuffer); });
}

int32_t Kiln_KilnRenderer_clearScene(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 1, [](Renderer& r) {
    return ChangeScene(r, true, [](Scene& scene) {
      scene.Clear();
      return 0;
    });
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
