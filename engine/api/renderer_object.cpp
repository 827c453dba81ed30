// A renderer's life, its settings and its errors.
#include "engine/api/renderer_object.h"

#include <algorithm>
#include <cstring>
#include <shared_mutex>
#include <sstream>
#include <utility>

#include "engine/api/blocks.h"
#include "engine/api/value_stream_memory.h"

namespace kiln::engine::api {
namespace {

std::optional<std::string> OptionalText(const char* text) {
  return text ? std::optional<std::string>(text) : std::nullopt;
}

// The first image settings of the scene; under the scene's lock.
const scene::Instance* ImageSettings(const scene::Scene& scene) {
  const scene::PluginClass* type = scene::FindClass("SettingsImage");
  const auto ids = type ? scene.Ids(type) : std::vector<scene::PluginId>();
  return ids.empty() ? nullptr : scene.Find(ids.front());
}

int IntOf(const scene::Value& value, int otherwise) {
  const auto* number = value.As<int32_t>();
  return number ? *number : otherwise;
}

bool IsCamera(const scene::Instance* instance) {
  return instance && (instance->type->categories & CategoryBit(scene::Category::kRenderView));
}

// What the scene's own environment settings name, or its first camera; under the scene's lock.
scene::PluginId SceneCamera(const scene::Scene& scene) {
  if (const scene::PluginClass* type = scene::FindClass("SettingsEnvironment")) {
    for (const scene::PluginId id : scene.Ids(type)) {
      const scene::Value value = scene.Get(id, "camera");
      const auto* reference = value.As<scene::PluginRef>();
      if (reference && IsCamera(scene.Find(reference->id))) return reference->id;
    }
  }
  // IDs rise from instance to instance.
  scene::PluginId first = scene::kNoPlugin;
  for (const scene::PluginClass* type : scene::AllClasses()) {
    if (!(type->categories & CategoryBit(scene::Category::kRenderView))) continue;
    const auto ids = scene.Ids(type);
    if (!ids.empty()) first = std::min(first, ids.front());
  }
  return first;
}

}  // namespace

Renderer::Renderer(const KilnRendererOptions* options)
    : options_(options ? *options
                       : KilnRendererOptions{.pluginLibraryPath = nullptr,
                                             .kvwDrawStyle = 0,
                                             .flags = KILN_RENDERER_DEFAULT_FLAGS,
                                             .reserved = 0,
                                             .kvwLanguage = nullptr}),
      plugin_library_path_(OptionalText(options_.pluginLibraryPath)),
      window_language_(OptionalText(options_.kvwLanguage)) {
  scene.allow_invalid_names = options_.flags & KILN_RENDERER_ALLOW_INVALID_CHARACTERS;
}

Renderer::~Renderer() {
  Close();
  KeepBitmaps(false);
}

KilnRendererOptions* Renderer::CopyOptions() const {
  const size_t path_size = plugin_library_path_ ? plugin_library_path_->size() + 1 : 0;
  const size_t language_size = window_language_ ? window_language_->size() + 1 : 0;
  char* block = NewBlock<char>(sizeof(KilnRendererOptions) + path_size + language_size);
  auto* copy = new (block) KilnRendererOptions(options_);
  char* text = block + sizeof(KilnRendererOptions);
  copy->pluginLibraryPath = path_size ? std::strcpy(text, plugin_library_path_->c_str()) : nullptr;
  copy->kvwLanguage = language_size ? std::strcpy(text + path_size, window_language_->c_str()) : nullptr;
  return copy;
}

ImageSize Renderer::GetImageSize() const {
  ImageSize size;
  {
    const std::lock_guard lock(mutex_);
    size = settings_.size;
  }
  const std::shared_lock lock(scene.mutex);
  if (const scene::Instance* image = ImageSettings(scene)) {
    size.width = IntOf(scene.Get(image->id, "width"), size.width);
    size.height = IntOf(scene.Get(image->id, "height"), size.height);
  }
  return size;
}

void Renderer::SetImageSize(ImageSize size) {
  WithSettings([&](Settings& settings) { settings.size = size; });
  const std::unique_lock lock(scene.mutex);
  if (const scene::Instance* image = ImageSettings(scene)) {
    const scene::PluginId id = image->id;
    scene.Set(id, "width", scene::Value(int32_t{size.width}));
    scene.Set(id, "height", scene::Value(int32_t{size.height}));
  }
}

scene::PluginId Renderer::CurrentCamera() const {
  scene::PluginId by_id;
  std::optional<std::string> by_name;
  {
    const std::lock_guard lock(mutex_);
    by_id = settings_.camera;
    by_name = settings_.camera_name;
  }
  const std::shared_lock lock(scene.mutex);
  if (IsCamera(scene.Find(by_id))) return by_id;
  if (by_name) {
    const scene::Instance* named = scene.FindByName(*by_name);
    if (IsCamera(named)) return named->id;
  }
  return SceneCamera(scene);
}

void Renderer::SetError(int32_t code) {
  const std::lock_guard lock(mutex_);
  error_ = {};
  error_.code = code;
}

LastError Renderer::GetError() const {
  LastError error;
  SessionPtr session;
  {
    const std::lock_guard lock(mutex_);
    error = error_;
    if (!session_error_cleared_) session = session_;
  }
  // A render that was begun without waiting fails later, in its own threads.
  if (error.code == 0 && session) error.code = static_cast<int32_t>(session->last_error());
  return error;
}

void Renderer::ClearError() {
  const std::lock_guard lock(mutex_);
  error_ = {};
  session_error_cleared_ = true;
}

const char* Renderer::Keep(std::string_view text) {
  const std::lock_guard lock(mutex_);
  return kept_texts_.emplace(text).first->c_str();
}

bool Renderer::Report(const formats::LoadResult& result) {
  const LogLevel level = result.ok() ? LogLevel::kWarning : LogLevel::kError;
  std::istringstream lines(result.text);
  for (std::string line; std::getline(lines, line);) events.OnLog(static_cast<int>(level), line);
  if (result.ok()) return true;
  const std::lock_guard lock(mutex_);
  error_ = {static_cast<int32_t>(result.error), result.file, result.line, result.text};
  return false;
}

formats::LoadResult Renderer::Load(scene::Scene& into, const Read& read, const scene::LoadFilter& filter) {
  formats::Loader loader(into, WithSettings([](const Settings& settings) { return settings.include_paths; }));
  read(loader);
  return loader.Commit(filter);
}

formats::LoadError Renderer::ReplaceScene(const Read& read, const scene::LoadFilter& filter) {
  scene::Scene fresh;
  fresh.allow_invalid_names = scene.allow_invalid_names;
  const formats::LoadResult result = Load(fresh, read, filter);
  if (!Report(result)) return result.error;
  {
    const HostReleaseScope releases;
    const std::unique_lock lock(scene.mutex);
    scene.TakeContent(fresh);
  }
  FollowScene();
  return result.error;
}

formats::LoadError Renderer::AppendToScene(const Read& read, const scene::LoadFilter& filter) {
  const formats::LoadResult result = Load(scene, read, filter);
  if (Report(result)) SceneChanged(true);
  return result.error;
}

// What the host set for the scene before means nothing in a new one.
void Renderer::FollowScene() {
  WithSettings([](Settings& settings) {
    settings.camera = scene::kNoPlugin;
    settings.camera_name.reset();
    settings.region.reset();
    settings.crop.reset();
  });
  SceneChanged(true);
}

}  // namespace kiln::engine::api
