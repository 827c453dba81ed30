// Entry points that read and change property values, as value streams and as texts.
#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>

#include "engine/api/blocks.h"
#include "engine/api/property_access.h"
#include "engine/api/value_stream.h"
#include "engine/scene/coerce.h"
#include "engine/scene/value_text.h"

namespace kiln::engine::api {
namespace {

using scene::PluginId;
using scene::PluginRef;
using scene::Property;
using scene::Type;
using scene::Value;

// A time of the boundary as the scene has it: none stands for the plain value.
std::optional<double> SceneTime(Renderer& renderer, double time) {
  switch (std::bit_cast<uint64_t>(time)) {
    case KILN_TIME_DIRECT_BITS:
      return {};
    case KILN_TIME_OMITTED_BITS:
      return renderer.WithSettings([](const Settings& settings) {
        return settings.animate ? std::optional<double>(settings.time) : std::nullopt;
      });
    default:
      return time;
  }
}

// The value with references to plugins that are gone as references to none, within lists as well.
Value Living(const scene::Scene& scene, Value value) {
  const auto gone = [&](const Value& element) {
    const auto* reference = element.As<PluginRef>();
    return reference && *reference && !scene.Find(reference->id);
  };
  if (gone(value)) return PluginRef{};
  const auto* list = value.As<scene::ValueArray>();
  const auto needs_change = [&](const Value& e) { return gone(e) || e.As<scene::ValueArray>(); };
  if (!list || std::none_of(list->begin(), list->end(), needs_change)) return value;
  std::vector<Value> elements(list->begin(), list->end());
  for (Value& element : elements) element = Living(scene, std::move(element));
  return scene::ValueArray(std::move(elements));
}

// Whether every reference in the value means something in the scene.
bool RefersWithin(const scene::Scene& scene, const Value& value) {
  if (const auto* list = value.As<scene::ValueArray>()) {
    return std::all_of(list->begin(), list->end(), [&](const Value& e) { return RefersWithin(scene, e); });
  }
  const auto* reference = value.As<PluginRef>();
  if (!reference || !*reference) return true;
  const scene::Instance* instance = scene.Find(reference->id);
  return instance && reference->output <= instance->type->outputs.size();
}

struct ReadValue {
  Value value;
  Type type = Type::kUnspecified;
};

// Under the lock only as long as a copy takes, which shares the lists.
ReadValue Read(KilnRendererHandle renderer, PluginId plugin, const char* property, double time) {
  ReadValue read;
  WithProperty<bool>(renderer, plugin, property, false,
                     [&](Renderer& r, const scene::Instance& instance, const Property& p) {
                       read = {Living(r.scene, r.scene.Get(instance, p, SceneTime(r, time))), p.type};
                       return true;
                     });
  return read;
}

const Property* FindProperty(const Renderer& renderer, PluginId plugin, const char* name,
                             PropertyStatus* status) {
  const std::shared_lock lock(renderer.scene.mutex);
  const scene::Instance* instance = renderer.scene.Find(plugin);
  *status = instance ? PropertyStatus::kUnknownProperty : PropertyStatus::kUnknownPlugin;
  const Property* property = instance && name ? instance->type->FindProperty(name) : nullptr;
  if (property) *status = PropertyStatus::kOk;
  return property;
}

// The value in the property's type, made without the lock, since a long list takes a while.
PropertyStatus Convert(const Renderer& renderer, const Property& property, Value* value) {
  const auto resolve = [&](std::string_view name) {
    const std::shared_lock lock(renderer.scene.mutex);
    return renderer.scene.FindReference(name);
  };
  std::optional<Value> converted = scene::CoerceWith(*value, property.type, resolve);
  if (!converted) return PropertyStatus::kWrongType;
  converted = scene::CoerceTo(std::move(*converted), property, resolve);
  if (!converted) return PropertyStatus::kRefusedValue;
  *value = std::move(*converted);
  return PropertyStatus::kOk;
}

PropertyStatus Store(Renderer& renderer, PluginId plugin, const char* name, Value value, double boundary_time,
                     bool commit) {
  PropertyStatus status;
  const Property* property = FindProperty(renderer, plugin, name, &status);
  if (!property) return status;
  const std::optional<double> time = SceneTime(renderer, boundary_time);
  if (time && !std::isfinite(*time)) return PropertyStatus::kBadTime;
  if (!scene::IsReset(value)) status = Convert(renderer, *property, &value);
  if (status != PropertyStatus::kOk) return status;
  return ChangeScene(renderer, commit, [&](scene::Scene& scene) {
    if (!scene.Find(plugin)) return PropertyStatus::kUnknownPlugin;
    if (!RefersWithin(scene, value)) return PropertyStatus::kRefusedValue;
    return scene.Set(plugin, property->name, std::move(value), time) ? PropertyStatus::kOk
                                                                     : PropertyStatus::kRefusedValue;
  });
}

int32_t Store(KilnRendererHandle renderer, PluginId plugin, const char* property, std::optional<Value> value,
              double time, int32_t auto_commit) {
  return WithRenderer<int32_t>(renderer, static_cast<int32_t>(PropertyStatus::kFailed), [&](Renderer& r) {
    if (!value) return static_cast<int32_t>(PropertyStatus::kMalformed);
    return static_cast<int32_t>(Store(r, plugin, property, std::move(*value), time, auto_commit != 0));
  });
}

}  // namespace

extern "C" {

// Non-zero when there is a value.
int32_t Kiln_getPropertyByteArrayByID(KilnRendererHandle renderer, KilnPluginId plugin, const char* property,
                                      uint32_t** stream, int32_t* size, double time) {
  if (size) *size = 0;
  if (!stream) return 0;
  *stream = nullptr;
  return Guarded<int32_t>(0, [&] {
    const ReadValue read = Read(renderer, plugin, property, time);
    const size_t bytes = EncodedSize(read.value, read.type);
    if (bytes == 0 || bytes > INT_MAX) return 0;
    *stream = NewBlock<uint32_t>(bytes / sizeof(uint32_t));
    EncodeValue(read.value, read.type, *stream);
    if (size) *size = static_cast<int32_t>(bytes);
    return 1;
  });
}

int32_t Kiln_getPropertyByteArray(KilnRendererHandle renderer, const char* plugin, const char* property,
                                  uint32_t** stream, int32_t* size, double time) {
  return Kiln_getPropertyByteArrayByID(renderer, Kiln_KilnRenderer_getPluginID(renderer, plugin), property,
                                       stream, size, time);
}

char* Kiln_KilnRenderer_getPropertyValueByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                             const char* property, double time) {
  return WithRenderer<char*>(renderer, nullptr, [&](const Renderer& r) -> char* {
    const ReadValue read = Read(renderer, plugin, property, time);
    if (read.value.Empty()) return nullptr;
    return CopyToBlock(scene::FormatValue(read.value, [&](const PluginRef& reference) {
      const std::shared_lock lock(r.scene.mutex);
      return r.scene.ReferenceText(reference);
    }));
  });
}

char* Kiln_KilnRenderer_getPropertyValue(KilnRendererHandle renderer, const char* plugin,
                                         const char* property, double time) {
  return Kiln_KilnRenderer_getPropertyValueByID(renderer, Kiln_KilnRenderer_getPluginID(renderer, plugin),
                                                property, time);
}

// The stream is read whatever else is wrong: what it hands over has to be given back.
int32_t Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                                          const char* property, const void* stream,
                                                          double time, int32_t auto_commit) {
  return Guarded<int32_t>(static_cast<int32_t>(PropertyStatus::kFailed), [&] {
    return Store(renderer, plugin, property, DecodeValue(stream), time, auto_commit);
  });
}

