// What changed between V8 9.4 (Node.js 16) and V8 14.6 (Node.js 26), as named functions with the reason for
// each. Features are detected, not versions, because a host's V8 can differ from Node's at the same major;
// the version tests that are left stand here and nowhere else.
#pragma once

#include <node.h>
#include <node_buffer.h>
#include <uv.h>
#include <v8.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

#define KILN_V8_AT_LEAST(major, minor) \
  (V8_MAJOR_VERSION > (major) || (V8_MAJOR_VERSION == (major) && V8_MINOR_VERSION >= (minor)))

namespace KilnNodeWrapper::compat {

// External memory under an ArrayBuffer is forbidden where V8 runs with its sandbox.
#if defined(V8_ENABLE_SANDBOX) || defined(KILN_COPY_BUFFERS)
inline constexpr bool kAdoptsMemory = false;
#else
inline constexpr bool kAdoptsMemory = true;
#endif

// A native accessor's setter is told its return type since V8 14.8; the typedef knows.
template <class Callback>
struct SetterInfo;
template <class Result, class Name, class Value, class Info>
struct SetterInfo<Result (*)(Name, Value, const Info&)> {
  using Type = Info;
};
using AccessorSetterInfo = SetterInfo<v8::AccessorNameSetterCallback>::Type;
using AccessorGetterInfo = v8::PropertyCallbackInfo<v8::Value>;

// The object that carries the property: Holder(), HolderV2() from 13.x to 14.6, Holder() again from 14.7.
template <class Info>
v8::Local<v8::Object> Holder(const Info& info) {
#if !KILN_V8_AT_LEAST(14, 7)
  if constexpr (requires { info.HolderV2(); }) {
    return info.HolderV2();
  } else
#endif
  {
    return info.Holder();
  }
}

// --- Interceptors. Until V8 12.4 "a return value was set" meant handled; from then on the callback says so
// itself. The functions below are written once, against Intercepted, and adapted by the templates behind
// them.

#if KILN_V8_AT_LEAST(12, 4)
using Intercepted = v8::Intercepted;
using NamedGetterCallback = v8::NamedPropertyGetterCallback;
using NamedSetterCallback = v8::NamedPropertySetterCallback;
#else
enum class Intercepted : uint8_t { kNo, kYes };
using NamedGetterCallback = v8::GenericNamedPropertyGetterCallback;
using NamedSetterCallback = v8::GenericNamedPropertySetterCallback;
#endif

template <class Callback>
struct InterceptorSignature;
template <class Result, class Key, class Info>
struct InterceptorSignature<Result (*)(Key, const Info&)> {
  using ResultType = Result;
};
template <class Result, class Key, class Value, class Info>
struct InterceptorSignature<Result (*)(Key, Value, const Info&)> {
  using InfoType = Info;
};
using InterceptorResult = InterceptorSignature<NamedGetterCallback>::ResultType;
using InterceptorSetterInfo = InterceptorSignature<NamedSetterCallback>::InfoType;

// void, or the answer itself.
template <class Result = InterceptorResult>
Result Answer(Intercepted answer) {
  if constexpr (!std::is_void_v<Result>) return answer;
}

// What an interceptor is called with: the object that carries the handler, and the handler's data.
struct InterceptorCall {
  v8::Isolate* isolate;
  v8::Local<v8::Object> holder;
  v8::Local<v8::Value> data;
};
template <class Info>
InterceptorCall CallOf(const Info& info) {
  return {info.GetIsolate(), Holder(info), info.Data()};
}

using IndexedGetter = Intercepted (*)(uint32_t, const InterceptorCall&, v8::Local<v8::Value>* result);
using NamedGetter = Intercepted (*)(v8::Local<v8::Name>, const InterceptorCall&,
                                    v8::Local<v8::Value>* result);
using NamedSetter = Intercepted (*)(v8::Local<v8::Name>, v8::Local<v8::Value>, const InterceptorCall&);
using NamedDeleter = Intercepted (*)(v8::Local<v8::Name>, const InterceptorCall&, bool* deleted);
// False leaves the enumeration without a result.
using NamedEnumerator = bool (*)(const InterceptorCall&, v8::Local<v8::Array>* names);

template <auto kGetter, class Key>
InterceptorResult AdaptGetter(Key key, const v8::PropertyCallbackInfo<v8::Value>& info) {
  v8::Local<v8::Value> result;
  const Intercepted answer = kGetter(key, CallOf(info), &result);
  if (answer == Intercepted::kYes) {
    // A getter that threw has no result; V8 12.4 ends the process when a handled read leaves none.
    if (result.IsEmpty()) result = v8::Undefined(info.GetIsolate());
    info.GetReturnValue().Set(result);
  }
  return Answer(answer);
}
template <IndexedGetter kGetter>
InterceptorResult OnIndexedGet(uint32_t index, const v8::PropertyCallbackInfo<v8::Value>& info) {
  return AdaptGetter<kGetter>(index, info);
}
template <NamedGetter kGetter>
InterceptorResult OnNamedGet(v8::Local<v8::Name> name, const v8::PropertyCallbackInfo<v8::Value>& info) {
  return AdaptGetter<kGetter>(name, info);
}
// For reads whose every nanosecond counts: the callback sets its result itself, so that a number needs no
// handle. With kYes it has set one.
using NamedReader = Intercepted (*)(v8::Local<v8::Name>, const InterceptorCall&, v8::ReturnValue<v8::Value>);
template <NamedReader kReader>
InterceptorResult OnNamedRead(v8::Local<v8::Name> name, const v8::PropertyCallbackInfo<v8::Value>& info) {
  return Answer(kReader(name, CallOf(info), info.GetReturnValue()));
}
template <NamedSetter kSetter>
InterceptorResult OnNamedSet(v8::Local<v8::Name> name, v8::Local<v8::Value> value,
                             const InterceptorSetterInfo& info) {
  const Intercepted answer = kSetter(name, value, CallOf(info));
  if constexpr (std::is_void_v<InterceptorResult>) {
    if (answer == Intercepted::kYes) info.GetReturnValue().Set(value);
  }
  return Answer(answer);
}
template <NamedDeleter kDeleter>
InterceptorResult OnNamedDelete(v8::Local<v8::Name> name, const v8::PropertyCallbackInfo<v8::Boolean>& info) {
  bool deleted = false;
  const Intercepted answer = kDeleter(name, CallOf(info), &deleted);
  if (answer == Intercepted::kYes) info.GetReturnValue().Set(deleted);
  return Answer(answer);
}
template <NamedEnumerator kEnumerator>
void OnNamedEnumerate(const v8::PropertyCallbackInfo<v8::Array>& info) {
  v8::Local<v8::Array> names;
  if (kEnumerator(CallOf(info), &names)) info.GetReturnValue().Set(names);
}

// Aligned pointers in internal fields carry a type tag from V8 14.2 on.
template <class Object>
void SetPointer(Object object, int field, void* pointer) {
  if constexpr (requires { object->SetAlignedPointerInInternalField(field, pointer, uint16_t{}); }) {
    object->SetAlignedPointerInInternalField(field, pointer, uint16_t{});
  } else {
    object->SetAlignedPointerInInternalField(field, pointer);
  }
}
template <class Object>
[[gnu::always_inline]] inline void* GetPointer(Object object, int field) {
  if constexpr (requires { object->GetAlignedPointerFromInternalField(field, uint16_t{}); }) {
    return object->GetAlignedPointerFromInternalField(field, uint16_t{});
  } else {
    return object->GetAlignedPointerFromInternalField(field);
  }
}

// The slots of an object's internal fields in memory, which V8's own inline readers look at, for classes
// whose fields are read and written by the dozen; null where they are not plain words. A caller makes sure
// once that the slots show what it wrote through the API.
template <class Layout = v8::internal::Internals>
[[gnu::always_inline]] inline uintptr_t* FieldSlots(v8::Local<v8::Object> object) {
#if defined(V8_ENABLE_CHECKS) || defined(V8_COMPRESS_POINTERS) || defined(V8_ENABLE_SANDBOX) || \
    defined(V8_ENABLE_DIRECT_HANDLE)
  (void)object;
  return nullptr;
#else
  const auto address =
      *reinterpret_cast<const v8::internal::Address*>(*object) - v8::internal::kHeapObjectTag;
  if constexpr (requires { Layout::kJSAPIObjectWithEmbedderSlotsHeaderSize; }) {
    return reinterpret_cast<uintptr_t*>(address + Layout::kJSAPIObjectWithEmbedderSlotsHeaderSize);
  } else {
    return reinterpret_cast<uintptr_t*>(address + Layout::kJSObjectHeaderSize);
  }
#endif
}

// The handle of a Global that is not weak and stays as it is during the call, without making another.
template <class T>
v8::Local<T> Strong(v8::Isolate* isolate, const v8::Global<T>& global) {
#if defined(V8_ENABLE_DIRECT_HANDLE)
  return global.Get(isolate);
#else
  (void)isolate;
  static_assert(sizeof(v8::Global<T>) == sizeof(v8::Local<T>));
  return *reinterpret_cast<const v8::Local<T>*>(&global);
#endif
}

// Another look at a Global's handle, which owns nothing and is as good as the Global.
template <class T>
class HandleView {
 public:
  HandleView() = default;
  explicit HandleView(const v8::Global<T>& global) {
    std::memcpy(bytes_, static_cast<const void*>(&global), sizeof(bytes_));
  }
  v8::Local<T> Get(v8::Isolate* isolate) const {
    return reinterpret_cast<const v8::Global<T>*>(bytes_)->Get(isolate);
  }

