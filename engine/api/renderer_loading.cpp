// Entry points that read scenes: from files, texts and memory, one or several, with and without a filter.
#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "engine/api/property_access.h"
#include "engine/formats/loader.h"
#include "engine/utilities/memory.h"

namespace kiln::engine::api {
namespace {

using formats::Loader;
using formats::LoadError;
using scene::LoadFilter;

// Code 0 is success; a filter's bad names have the codes of newPlugin for such names.
int32_t Answer(LoadError error) {
  switch (error) {
    case LoadError::kNone:
      return 0;
    case LoadError::kDuplicateName:
      return -2;
    case LoadError::kInvalidName:
      return -3;
    default:
      return 1;
  }
}

void ReadFile(Loader& loader, const char* file) {
  if (!file) return loader.Refuse("no scene file was named");
  loader.AddFile(file);
}

void ReadText(Loader& loader, const char* text) {
  if (!text) return loader.Refuse("no scene text was given");
  loader.AddText(text);
}

void ReadBuffer(Loader& loader, const KilnSceneBuffer& buffer) {
  if (!buffer.data && buffer.size) return loader.Refuse("no scene data was given");
  loader.AddBuffer(std::span(static_cast<const std::byte*>(buffer.data), buffer.size));
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

int32_t Replace(KilnRendererHandle renderer, const Renderer::Read& read, KilnFilterFunction filter = nullptr,
                void* user = nullptr) {
  return WithRenderer<int32_t>(
      renderer, 1, [&](Renderer& r) { return Answer(r.ReplaceScene(read, MakeFilter(filter, user))); });
}

// All items in one step, or none: no item at all is a failure.
template <class Item, class Read>
int32_t Append(KilnRendererHandle renderer, const Item* items, int32_t count, Read&& read,
               KilnFilterFunction filter, void* user) {
  const auto read_all = [&](Loader& loader) {
    if (!items || count <= 0) loader.Refuse("no scene was given");
    for (int32_t i = 0; i < count && items; ++i) read(loader, items[i]);
  };
  return WithRenderer<int32_t>(
      renderer, 1, [&](Renderer& r) { return Answer(r.AppendToScene(read_all, MakeFilter(filter, user))); });
}

}  // namespace

extern "C" {

int32_t Kiln_KilnRenderer_load(KilnRendererHandle renderer, const char* file) {
  return Kiln_KilnRenderer_loadFiltered(renderer, file, nullptr, nullptr);
}

int32_t Kiln_KilnRenderer_loadFiltered(KilnRendererHandle renderer, const char* file,
                                       KilnFilterFunction filter, void* user) {
  return Replace(
      renderer, [&](Loader& loader) { ReadFile(loader, file); }, filter, user);
}

int32_t Kiln_KilnRenderer_loadAsText(KilnRendererHandle renderer, const char* text) {
  return Kiln_KilnRenderer_loadAsTextFiltered(renderer, text, nullptr, nullptr);
}

int32_t Kiln_KilnRenderer_loadAsTextFiltered(KilnRendererHandle renderer, const char* text,
                                             KilnFilterFunction filter, void* user) {
  return Replace(
      renderer, [&](Loader& loader) { ReadText(loader, text); }, filter, user);
}

int32_t Kiln_KilnRenderer_loadAsBuffer(KilnRendererHandle renderer, const KilnSceneBuffer* buffer) {
  const BufferLease lease(buffer, 1);
  return Replace(renderer, [&](Loader& loader) {
    if (!buffer) return loader.Refuse("no scene data was given");
    ReadBuffer(loader, *buffer);
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

// The flag selects nothing: there is one way of appending.
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
  return Append(renderer, files, count, ReadFile, filter, user);
}

int32_t Kiln_KilnRenderer_appendMultiAsTextFiltered(KilnRendererHandle renderer, const char* const* texts,
                                                    int32_t count, KilnFilterFunction filter, void* user) {
  return Append(renderer, texts, count, ReadText, filter, user);
}

int32_t Kiln_KilnRenderer_appendMultiAsBuffer(KilnRendererHandle renderer, const KilnSceneBuffer* buffers,
                                              int32_t count) {
  return Kiln_KilnRenderer_appendMultiAsBufferFiltered(renderer, buffers, count, nullptr, nullptr);
}

int32_t Kiln_KilnRenderer_appendMultiAsBufferFiltered(KilnRendererHandle renderer,
                                                      const KilnSceneBuffer* buffers, int32_t count,
                                                      KilnFilterFunction filter, void* user) {
  const BufferLease lease(buffers, count);
  return Append(renderer, buffers, count, ReadBuffer, filter, user);
}

int32_t Kiln_KilnRenderer_clearScene(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 1, [](Renderer& r) {
    return ChangeScene(r, true, [](scene::Scene& scene) {
      scene.Clear();
      return 0;
    });
  });
}

// The paths stand in place of those set before, or with a flag of 0 behind them.
int32_t Kiln_KilnRenderer_setIncludePaths(KilnRendererHandle renderer, const char* paths, int32_t flag) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    std::vector<std::filesystem::path> folders;
    std::istringstream list(paths ? paths : "");
    for (std::string folder; std::getline(list, folder, ';');) {
      if (!folder.empty()) folders.push_back(std::filesystem::absolute(folder));
    }
    r.WithSettings([&](Settings& settings) {
      if (flag) settings.include_paths.clear();
      settings.include_paths.insert(settings.include_paths.end(), folders.begin(), folders.end());
    });
    return 1;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
