#include "scene/snapshot_iterator.h"

#include "module/sdk_library.h"
#include "scene/scene_object.h"

namespace KilnNodeWrapper {
namespace {

const ClassTag kIteratorTag;
constexpr int kIteratorFields = 2;
constexpr int kSnapshotField = 0;  // and kRendererField

}  // namespace

Snapshot::Snapshot(Environment& environment, v8::Local<v8::Object> iterator, void* memory, int32_t count,
                   FreeFunction free)
    : count(count),
      environment_(environment),
      self_(environment.isolate(), iterator),
      memory_(memory),
      free_(free),
      generation_(SdkGeneration()) {
  self_.SetWeak(this, OnCollected, v8::WeakCallbackType::kParameter);
  environment_.Add(this);
}

bool Snapshot::is_valid() const {
  return SdkIsLoaded() && generation_ == SdkGeneration();
}

void Snapshot::Release() {
  if (memory_ && is_valid()) free_(memory_);
  environment_.Remove(this);
  delete this;
}

void Snapshot::OnCollected(const v8::WeakCallbackInfo<Snapshot>& info) {
  info.GetParameter()->self_.Reset();
  info.GetParameter()->Release();
}

v8::MaybeLocal<v8::Object> NewIterator(Environment& environment,
                                       v8::Global<v8::ObjectTemplate> ModuleContext::*kept, const char* name,
                                       v8::FunctionCallback next, v8::Local<v8::Object> renderer_object) {
  v8::Isolate* isolate = environment.isolate();
  v8::Global<v8::ObjectTemplate>& instances = environment.*kept;
  if (instances.IsEmpty()) {
    v8::Local<v8::FunctionTemplate> target =
        NewClass(isolate, environment.external(), name, nullptr, PhysicalFieldCount(kIteratorFields));
    definePrototypeMethod(isolate, environment.external(), target, {"next", next});
    instances.Reset(isolate, target->InstanceTemplate());
  }
  v8::Local<v8::Object> iterator;
  if (!instances.Get(isolate)->NewInstance(isolate->GetCurrentContext()).ToLocal(&iterator)) return {};
  SetClassTag(iterator, kIteratorTag);
  SetSnapshot(iterator, nullptr);
  SetObjectField(iterator, kRendererField, renderer_object);
  return iterator;
}

void SetSnapshot(v8::Local<v8::Object> iterator, Snapshot* snapshot) {
  SetPointerField(iterator, kSnapshotField, snapshot);
}

Snapshot* SnapshotOf(v8::Local<v8::Object> iterator) {
  if (!RecordOf(iterator)) return nullptr;
  return static_cast<Snapshot*>(GetPointerField(iterator, kSnapshotField));
}

void ReleaseSnapshot(v8::Local<v8::Object> iterator) {
  Snapshot* snapshot = SnapshotOf(iterator);
  SetSnapshot(iterator, nullptr);
  snapshot->Release();
}

void ReturnStep(const Arguments& info, v8::MaybeLocal<v8::Value> maybe_value) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Value> value;
  if (!maybe_value.ToLocal(&value)) {
    v8::Local<v8::Object> end = v8::Object::New(isolate);
    defineValue(isolate, end, "done", v8::True(isolate), v8::None);
    return info.GetReturnValue().Set(end);
  }
  v8::Global<v8::Object>& pristine = EnvironmentOf(info).pristine_step;
  if (pristine.IsEmpty()) {
    v8::Local<v8::Object> first = v8::Object::New(isolate);
    defineValue(isolate, first, "value", v8::Undefined(isolate), v8::None);
    defineValue(isolate, first, "done", v8::False(isolate), v8::None);
    pristine.Reset(isolate, first);
  }
  v8::Local<v8::Object> step = compat::Clone(isolate, pristine.Get(isolate));
  v8::Local<v8::String> key =
      v8::String::NewFromUtf8Literal(isolate, "value", v8::NewStringType::kInternalized);
  if (step->Set(isolate->GetCurrentContext(), key, value).FromMaybe(false)) info.GetReturnValue().Set(step);
}

bool DefineValues(Environment& environment, v8::Local<v8::Object> collection, v8::FunctionCallback values) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::String> name;
  v8::Local<v8::Function> function;
  if (!NewName(isolate, "values").ToLocal(&name) ||
      !v8::Function::New(context, values, environment.external()).ToLocal(&function)) {
    return false;
  }
  function->SetName(name);
  return collection->DefineOwnProperty(context, v8::Symbol::GetIterator(isolate), function, v8::DontEnum)
      .FromMaybe(false);
}

}  // namespace KilnNodeWrapper
