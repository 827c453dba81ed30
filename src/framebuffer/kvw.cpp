#include "framebuffer/kvw.h"

#include "binding/error.h"
#include "binding/object_builder.h"
#include "binding/option_reader.h"
#include "binding/text.h"
#include "framebuffer.h"
#include "framebuffer/kvw_members.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"

namespace KilnNodeWrapper {
namespace {

using Name = v8::Local<v8::Name>;
using Value = v8::Local<v8::Value>;

template <class Info>
KvwReceiver HolderOf(const Info& info) {
  return {EnvironmentOf(info), compat::Holder(info)};
}

// --- Rows.

template <int32_t (*SdkTable::*kEntry)(KilnRendererHandle)>
void GetFlag(Name, const GetterInfo& info) {
  if (const KvwReceiver receiver = HolderOf(info)) {
    info.GetReturnValue().Set((sdk.*kEntry)(receiver.handle()) != 0);
  }
}

template <int32_t (*SdkTable::*kEntry)(KilnRendererHandle, int32_t)>
void SetFlag(Name, Value value, const SetterInfo& info) {
  if (const KvwReceiver receiver = HolderOf(info)) {
    (sdk.*kEntry)(receiver.handle(), value->BooleanValue(info.GetIsolate()));
  }
}

enum class Outcome : uint8_t { kNone, kNonZero };

template <auto kEntry, Outcome kOutcome>
void WithText(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  Text text;
  if (!receiver || !text.Read(info.GetIsolate()->GetCurrentContext(), info[0])) return;
  const int32_t result = (sdk.*kEntry)(receiver.handle(), text.c_str());
  if (kOutcome == Outcome::kNonZero) info.GetReturnValue().Set(result != 0);
}

template <auto kEntry, Outcome kOutcome>
void Plain(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  if (!receiver) return;
  const int32_t result = (sdk.*kEntry)(receiver.handle());
  if (kOutcome == Outcome::kNonZero) info.GetReturnValue().Set(result != 0);
}

// --- Position and size, which are one record to the SDK.

void SetShown(Name, Value value, const SetterInfo& info) {
  if (const KvwReceiver receiver = HolderOf(info)) {
    sdk.Kiln_KilnRenderer_showFrameBuffer(receiver.handle(), value->BooleanValue(info.GetIsolate()), 0);
  }
}

// Two fields of the rectangle under their keys.
struct RectPair {
  const char* first_key;
  const char* second_key;
  int32_t KvwRect::*first;
  int32_t KvwRect::*second;
};
constexpr RectPair kPosition = {"x", "y", &KvwRect::x, &KvwRect::y};
constexpr RectPair kSize = {"width", "height", &KvwRect::width, &KvwRect::height};

bool ReadRect(const KvwReceiver& receiver, KvwRect* rect) {
  return receiver && sdk.Kiln_KilnRenderer_getKvwPositionAndSize(receiver.handle(), rect) != 0;
}

template <const RectPair& kPair>
void GetPair(Name, const GetterInfo& info) {
  KvwRect rect{};
  if (!ReadRect(HolderOf(info), &rect)) return;
  ObjectBuilder object(info.GetIsolate());
  object.Int(kPair.first_key, rect.*kPair.first);
  object.Int(kPair.second_key, rect.*kPair.second);
  object.Return(info);
}

// The other two fields keep what the SDK has in them.
template <const RectPair& kPair>
void SetPair(Name, Value value, const SetterInfo& info) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  const KvwReceiver receiver = HolderOf(info);
  KvwRect rect{};
  v8::Local<v8::Object> object;
  if (!ReadRect(receiver, &rect) || !value->ToObject(context).ToLocal(&object)) return;
  OptionReader keys(context, object, OptionReader::Lookup::kPlain);
  keys.Int(kPair.first_key, &(rect.*kPair.first));
  keys.Int(kPair.second_key, &(rect.*kPair.second));
  if (!keys.Rethrow()) sdk.Kiln_KilnRenderer_setKvwPositionAndSize(receiver.handle(), &rect);
}

// --- Members with a logic of their own.

void FillSettings(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  Text file;
  const bool named = info.Length() > 0;
  if (!receiver || (named && !file.Read(info.GetIsolate()->GetCurrentContext(), info[0]))) return;
  info.GetReturnValue().Set(sdk.Kiln_KilnRenderer_fillSettingsKVW(receiver.handle(),
                                                                  named ? file.c_str() : nullptr,
                                                                  receiver.record->autoCommit) != 0);
}

void EnableProgressBar(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  if (!receiver) return;
  sdk.Kiln_KilnRenderer_enableKvwProgressBar(receiver.handle(),
                                             info.Length() == 0 || info[0]->BooleanValue(info.GetIsolate()));
}

void SetProgressValue(const Arguments& info) {
  const KvwReceiver receiver = KvwOf(info);
  double value = -1;
  if (!receiver ||
      (info.Length() > 0 && !info[0]->NumberValue(info.GetIsolate()->GetCurrentContext()).To(&value))) {
    return;
  }
  sdk.Kiln_KilnRenderer_setKvwProgressValue(receiver.handle(), static_cast<float>(value));
}

// A string and a number, wherever they stand; the last of each counts.
struct TextAndNumber {
  explicit TextAndNumber(const Arguments& info) {
    for (int i = 0; i < info.Length(); i++) {
      if (info[i]->IsString()) text = info[i].As<v8::String>();
      if (info[i]->IsNumber()) number = info[i].As<v8::Number>();
    }
  }
  bool complete() const { return !text.IsEmpty() && !number.IsEmpty(); }

