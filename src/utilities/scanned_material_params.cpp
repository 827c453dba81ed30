#include "utilities/scanned_material_params.h"

#include <algorithm>
#include <span>
#include <vector>

#include "binding/error.h"
#include "binding/key_walk.h"
#include "binding/option_reader.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "module/module.h"
#include "module/sdk_library.h"
#include "utilities.h"

namespace KilnNodeWrapper {
namespace {

using Params = ScannedMaterialParams;
using Context = v8::Local<v8::Context>;
using Value = v8::Local<v8::Value>;

void ReadInt(Context context, Value value, int32_t* word) {
  int32_t number = 0;
  if (value->Int32Value(context).To(&number)) *word = number;
}
void ReadFloat(Context context, Value value, float* word) {
  double number = 0;
  if (value->NumberValue(context).To(&number)) *word = static_cast<float>(number);
}
void ReadFloats(Context context, v8::Local<v8::Object> object, std::span<const char* const> keys,
                float* words) {
  OptionReader reader(context, object);
  for (const char* key : keys) {
    double number = 0;
    if (reader.Number(key, &number)) *words = static_cast<float>(number);
    words++;
  }
}

struct Choice {
  const char* name;
  int32_t value;
};
// An unknown name leaves the word.
void ReadChoice(v8::Local<v8::String> text, std::span<const Choice> choices, int32_t* word) {
  const Text name(v8::Isolate::GetCurrent(), text);
  for (const Choice& choice : choices) {
    if (EqualsIgnoringCase(name.view(), choice.name)) *word = choice.value;
  }
}

// --- Keys with a form of their own.

void ReadPlain(Context context, Value value, Params* params) {
  static constexpr Choice kChoices[] = {{"PL_NONE", 0},     {"PlNone", 0},    {"PL_HMG", 1},
                                        {"PlHmg", 1},       {"PL_HMGSYM", 2}, {"PlHmgSym", 2},
                                        {"PL_SCRAMBLE", 3}, {"PlScramble", 3}};
  if (value->IsString()) {
    ReadChoice(value.As<v8::String>(), kChoices, &params->plain);
  } else {
    ReadInt(context, value, &params->plain);
  }
}

void ReadColorSpace(Context context, Value value, Params* params) {
  static constexpr Choice kChoices[] = {{"CS_SRGB", 0}, {"cssrgb", 0}, {"CS_ADOBE", 1},
                                        {"csAdobe", 1}, {"CS_PP", 2},  {"csPP", 2}};
  v8::Local<v8::String> text;
  if (!value->IsString() && !value->IsStringObject()) {
    ReadInt(context, value, &params->clrSpace);
  } else if (value->ToString(context).ToLocal(&text)) {
    ReadChoice(text, kChoices, &params->clrSpace);
  }
}

void ReadFilter(Context context, Value value, Params* params) {
  static constexpr const char* kKeys[] = {"r", "g", "b"};
  if (value->IsObject()) ReadFloats(context, value.As<v8::Object>(), kKeys, params->filter);
}

void ReadUvTransform(Context context, Value value, Params* params) {
  static constexpr const char* kKeys[] = {"x", "y", "z"};
  if (!value->IsObject()) return;
  for (uint32_t i = 0; i < 4; i++) {
    Value element;
    if (value.As<v8::Object>()->Get(context, i).ToLocal(&element) && element->IsObject()) {
      ReadFloats(context, element.As<v8::Object>(), kKeys, params->uvtrans + 3 * i);
    }
  }
}

void ReadTriplanar(Context context, Value value, Params* params) {
  static constexpr Choice kBits[] = {{"TP_ENABLED", 1},   {"enabled", 1},   {"TP_RNDOFFS", 2},
                                     {"randomOffset", 2}, {"TP_RNDROT", 4}, {"randomRotation", 4}};
  if (!value->IsObject()) return ReadInt(context, value, &params->triplanar);
  WalkKeys(context, value.As<v8::Object>(), Unreadable::kIsSkipped, [&](std::string_view key, Value flag) {
    for (const Choice& bit : kBits) {
      if (!EqualsIgnoringCase(key, bit.name)) continue;
      const bool on = flag->BooleanValue(v8::Isolate::GetCurrent());
      params->triplanar = on ? params->triplanar | bit.value : params->triplanar & ~bit.value;
    }
    return true;
  });
}

// Only the number has an effect: the form with names was never read, and files rely on the word it left.
void ReadMapChannelBits(Context context, Value value, Params* params) {
  if (!value->IsObject()) ReadInt(context, value, &params->mapChBitmask);
}

void ReadNoCachedGI(Context, Value value, Params* params) {
  params->noCachedGI = value->BooleanValue(v8::Isolate::GetCurrent()) ? 1 : 0;
}

struct Key {
  const char* name;
  float Params::*number = nullptr;
  int32_t Params::*integer = nullptr;
  void (*read)(Context, Value, Params*) = nullptr;

