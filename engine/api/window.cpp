// Entry points of the frame-buffer window: its state, its documents and what it shows.
#include "engine/window/window.h"

#include "engine/api/blocks.h"
#include "engine/api/property_access.h"

namespace kiln::engine::api {
namespace {

using window::Json;
using window::StateKind;
using window::Window;

constexpr char kSettingsClass[] = "SettingsKVW";

std::filesystem::path PathOf(const char* file) {
  return std::u8string(reinterpret_cast<const char8_t*>(file));
}

// What the body makes of the window and the text, or 0; a null text is refused.
template <class F>
int32_t WithText(KilnRendererHandle renderer, const char* text, F&& body) noexcept {
  if (!text) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) -> int32_t { return body(r); });
}

int32_t SetWindow(KilnRendererHandle renderer, const char* section, const char* key, Json value) {
  return WithRenderer<int32_t>(
      renderer, 0, [&](Renderer& r) -> int32_t { return r.window.Set(section, key, std::move(value)); });
}

int32_t GetFlag(KilnRendererHandle renderer, const char* key) {
  return WithRenderer<int32_t>(renderer, 0,
                               [&](Renderer& r) -> int32_t { return r.window.Get<bool>("window", key); });
}

uint64_t GetState(KilnRendererHandle renderer, void** state, StateKind kind) {
  if (!state) return 0;
  *state = nullptr;
  return WithRenderer<uint64_t>(renderer, 0, [&](Renderer& r) -> uint64_t {
    const std::vector<std::byte> bytes = r.window.State(kind);
    *state = CopyToBlock(bytes);
    return bytes.size();
  });
}

int32_t SetState(KilnRendererHandle renderer, const void* state, uint64_t size, StateKind kind) {
  if (!state) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) -> int32_t {
    return r.window.SetState(kind, {static_cast<const std::byte*>(state), static_cast<size_t>(size)});
  });
}

bool IsBlobKind(int32_t kind) {
  return kind == static_cast<int32_t>(StateKind::kMain) || kind == static_cast<int32_t>(StateKind::kHistory);
}

// A slot that is set asks to give the text back, which the window keeps anyway until it is asked again.
template <class F>
const char* GetDocument(KilnRendererHandle renderer, uint64_t* slot, F&& text) {
  if (!slot) return nullptr;
  if (*slot != 0) {
    *slot = 0;
    return nullptr;
  }
  return WithRenderer<const char*>(renderer, nullptr, [&](Renderer& r) {
    const char* document = text(r.window);
    *slot = 1;
    return document;
  });
}

// The first one of the scene; under the scene's lock.
scene::PluginId SceneSettings(const scene::Scene& scene) {
  const auto ids = scene.Ids(scene::FindClass(kSettingsClass));
  return ids.empty() ? scene::kNoPlugin : ids.front();
}

// A document of the scene; one that is empty changes nothing. False for a text that is no document.
bool ReadSceneDocument(const scene::Value& value, std::optional<Json>* document) {
  const auto* text = value.As<std::string>();
  if (!text || text->empty()) return true;
  *document = window::ParseDocument(*text);
  return document->has_value();
}

uint64_t RenderNumber(const Renderer& renderer) {
  const auto film = renderer.Film();
  return film ? film->version() : 0;
}

}  // namespace

extern "C" {

// Without a screen there is no window to allow or forbid.
void Kiln_enableFrameBuffer(int32_t) {}

int32_t Kiln_KilnRenderer_showFrameBuffer(KilnRendererHandle renderer, int32_t show, int32_t) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer&) -> int32_t { return show == 0; });
}

int32_t Kiln_KilnRenderer_isFrameBufferShown(KilnRendererHandle) {
  return 0;
}

int32_t Kiln_KilnRenderer_enableKVWInteractivity(KilnRendererHandle renderer, int32_t enable) {
  return SetWindow(renderer, "window", "interactivity", enable != 0);
}

int32_t Kiln_KilnRenderer_isKVWInteractivityEnabled(KilnRendererHandle renderer) {
  return GetFlag(renderer, "interactivity");
}

int32_t Kiln_KilnRenderer_enableKVWConfirmation(KilnRendererHandle renderer, int32_t enable) {
  return SetWindow(renderer, "window", "confirmClearImage", enable != 0);
}

