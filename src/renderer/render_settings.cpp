// What is set for renders to come, and the animation that is forgotten up to a time.
#include <string_view>

#include "binding/error.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_calls.h"
#include "scene/category.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

// Argument 0 as a number, which it must be.
bool ReadNumber(const Arguments& info, const char* message, double* number) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info[0]->IsNumber()) return info[0]->NumberValue(isolate->GetCurrentContext()).To(number);
  ThrowError(isolate, message);
  return false;
}

using SetInt = int32_t (*SdkTable::*)(KilnRendererHandle, int32_t);

// Takes what converts to a number too.
void SetInteractiveInt(const Arguments& info, SetInt entry, const char* message) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() == 0) return ThrowError(isolate, message);
  int32_t value = 0;
  if (!info[0]->Int32Value(isolate->GetCurrentContext()).To(&value)) return;
  ReturnSense(info, TrueIs::kZero, (sdk.*entry)(RendererOf(info).renderer, value));
}

constexpr int32_t kMediumQuality = 2;
constexpr const char* kQualities[] = {"draft", "low", "medium", "high", "veryHigh"};

// Whatever names no level, and what can't be converted, is the one in the middle.
int32_t ReadQuality(const Arguments& info) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  const v8::TryCatch try_catch(info.GetIsolate());
  if (info.Length() == 0) return kMediumQuality;
  if (info[0]->IsNumber()) return info[0]->Int32Value(context).FromMaybe(kMediumQuality);
  Text name;
  if (!name.Read(context, info[0])) return kMediumQuality;
  int32_t level = 0;
  for (const char* quality : kQualities) {
    if (EqualsIgnoringCase(name.view(), quality)) return level;
    level++;
  }
  return kMediumQuality;
}

// Unknown names and what is no string are passed over. False with an exception pending.
bool ReadCategories(v8::Isolate* isolate, v8::Local<v8::Array> names, uint64_t* mask) {
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  const uint32_t length = names->Length();
  for (uint32_t i = 0; i < length; i++) {
    v8::Local<v8::Value> name;
    if (!names->Get(context, i).ToLocal(&name)) return false;
    if (name->IsString()) *mask |= CategoryBit(Text(isolate, name.As<v8::String>()).view());
  }
  return true;
}

}  // namespace

void SetImprovedDefaultSettings(const Arguments& info) {
  const int32_t level = ReadQuality(info);
  ReturnSense(info, TrueIs::kNonZero,
              sdk.Kiln_KilnRenderer_setImprovedDefaults(RendererOf(info).renderer, level));
}

void SetInteractiveSampleLevel(const Arguments& info) {
  SetInteractiveInt(info, &SdkTable::Kiln_KilnRenderer_setInteractiveSampleLevel,
                    "Argument 0 (number - max sample level) should be passed");
}

void SetInteractiveTimeout(const Arguments& info) {
  SetInteractiveInt(info, &SdkTable::Kiln_KilnRenderer_setInteractiveTimeout,
                    "Argument 0 (number - timeout) should be passed");
}

void SetInteractiveNoiseThreshold(const Arguments& info) {
  double threshold = 0;
  if (!ReadNumber(info, "Argument 0 (number - noise threshold) should be passed", &threshold)) return;
  ReturnSense(info, TrueIs::kZero,
              sdk.Kiln_KilnRenderer_setInteractiveNoiseThreshold(RendererOf(info).renderer,
                                                                 static_cast<float>(threshold)));
}

void SetProgressiveImageUpdateDifference(const Arguments& info) {
  double difference = 0;
  if (!ReadNumber(info, "Argument 0 (difference: number) should be passed", &difference)) return;
  const float result = sdk.Kiln_KilnRenderer_setRTImageUpdateDifference(RendererOf(info).renderer,
                                                                        static_cast<float>(difference));
  info.GetReturnValue().Set(static_cast<double>(result));
}

void SetProgressiveImageUpdateTimeout(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  int64_t timeout = 0;
  if (!info[0]->IsNumber()) return ThrowError(isolate, "Argument 0 (timeout: number) should be passed");
  if (!info[0]->IntegerValue(isolate->GetCurrentContext()).To(&timeout)) return;
  info.GetReturnValue().Set(
      sdk.Kiln_KilnRenderer_setRTImageUpdateTimeout(RendererOf(info).renderer, timeout));
}

void ClearAllPropertyValuesUpToTime(const Arguments& info) {
  double time = 0;
  if (!ReadNumber(info, "Argument 0 (time: number) should be passed", &time)) return;
  ReturnSense(info, TrueIs::kZero,
              sdk.Kiln_KilnRenderer_clearAllFrameValuesUpToTime(RendererOf(info).renderer, time));
}

void ClearPropertyValuesUpToTime(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  double time = 0;
  uint64_t mask = 0;
  if (info.Length() != 2) {
    return ThrowError(isolate,
                      "Two arguments should be passed: (1)time and (2)array of plugin category names.");
  }
  if (!ReadNumber(info, "Argument 0 (time: number) should be passed.", &time)) return;
  if (!info[1]->IsArray()) {
    return ThrowError(isolate, "Argument 1 (categories: string[]) should be passed.");
  }
  if (!ReadCategories(isolate, info[1].As<v8::Array>(), &mask)) return;
  ReturnSense(info, TrueIs::kZero,
              sdk.Kiln_KilnRenderer_clearFrameValuesUpToTime(RendererOf(info).renderer, time, mask));
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