  constexpr Key(const char* name, float Params::*field) : name(name), number(field) {}
  constexpr Key(const char* name, int32_t Params::*field) : name(name), integer(field) {}
  constexpr Key(const char* name, void (*read)(Context, Value, Params*)) : name(name), read(read) {}
};
constexpr Key kKeys[] = {
    {"plain", ReadPlain},
    {"invgamma", &Params::invgamma},
    {"saturation", &Params::saturation},
    {"depthMul", &Params::depthMul},
    {"disablewmap", &Params::disablewmap},
    {"filter", ReadFilter},
    {"uvtrans", ReadUvTransform},
    {"usemap", &Params::usemap},
    {"bumpmul", &Params::bumpmul},
    {"bumpstart", &Params::bumpstart},
    {"nsamples", &Params::nsamples},
    {"cutoff", &Params::cutoff},
    {"mapChannel", &Params::mapChannel},
    {"dome", &Params::dome},
    {"multdirect", &Params::multdirect},
    {"multrefl", &Params::multrefl},
    {"multgi", &Params::multgi},
    {"traceDepth", &Params::traceDepth},
    {"scrambleSize", &Params::scrambleSize},
    {"sceneScale", &Params::sceneScale},
    {"ccior", &Params::ccior},
    {"cchlight", &Params::cchlight},
    {"ccbump", &Params::ccbump},
    {"unfRefl", &Params::unfRefl},
    {"twoside", &Params::twoside},
    {"displace", &Params::displace},
    {"noPrimGI", &Params::noPrimGI},
    {"retrace", &Params::retrace},
    {"noTransp", &Params::noTransp},
    {"transpMul", &Params::transpMul},
    {"mapChBitmask", ReadMapChannelBits},
    {"paintStrength", &Params::paintStrength},
    {"fltStrength", &Params::fltStrength},
    {"clrSpace", ReadColorSpace},
    {"ColorSpace", ReadColorSpace},
    {"noCachedGI", ReadNoCachedGI},
    {"ccmetalrefl", &Params::ccmetalrefl},
    {"ccmul", &Params::ccmul},
    {"triplanar", ReadTriplanar},
    {"fasttrans", &Params::fasttrans},
    {"BWforGI", &Params::BWforGI},
    {"ccglossy", &Params::ccglossy},
    {"ccglossyvar", &Params::ccglossyvar},
};

void ReadKey(Context context, std::string_view name, Value value, Params* params) {
  for (const Key& key : kKeys) {
    if (!EqualsIgnoringCase(name, key.name)) continue;
    if (key.read) return key.read(context, value, params);
    if (key.integer) return ReadInt(context, value, &(params->*key.integer));
    return ReadFloat(context, value, &(params->*key.number));
  }
}

// What can't be read or converted leaves its words.
void ReadParams(Context context, v8::Local<v8::Object> object, Params* params) {
  WalkKeys(context, object, Unreadable::kIsSkipped, [&](std::string_view key, Value value) {
    ReadKey(context, key, value, params);
    return true;
  });
}

// The integers; none when the SDK could not encode.
std::vector<int32_t> Encode(const Params& params) {
  int32_t error = 0;
  const int32_t count = sdk.Kiln_encodeBRDFScannedParams(nullptr, 0, &params, sizeof(params), &error);
  if (count <= 0) return {};
  std::vector<int32_t> words(static_cast<size_t>(count));
  const int32_t written =
      sdk.Kiln_encodeBRDFScannedParams(words.data(), count, &params, sizeof(params), &error);
  words.resize(static_cast<size_t>(std::clamp(written, 0, count)));
  return words;
}

}  // namespace

void EncodeScannedMaterialParams(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info[0]->IsNullOrUndefined()) {
    return ThrowError(isolate, "An object argument containing ScannedMaterialParams is expected");
  }
  Context context = isolate->GetCurrentContext();
  v8::Local<v8::Object> object;
  if (!info[0]->ToObject(context).ToLocal(&object)) return;
  Params params{};
  sdk.Kiln_BRDFScannedParams_initialize(&params, sizeof(params));
  ReadParams(context, object, &params);
  const std::vector<int32_t> words = Encode(params);
  if (words.empty()) return ThrowError(isolate, "Internal error (the SDK is broken)");
  v8::Local<v8::ArrayBuffer> memory;
  if (NewBuffer(isolate, words.data(), words.size() * sizeof(int32_t)).ToLocal(&memory)) {
    info.GetReturnValue().Set(v8::Int32Array::New(memory, 0, words.size()));
  }
}

}  // namespace KilnNodeWrapper