int32_t Kiln_KilnRenderer_isKVWConfirmationEnabled(KilnRendererHandle renderer) {
  return GetFlag(renderer, "confirmClearImage");
}

int32_t Kiln_KilnRenderer_setKvwPositionAndSize(KilnRendererHandle renderer, const KvwRect* rect) {
  if (!rect) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) -> int32_t {
    return r.window.SetRectangle({rect->x, rect->y, rect->width, rect->height});
  });
}

int32_t Kiln_KilnRenderer_getKvwPositionAndSize(KilnRendererHandle renderer, KvwRect* rect) {
  if (!rect) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) {
    const window::Rectangle area = r.window.rectangle();
    *rect = {area.x, area.y, area.width, area.height};
    return 1;
  });
}

int32_t Kiln_KilnRenderer_setKvwAlwaysOnTop(KilnRendererHandle renderer, int32_t on_top) {
  return SetWindow(renderer, "window", "alwaysOnTop", on_top != 0);
}

uint64_t Kiln_KilnRenderer_getKvwState(KilnRendererHandle renderer, void** state, int32_t kind) {
  if (state) *state = nullptr;
  return IsBlobKind(kind) ? GetState(renderer, state, static_cast<StateKind>(kind)) : 0;
}

int32_t Kiln_KilnRenderer_setKvwState(KilnRendererHandle renderer, const void* state, uint64_t size,
                                      int32_t kind) {
  return IsBlobKind(kind) ? SetState(renderer, state, size, static_cast<StateKind>(kind)) : 0;
}

int32_t Kiln_KilnRenderer_resetKvwState(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](Renderer& r) {
    r.window.Reset();
    return 1;
  });
}

uint64_t Kiln_KilnRenderer_getKvwPersistentState(KilnRendererHandle renderer, void** state) {
  return GetState(renderer, state, StateKind::kPersistent);
}

int32_t Kiln_KilnRenderer_setKvwPersistentState(KilnRendererHandle renderer, const void* state,
                                                uint64_t size) {
  return SetState(renderer, state, size, StateKind::kPersistent);
}

const char* Kiln_KilnRenderer_getKvwSettings(KilnRendererHandle renderer, uint64_t* slot) {
  return GetDocument(renderer, slot, [](Window& window) { return window.SettingsText(); });
}

int32_t Kiln_KilnRenderer_setKvwSettings(KilnRendererHandle renderer, const char* json) {
  return WithText(renderer, json, [&](Renderer& r) { return r.window.SetSettings(json); }) == 0;
}

const char* Kiln_KilnRenderer_getKvwLayers(KilnRendererHandle renderer, uint64_t* slot) {
  return GetDocument(renderer, slot, [](Window& window) { return window.LayersText(); });
}

int32_t Kiln_KilnRenderer_setKvwLayers(KilnRendererHandle renderer, const char* json) {
  return WithText(renderer, json, [&](Renderer& r) { return r.window.SetLayers(json); }) == 0;
}

int32_t Kiln_KilnRenderer_loadKvwColorCorrectionsPreset(KilnRendererHandle renderer, const char* file) {
  return WithText(renderer, file, [&](Renderer& r) { return r.window.LoadPreset(PathOf(file)); });
}

int32_t Kiln_KilnRenderer_saveKvwColorCorrectionsPreset(KilnRendererHandle renderer, const char* file) {
  return WithText(renderer, file, [&](Renderer& r) { return r.window.SavePreset(PathOf(file)); });
}

int32_t Kiln_KilnRenderer_setKvwTitlePrefix(KilnRendererHandle renderer, const char* prefix) {
  return WithText(renderer, prefix, [&](Renderer& r) { return r.window.Set("title", "prefix", prefix); });
}

int32_t Kiln_KilnRenderer_setKvwProjectPath(KilnRendererHandle renderer, const char* path) {
  return WithText(renderer, path, [&](Renderer& r) { return r.window.Set("title", "projectPath", path); });
}

int32_t Kiln_KilnRenderer_enableKvwProgressBar(KilnRendererHandle renderer, int32_t enable) {
  return SetWindow(renderer, "progress", "enabled", enable != 0);
}

int32_t Kiln_KilnRenderer_setKvwProgressText(KilnRendererHandle renderer, const char* text) {
  return WithText(renderer, text, [&](Renderer& r) { return r.window.SetProgress(text, std::nullopt); });
}