 private:
  alignas(v8::Global<T>) unsigned char bytes_[sizeof(v8::Global<T>)] = {};
};

// How many elements of four bytes a typed array may have.
template <class Array = v8::TypedArray>
constexpr size_t MaxListLength() {
  if constexpr (requires { Array::kMaxByteLength; }) {
    return Array::kMaxByteLength / 4;
  } else {
    return Array::kMaxLength;
  }
}

// A copy of an object with its internal fields.
template <class Object>
v8::Local<v8::Object> Clone(v8::Isolate* isolate, v8::Local<Object> object) {
  if constexpr (requires { object->Clone(isolate); }) {
    return object->Clone(isolate);
  } else {
    return object->Clone();
  }
}

// Externals carry the same kind of tag.
template <class External = v8::External>
v8::Local<v8::External> NewExternal(v8::Isolate* isolate, void* pointer) {
  if constexpr (requires { External::New(isolate, pointer, uint16_t{}); }) {
    return External::New(isolate, pointer, uint16_t{});
  } else {
    return External::New(isolate, pointer);
  }
}
template <class External = v8::External>
void* ExternalPointer(v8::Local<v8::Value> value) {
  v8::Local<External> external = value.As<External>();
  if constexpr (requires { external->Value(uint16_t{}); }) {
    return external->Value(uint16_t{});
  } else {
    return external->Value();
  }
}

// Internal fields hold Data since V8 12, Value before.
template <class Object>
v8::Local<v8::Value> GetField(Object object, int field) {
  return object->GetInternalField(field).template As<v8::Value>();
}

// SetPrototype was renamed for a while.
template <class Object>
v8::Maybe<bool> SetPrototype(v8::Local<v8::Context> context, Object object, v8::Local<v8::Value> prototype) {
  if constexpr (requires { object->SetPrototypeV2(context, prototype); }) {
    return object->SetPrototypeV2(context, prototype);
  } else {
    return object->SetPrototype(context, prototype);
  }
}
template <class Object>
v8::Local<v8::Value> GetPrototype(Object object) {
  if constexpr (requires { object->GetPrototypeV2(); }) {
    return object->GetPrototypeV2();
  } else {
    return object->GetPrototype();
  }
}

// The context that an object was made in; it takes the isolate since V8 12.
template <class Object = v8::Object>
v8::Local<v8::Context> CreationContext(v8::Isolate* isolate, v8::Local<Object> object) {
  if constexpr (requires { object->GetCreationContext(isolate); }) {
    return object->GetCreationContext(isolate).FromMaybe(isolate->GetCurrentContext());
  } else {
    return object->GetCreationContext().FromMaybe(isolate->GetCurrentContext());
  }
}

// Detach takes a key since V8 11. False when the buffer can't be detached.
template <class Buffer>
bool Detach(v8::Local<Buffer> buffer) {
  if (!buffer->IsDetachable()) return false;
  if constexpr (requires { buffer->Detach(v8::Local<v8::Value>()); }) {
    return buffer->Detach(v8::Local<v8::Value>()).FromMaybe(false);
  } else {
    buffer->Detach();
    return true;
  }
}

// The UTF-8 length in bytes, and the bytes without a terminator: the V2 names are the only ones from 14.x on.
// The class is a parameter so that the names which an older V8 lacks are looked up only where they exist.
template <class String = v8::String>
size_t Utf8Length(v8::Isolate* isolate, v8::Local<String> text) {
  if constexpr (requires { text->Utf8LengthV2(isolate); }) {
    return text->Utf8LengthV2(isolate);
  } else {
    return static_cast<size_t>(text->Utf8Length(isolate));
  }
}
// A lone surrogate is written as U+FFFD. Bytes written.
template <class String = v8::String>
size_t WriteUtf8(v8::Isolate* isolate, v8::Local<String> text, char* buffer, size_t capacity) {
  if constexpr (requires { String::WriteFlags::kReplaceInvalidUtf8; }) {
    return text->WriteUtf8V2(isolate, buffer, capacity, String::WriteFlags::kReplaceInvalidUtf8);
  } else {
    return static_cast<size_t>(text->WriteUtf8(isolate, buffer, static_cast<int>(capacity), nullptr,
                                               String::NO_NULL_TERMINATION | String::REPLACE_INVALID_UTF8));
  }
}

}  // namespace KilnNodeWrapper::compat
