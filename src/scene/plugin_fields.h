// The internal fields of Plugin and PluginRef objects. There is no native record behind them: what stands
// behind a Plugin is its ID and its renderer.
#pragma once

#include "binding/internal_fields.h"
#include "scene/scene_object.h"
#include "values.h"

namespace KilnNodeWrapper {

inline constexpr int kPluginFields = 5;
// kRendererField lies between them, and the ID takes two.
inline constexpr int kOutputField = 0;
inline constexpr int kIdField = 2;
// The renderer's record, which lives as long as the renderer's object: a read saves the way through that.
inline constexpr int kRecordField = 4;

// Stands in the objects that wrapPlugin made; all fields of the others are empty.
inline const ClassTag kPluginTag;

// Both fields may be read only when the object has a renderer.
inline uint32_t OutputFieldOf(v8::Local<v8::Object> plugin) {
  return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(GetPointerField(plugin, kOutputField)) >> 1);
}
inline KilnPluginId IdFieldOf(v8::Local<v8::Object> plugin) {
  return GetBitsField(plugin, kIdField);
}

// The record of a Plugin or PluginRef object's renderer; null for an object whose fields are empty.
inline KilnRendererNodeWrapper::RendererWrapper* RecordOfPlugin(v8::Local<v8::Object> plugin) {
  if (compat::GetPointer(plugin, 0) != &kPluginTag) return nullptr;
  return static_cast<KilnRendererNodeWrapper::RendererWrapper*>(GetPointerField(plugin, kRecordField));
}

// A plugin that the SDK can be asked about: none when the object has no ID or its renderer is closed.
struct LivePlugin {
  [[gnu::always_inline]] explicit LivePlugin(v8::Local<v8::Object> plugin) : record(RecordOfPlugin(plugin)) {
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