int32_t Kiln_KilnRenderer_setKvwProgressValue(KilnRendererHandle renderer, float value) {
  return WithRenderer<int32_t>(
      renderer, 0, [&](Renderer& r) -> int32_t { return r.window.SetProgress(std::nullopt, value); });
}

int32_t Kiln_KilnRenderer_setKvwProgressTextAndValue(KilnRendererHandle renderer, const char* text,
                                                     float value) {
  return WithText(renderer, text, [&](Renderer& r) { return r.window.SetProgress(text, value); });
}

int32_t Kiln_KilnRenderer_setKvwContextMenuItems(KilnRendererHandle renderer,
                                                 const KilnContextMenuItem* items, int32_t count) {
  if (count < 0 || (count > 0 && !items)) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) -> int32_t {
    std::vector<window::MenuItem> menu;
    for (int32_t i = 0; i < count; ++i) {
      const KilnContextMenuItem& item = items[i];
      menu.push_back({item.id, item.type, item.defaultValue, item.enabled != 0, item.text ? item.text : ""});
    }
    return r.window.SetMenu(std::move(menu));
  });
}

int32_t Kiln_KilnRenderer_setKvwContextMenuItemValue(KilnRendererHandle renderer, int32_t id, int32_t value) {
  return WithRenderer<int32_t>(renderer, 0,
                               [&](Renderer& r) -> int32_t { return r.window.SetMenuValue(id, value); });
}

int32_t Kiln_KilnRenderer_getKvwContextMenuItemValue(KilnRendererHandle renderer, int32_t id,
                                                     int32_t* value) {
  if (!value) return 0;
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) -> int32_t {
    const auto found = r.window.MenuValue(id);
    if (found) *value = *found;
    return found.has_value();
  });
}

// What the window holds goes into the scene; what a file holds goes into the window before.
int32_t Kiln_KilnRenderer_fillSettingsKVW(KilnRendererHandle renderer, const char* file,
                                          int32_t auto_commit) {
  return WithRenderer<int32_t>(renderer, 0, [&](Renderer& r) -> int32_t {
    if (file && !r.window.LoadDocuments(PathOf(file))) return 0;
    Json settings = r.window.settings();
    settings.erase("progress");
    const std::string layers = r.window.layers().dump();
    return ChangeScene(r, auto_commit != 0, [&](scene::Scene& scene) {
      scene::PluginId id = SceneSettings(scene);
      if (id == scene::kNoPlugin &&
          scene.Create(*scene::FindClass(kSettingsClass), std::nullopt, &id) != scene::CreateStatus::kOk) {
        return false;
      }
      scene.Set(id, "settings", scene::Value(settings.dump()));
      scene.Set(id, "layers", scene::Value(layers));
      return true;
    });
  });
}

int32_t Kiln_KilnRenderer_applySettingsKVW(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](Renderer& r) -> int32_t {
    std::optional<Json> settings;
    std::optional<Json> layers;
    {
      const std::shared_lock lock(r.scene.mutex);
      const scene::PluginId id = SceneSettings(r.scene);
      if (id == scene::kNoPlugin) return 0;
      if (!ReadSceneDocument(r.scene.Get(id, "settings"), &settings) ||
          !ReadSceneDocument(r.scene.Get(id, "layers"), &layers)) {
        return 0;
      }
    }
    return r.window.SetDocuments(settings, layers);
  });
}

int32_t Kiln_KilnRenderer_loadKvwImage(KilnRendererHandle renderer, const char* file) {
  return WithText(renderer, file,
                  [&](Renderer& r) { return r.window.LoadPicture(PathOf(file), RenderNumber(r)); });
}

int32_t Kiln_KilnRenderer_loadKvwBackgroundImage(KilnRendererHandle renderer, const char* file) {
  return WithText(renderer, file, [&](Renderer& r) { return r.window.LoadBackground(PathOf(file)); });
}

int32_t Kiln_KilnRenderer_clearKvwImage(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](Renderer& r) {
    r.window.Clear(RenderNumber(r));
    return 1;
  });
}

int32_t Kiln_KilnRenderer_logKvwMessage(KilnRendererHandle renderer, int32_t level, const char* text) {
  if (level < 0 || level > static_cast<int32_t>(LogLevel::kDebug)) return 0;
  return WithText(renderer, text, [&](Renderer& r) {
    r.events.OnLog(level, text);
    return true;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