  v8::Local<v8::String> text;
  v8::Local<v8::Number> number;
};

void SetProgressTextAndValue(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  const KvwReceiver receiver = KvwOf(info);
  if (!receiver) return;
  const TextAndNumber given(info);
  if (!given.complete()) {
    return ThrowError(isolate, "Expected exactly 2 arguments - a string and a number between 0 and 1");
  }
  sdk.Kiln_KilnRenderer_setKvwProgressTextAndValue(receiver.handle(), Text(isolate, given.text).c_str(),
                                                   static_cast<float>(given.number->Value()));
}

// Beyond the four levels, whichever argument it is; truncated toward zero first.
bool IsLevel(Value value) {
  const double level = value.As<v8::Number>()->Value();
  return level > -1 && level < 4;
}

void LogMessage(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  const KvwReceiver receiver = KvwOf(info);
  if (!receiver) return;
  for (int i = 0; i < info.Length(); i++) {
    if (info[i]->IsNumber() && !IsLevel(info[i])) {
      return ThrowError(isolate, "Log level must be one of kiln.LOGLEVEL_* constants.");
    }
  }
  const TextAndNumber given(info);
  if (!given.complete()) {
    return ThrowError(isolate, "Expected exactly 2 arguments - a log level and a string");
  }
  sdk.Kiln_KilnRenderer_logKvwMessage(receiver.handle(), static_cast<int32_t>(given.number->Value()),
                                      Text(isolate, given.text).c_str());
}

constexpr Accessor kAccessors[] = {
    {"shown", GetFlag<&SdkTable::Kiln_KilnRenderer_isFrameBufferShown>, SetShown},
    {"interactivity", GetFlag<&SdkTable::Kiln_KilnRenderer_isKVWInteractivityEnabled>,
     SetFlag<&SdkTable::Kiln_KilnRenderer_enableKVWInteractivity>},
    {"position", GetPair<kPosition>, SetPair<kPosition>},
    {"size", GetPair<kSize>, SetPair<kSize>},
    {"alwaysOnTop", [](Name, const GetterInfo&) {}, SetFlag<&SdkTable::Kiln_KilnRenderer_setKvwAlwaysOnTop>},
    {"confirmClearImage", GetFlag<&SdkTable::Kiln_KilnRenderer_isKVWConfirmationEnabled>,
     SetFlag<&SdkTable::Kiln_KilnRenderer_enableKVWConfirmation>},
};

constexpr Method kFunctions[] = {
    {"getState", KvwGetState},
    {"setState", KvwSetState},
    {"resetState", Plain<&SdkTable::Kiln_KilnRenderer_resetKvwState, Outcome::kNone>},
    {"getPersistentState", KvwGetPersistentState},
    {"setPersistentState", KvwSetPersistentState},
    {"getSettings", KvwGetSettings},
    {"setSettings", KvwSetSettings},
    {"getLayers", KvwGetLayers},
    {"setLayers", KvwSetLayers},
    {"loadColorCorrectionsPreset",
     WithText<&SdkTable::Kiln_KilnRenderer_loadKvwColorCorrectionsPreset, Outcome::kNonZero>},
    {"saveColorCorrectionsPreset",
     WithText<&SdkTable::Kiln_KilnRenderer_saveKvwColorCorrectionsPreset, Outcome::kNonZero>},
    {"setTitlePrefix", WithText<&SdkTable::Kiln_KilnRenderer_setKvwTitlePrefix, Outcome::kNonZero>},
    {"setProjectPath", WithText<&SdkTable::Kiln_KilnRenderer_setKvwProjectPath, Outcome::kNonZero>},
    {"fillSettingsKVW", FillSettings},
    {"applySettingsKVW", Plain<&SdkTable::Kiln_KilnRenderer_applySettingsKVW, Outcome::kNonZero>},
    {"loadImage", KvwLoadImage},
    {"loadImageSync", KvwLoadImageSync},
    {"enableProgressBar", EnableProgressBar},
    {"setProgressText", WithText<&SdkTable::Kiln_KilnRenderer_setKvwProgressText, Outcome::kNone>},
    {"setProgressValue", SetProgressValue},
    {"setProgressTextAndValue", SetProgressTextAndValue},
    {"saveImage", KvwSaveImage},
    {"saveImageSync", KvwSaveImageSync},
    {"clearImage", Plain<&SdkTable::Kiln_KilnRenderer_clearKvwImage, Outcome::kNone>},
    {"logMessage", LogMessage},
};

}  // namespace

KvwReceiver::KvwReceiver(Environment& environment, v8::Local<v8::Object> kvw) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Value> value;
  if (!kvw->Get(isolate->GetCurrentContext(), v8::String::NewFromUtf8Literal(isolate, "_renderer"))
           .ToLocal(&value)) {
    return;
  }
  if (!environment.rendererTemplate.Get(isolate)->HasInstance(value)) {
    ThrowTypeError(isolate, "Illegal invocation");
    return;
  }
  renderer = value.As<v8::Object>();
  record = &KilnRendererNodeWrapper::WrapperOf(renderer);
}

v8::MaybeLocal<v8::Object> NewKvw(Environment& environment, v8::Local<v8::Object> renderer_object) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Object> kvw = v8::Object::New(isolate);
  for (const Accessor& accessor : kAccessors) {
    defineAccessor(isolate, environment.external(), kvw, accessor);
  }
  for (const Method& function : kFunctions) defineFunction(isolate, environment.external(), kvw, function);
  if (!defineValue(isolate, kvw, "_renderer", renderer_object, kHidden)) return {};
  return kvw;
}

}  // namespace KilnNodeWrapper