int32_t Kiln_KilnRenderer_setPropertyBytesValueAtTime(KilnRendererHandle renderer, const char* plugin,
                                                      const char* property, const void* stream, double time,
                                                      int32_t auto_commit) {
  return Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID(
      renderer, Kiln_KilnRenderer_getPluginID(renderer, plugin), property, stream, time, auto_commit);
}

int32_t Kiln_KilnRenderer_setPropertyValueAtTimeByID(KilnRendererHandle renderer, KilnPluginId plugin,
                                                     const char* property, const char* value, double time,
                                                     int32_t auto_commit) {
  return Guarded<int32_t>(static_cast<int32_t>(PropertyStatus::kFailed), [&] {
    const auto text = value ? std::optional<Value>(std::string(value)) : std::nullopt;
    return Store(renderer, plugin, property, text, time, auto_commit);
  });
}

int32_t Kiln_KilnRenderer_setPropertyValueAtTime(KilnRendererHandle renderer, const char* plugin,
                                                 const char* property, const char* value, double time,
                                                 int32_t auto_commit) {
  return Kiln_KilnRenderer_setPropertyValueAtTimeByID(
      renderer, Kiln_KilnRenderer_getPluginID(renderer, plugin), property, value, time, auto_commit);
}

}  // extern "C"
}  // namespace kiln::engine::api
