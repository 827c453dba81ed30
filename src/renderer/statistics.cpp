// The running statistics of an interactive render as one plain object.
#include <cstring>

#include "binding/object_builder.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"
#include "scene/scene_object.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

constexpr const char* kCounters[] = {"Textures",   "Geometry", "Environment", "Pinned",     "Misc", "Lights",
                                     "LightCache", "Hair",     "Particles",   "VolumeGrid", "Total"};
static_assert(std::size(kCounters) == KILN_STATISTICS_COUNTERS);

// The parts of the block stand at 4-byte boundaries, so that they are copied out.
template <class T>
T ReadAt(const char* block, size_t offset) {
  T value;
  std::memcpy(&value, block + offset, sizeof(value));
  return value;
}

v8::MaybeLocal<v8::Object> NewDevice(v8::Isolate* isolate, const KilnStatisticsDevice& device) {
  ObjectBuilder object(isolate);
  object.Text("name", device.name);
  object.Number("utilization", device.utilization);
  object.Number("freeMem", device.freeMem);
  object.Number("totalMem", device.totalMem);
  return object.Take();
}

v8::MaybeLocal<v8::Object> NewDevices(v8::Isolate* isolate, const char* block, size_t count) {
  v8::Local<v8::Array> devices = v8::Array::New(isolate);
  for (size_t i = 0; i < count; i++) {
    const size_t offset = KILN_STATISTICS_DEVICES_OFFSET + i * sizeof(KilnStatisticsDevice);
    v8::Local<v8::Object> device;
    if (!NewDevice(isolate, ReadAt<KilnStatisticsDevice>(block, offset)).ToLocal(&device) ||
        !devices->CreateDataProperty(isolate->GetCurrentContext(), static_cast<uint32_t>(i), device)
             .FromMaybe(false)) {
      return {};
    }
  }
  return devices;
}

v8::MaybeLocal<v8::Object> NewCounters(v8::Isolate* isolate, const char* counters) {
  ObjectBuilder object(isolate);
  size_t offset = 0;
  for (const char* name : kCounters) {
    object.Number(name, NumberOf(ReadAt<uint64_t>(counters, offset)));
    offset += sizeof(uint64_t);
  }
  return object.Take();
}

}  // namespace

void GetInteractiveStatistics(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  KilnStatisticsHead* record = nullptr;
  const int32_t result = sdk.Kiln_KilnRenderer_getRTStatistics(RendererOf(info).renderer, &record);
  const SdkBlock<KilnStatisticsHead> owned(record);
  if (result == 0 || !record) return info.GetReturnValue().SetNull();
  const auto* block = reinterpret_cast<const char*>(record);
  const size_t devices = record->device_count < 0 ? 0 : static_cast<size_t>(record->device_count);
  const size_t counters = KILN_STATISTICS_DEVICES_OFFSET + devices * sizeof(KilnStatisticsDevice);
  ObjectBuilder object(isolate);
  object.Number("pathsPerSecond", record->pathsPerSecond);
  object.Number("elapsedTicks", record->elapsedTicks);
  object.Int("sampleLevel", record->sampleLevel);
  object.Int("numPasses", record->numPasses);
  object.Number("currentNoiseThreshold", record->currentNoiseThreshold);
  object.Object("computeDevices", NewDevices(isolate, block, devices));
  object.Object("computeDevicesMemUsage", NewCounters(isolate, block + counters));
  object.Return(info);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
