// The internal fields of Plugin and PluginRef objects. There is no native record behind them: what stands
// behind a Plugin is its ID and its renderer.
#pragma once

#include "binding/internal_fields.h"
#include "scene/scene_object.h"
#include "values.h"

namespace KilnNodeWrapper {

inline constexpr int kPluginFields = 4;
// kRendererField lies between them.
inline constexpr int kOutputField = 0;
inline constexpr int kIdField = 2;

// Both fields may be read only when the object has a renderer.
inline uint32_t OutputFieldOf(v8::Local<v8::Object> plugin) {
  return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(GetPointerField(plugin, kOutputField)) >> 1);
}
inline KilnPluginId IdFieldOf(v8::Local<v8::Object> plugin) {
  return GetBitsField(plugin, kIdField);
}

// A plugin that the SDK can be asked about: none when the object has no ID or its renderer is closed.
struct LivePlugin {
  explicit LivePlugin(v8::Local<v8::Object> plugin) : record(RecordOf(plugin)) {
    if (!record || !record->renderer) return;
    renderer = record->renderer;
    id = IdFieldOf(plugin);
  }
  explicit operator bool() const { return id != 0; }

  KilnRendererNodeWrapper::RendererWrapper* record;
  KilnRendererHandle renderer = nullptr;
  KilnPluginId id = 0;
};

}  // namespace KilnNodeWrapper
