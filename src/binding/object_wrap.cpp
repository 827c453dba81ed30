#include "binding/object_wrap.h"

namespace KilnNodeWrapper {

ObjectWrap::ObjectWrap(Environment& environment, v8::Local<v8::Object> object)
    : environment_(environment), self_(environment.isolate(), object) {
  compat::SetPointer(object, 0, this);
  self_.SetWeak(
      this, [](const v8::WeakCallbackInfo<ObjectWrap>& info) { info.GetParameter()->Release(); },
      v8::WeakCallbackType::kParameter);
  environment_.Add(this);
}

ObjectWrap::~ObjectWrap() {
  environment_.Remove(this);
}

}  // namespace KilnNodeWrapper
