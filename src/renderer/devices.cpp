#include "renderer/devices.h"

#include <vector>

#include "binding/error.h"
#include "binding/object_builder.h"
#include "renderer/renderer_wrapper.h"
#include "scene/scene_object.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

constexpr uint32_t kLowPriority = 0x80000000;

const char* KindText(uint32_t kind) {
  switch (kind) {
    case 2:
      return "CPU";
    case 4:
      return "GPU";
    case 8:
      return "Accelerator";
    default:
      return "unknown";
  }
}

struct Figure {
  const char* name;
  uint32_t KilnComputeDevice::*field;
};
// In the order in which JavaScript lists them, flags in front of the kind and figures behind.
constexpr Figure kFlags[] = {
    {"useForRendering", &KilnComputeDevice::useForRendering},
    {"useForDenoising", &KilnComputeDevice::useForDenoising},
    {"useLowPriority", &KilnComputeDevice::useLowPriority},
    {"isSupported", &KilnComputeDevice::isSupported},
};
constexpr Figure kFigures[] = {
    {"numConnectedDisplays", &KilnComputeDevice::numConnectedDisplays},
    {"frequencyMHz", &KilnComputeDevice::frequencyMHz},
    {"gigaFlops", &KilnComputeDevice::gigaFlops},
    {"ccMajor", &KilnComputeDevice::ccMajor},
    {"ccMinor", &KilnComputeDevice::ccMinor},
    {"rtCoreVersion", &KilnComputeDevice::rtCoreVersion},
};

v8::MaybeLocal<v8::Object> NewDevice(v8::Isolate* isolate, const KilnComputeDevice& device) {
  ObjectBuilder object(isolate);
  object.Text("name", device.name);
  for (const Figure& flag : kFlags) object.Flag(flag.name, device.*flag.field != 0);
  object.Text("type", KindText(device.kind));
  object.Number("totalMemoryMB", device.totalMemoryMB);
  for (const Figure& figure : kFigures) object.Int(figure.name, static_cast<int32_t>(device.*figure.field));
  return object.Take();
}

bool ReadInt(v8::Local<v8::Context> context, v8::Local<v8::Array> array, uint32_t index, int32_t* value) {
  v8::Local<v8::Value> element;
  if (!array->Get(context, index).ToLocal(&element)) return false;
  *value = element->Int32Value(context).FromMaybe(0);
  return true;
}

// A pair of an ID and whether the device works at low priority.
bool ReadPair(v8::Local<v8::Context> context, v8::Local<v8::Array> pair, int32_t* id) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::Local<v8::Value> low_priority;
  if (pair->Length() != 2) {
    ThrowError(isolate,
               "Each sub-array must consist of exactly 2 elements - an index (device ID) and a "
               "boolean for low priority");
    return false;
  }
  if (!ReadInt(context, pair, 0, id) || !pair->Get(context, 1).ToLocal(&low_priority)) return false;
  if (low_priority->BooleanValue(isolate))
    *id = static_cast<int32_t>(static_cast<uint32_t>(*id) | kLowPriority);
  return true;
}

bool ReadId(v8::Local<v8::Context> context, v8::Local<v8::Array> list, uint32_t index, DeviceForm form,
            int32_t* id) {
  v8::Local<v8::Value> element;
  if (!list->Get(context, index).ToLocal(&element)) return false;
  if (form == DeviceForm::kIndexOrPair && element->IsArray())
    return ReadPair(context, element.As<v8::Array>(), id);
  *id = element->Int32Value(context).FromMaybe(0);
  return true;
}

// False with an exception pending when an element can't be read. One that converts to no number is 0.
bool ReadIds(v8::Local<v8::Context> context, v8::Local<v8::Array> list, DeviceForm form,
             std::vector<int32_t>* ids) {
  const uint32_t length = list->Length();
  for (uint32_t i = 0; i < length; i++) {
    int32_t id = 0;
    if (!ReadId(context, list, i, form, &id)) return false;
    ids->push_back(id);
  }
  return true;
}

}  // namespace

void ReturnDevices(const Arguments& info, DeviceListEntry entry) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  int32_t count = 0;
  const SdkBlock<KilnComputeDevice> list(
      (sdk.*entry)(RendererOf(info).renderer, &count, static_cast<int32_t>(sizeof(KilnComputeDevice))));
  v8::Local<v8::Array> devices = v8::Array::New(isolate);
  for (int32_t i = 0; list && i < count; i++) {
    v8::Local<v8::Object> device;
    if (!NewDevice(isolate, list.get()[i]).ToLocal(&device) ||
        !devices->CreateDataProperty(context, static_cast<uint32_t>(i), device).FromMaybe(false)) {
      return;
    }
  }
  info.GetReturnValue().Set(devices);
}

void PassDevices(const Arguments& info, DeviceChoiceEntry entry, DeviceForm form) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() != 1 || !info[0]->IsArray()) {
    return ThrowError(isolate, "Argument 0 must be an array of integer device IDs");
  }
  std::vector<int32_t> ids;
  // What a conversion throws is told behind the work.
  v8::TryCatch try_catch(isolate);
  if (ReadIds(isolate->GetCurrentContext(), info[0].As<v8::Array>(), form, &ids)) {
    const int32_t result =
        (sdk.*entry)(RendererOf(info).renderer, ids.data(), static_cast<int32_t>(ids.size()));
    info.GetReturnValue().Set(result == 0);
  }
  if (try_catch.HasCaught()) try_catch.ReThrow();
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
