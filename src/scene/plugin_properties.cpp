// How the properties of a plugin are read, written and listed, by name on the object and by its members.
#include "binding/error.h"
#include "binding/sdk_memory.h"
#include "scene/plugin.h"
#include "scene/plugin_fields.h"
#include "scene/sdk_strings.h"
#include "values/value_stream.h"

namespace KilnNodeWrapper {
namespace {

using compat::Intercepted;
using compat::InterceptorCall;
using KilnValuesNodeWrapper::PropertyStore;
using KilnValuesNodeWrapper::ReturnShortValue;
using KilnValuesNodeWrapper::Stored;
using KilnValuesNodeWrapper::TimeDirect;
using KilnValuesNodeWrapper::TimeOmitted;
using KilnValuesNodeWrapper::ValueReader;

// False for an unknown property, and when the value can't be made.
bool ReadProperty(v8::Local<v8::Object> object, const LivePlugin& plugin, const char* name, double time,
                  v8::ReturnValue<v8::Value> result) {
  uint32_t* stream = nullptr;
  int32_t size = 0;
  sdk.Kiln_getPropertyByteArrayByID(plugin.renderer, plugin.id, name, &stream, &size, time);
  if (!stream) return false;
  const SdkBlock<uint32_t> block(stream);
  Environment& environment = plugin.record->environment();
  if (ReturnShortValue(environment, stream, size, result)) return true;
  v8::Local<v8::Value> value;
  if (!ValueReader(environment, RendererObjectOf(object), stream, size).read().ToLocal(&value)) return false;
  result.Set(value);
  return true;
}

// A member's name stays reachable because the SDK knows no property of that name; where it does, the property
// hides the member.
Intercepted GetProperty(v8::Local<v8::Name> key, const InterceptorCall& call,
                        v8::ReturnValue<v8::Value> result) {
  const LivePlugin plugin(call.holder);
  if (!plugin) return Intercepted::kNo;
  const KeyText name = KeyText::OfKey(call.isolate, plugin.record->environment().property_names, key);
  return ReadProperty(call.holder, plugin, name.c_str(), TimeDirect, result) ? Intercepted::kYes
                                                                             : Intercepted::kNo;
}

// Takes every assignment over, so that nothing is ever stored on the object.
Intercepted SetProperty(v8::Local<v8::Name> key, v8::Local<v8::Value> value, const InterceptorCall& call) {
  const LivePlugin plugin(call.holder);
  if (!plugin) return Intercepted::kYes;
  Environment& environment = plugin.record->environment();
  const KeyText name = KeyText::OfKey(call.isolate, environment.property_names, key);
  PropertyStore(environment, *plugin.record, {plugin.id}, name.c_str(), value, TimeDirect);
  return Intercepted::kYes;
}

bool ListProperties(const InterceptorCall& call, v8::Local<v8::Array>* names) {
  const LivePlugin plugin(call.holder);
  if (!plugin) return false;
  return SdkStrings(sdk.Kiln_KilnRenderer_getPropertyNamesByID(plugin.renderer, plugin.id))
      .ToArray(call.isolate)
      .ToLocal(names);
}

double TimeOf(const Arguments& info, int index) {
  return info[index]->IsNumber() ? info[index].As<v8::Number>()->Value() : TimeOmitted;
}

// Runs body(plugin, name) with argument 0 as a name, for a plugin that is alive after the conversion too.
template <class Body>
void WithName(const Arguments& info, Body&& body) {
  if (!LivePlugin(info.This()) || info.Length() < 1) return;
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::String> argument;
  if (!info[0]->ToString(isolate->GetCurrentContext()).ToLocal(&argument)) return;
  const LivePlugin plugin(info.This());
  if (!plugin) return;
  const KeyText name = KeyText::OfArgument(isolate, EnvironmentOf(info).property_names, argument);
  body(plugin, name.c_str());
}

}  // namespace

v8::NamedPropertyHandlerConfiguration PluginProperties(v8::Local<v8::External> external) {
  // By name: newer V8 has the constructor explicit.
  return v8::NamedPropertyHandlerConfiguration(
      compat::OnNamedRead<GetProperty>, compat::OnNamedSet<SetProperty>, nullptr, nullptr,
      compat::OnNamedEnumerate<ListProperties>, external, v8::PropertyHandlerFlags::kOnlyInterceptStrings);
}

void GetPropertyValue(const Arguments& info) {
  WithName(info, [&info](const LivePlugin& plugin, const char* name) {
    ReadProperty(info.This(), plugin, name, TimeOf(info, 1), info.GetReturnValue());
  });
}

void SetPropertyValue(const Arguments& info) {
  if (!LivePlugin(info.This())) return info.GetReturnValue().Set(false);
  if (info.Length() < 2) return;
  // Also for a plugin that the name's conversion, or an exception, puts an end to.
  info.GetReturnValue().Set(false);
  WithName(info, [&info](const LivePlugin& plugin, const char* name) {
    const Stored stored =
        PropertyStore(EnvironmentOf(info), *plugin.record, {plugin.id}, name, info[1], TimeOf(info, 2));
    info.GetReturnValue().Set(stored == Stored::kYes);
  });
}

void GetPropertyValueAsString(const Arguments& info) {
  WithName(info, [&info](const LivePlugin& plugin, const char* name) {
    const SdkBlock<char> text(
        sdk.Kiln_KilnRenderer_getPropertyValueByID(plugin.renderer, plugin.id, name, TimeDirect));
    ReturnText(info, text ? text.get() : "");
  });
}

void GetPropertyValueAsBinaryBuffer(const Arguments& info) {
  WithName(info, [&info](const LivePlugin& plugin, const char* name) {
    uint32_t* stream = nullptr;
    int32_t size = 0;
    sdk.Kiln_getPropertyByteArrayByID(plugin.renderer, plugin.id, name, &stream, &size, TimeDirect);
    v8::Local<v8::Object> buffer;
    if (!stream) return;
    if (AdoptBlockAsBuffer(info.GetIsolate(), stream, size < 0 ? 0 : size).ToLocal(&buffer)) {
      info.GetReturnValue().Set(buffer);
    }
  });
}

void IsPropertyAnimated(const Arguments& info) {
  WithName(info, [&info](const LivePlugin& plugin, const char* name) {
    if (!sdk.Kiln_KilnRenderer_propertyExistsByID(plugin.renderer, plugin.id, name)) return;
    info.GetReturnValue().Set(
        sdk.Kiln_KilnRenderer_isPropertyAnimatedByID(plugin.renderer, plugin.id, name) != 0);
  });
}

void GetPropertyKeyframeTimes(const Arguments& info) {
  if (!LivePlugin(info.This())) return;
  if (info.Length() < 1) {
    return ThrowError(info.GetIsolate(), "Argument 0 (propertyName) should be passed");
  }
  WithName(info, [&info](const LivePlugin& plugin, const char* name) {
    double* times = nullptr;
    const int32_t count =
        sdk.Kiln_KilnRenderer_getPropertyKeyframeTimesByID(plugin.renderer, plugin.id, name, &times);
    SdkBlock<double> block(times);
    if (count < 0) return;
    const size_t length = times ? count : 0;
    v8::Local<v8::ArrayBuffer> buffer;
    if (AdoptBlock(info.GetIsolate(), block.release(), length * sizeof(double)).ToLocal(&buffer)) {
      info.GetReturnValue().Set(v8::Float64Array::New(buffer, 0, length));
    }
  });
}

}  // namespace KilnNodeWrapper
