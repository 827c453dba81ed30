#include "binding/key_walk.h"

#include "binding/text.h"

namespace KilnNodeWrapper {

bool WalkKeys(v8::Local<v8::Context> context, v8::Local<v8::Object> object, Unreadable unreadable,
              const KeyVisitor& visitor) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::TryCatch try_catch(isolate);
  v8::Local<v8::Array> names;
  if (!object->GetPropertyNames(context).ToLocal(&names)) return false;
  for (uint32_t i = 0; i < names->Length(); i++) {
    v8::HandleScope scope(isolate);
    v8::Local<v8::Value> name;
    v8::Local<v8::Value> value;
    Text key;
    if (!names->Get(context, i).ToLocal(&name) || !object->Get(context, name).ToLocal(&value) ||
        !key.Read(context, name)) {
      if (unreadable == Unreadable::kEndsTheWalk) return false;
    } else if (!value->IsUndefined() && !visitor(key.view(), value)) {
      return false;
    }
  }
  return true;
}

}  // namespace KilnNodeWrapper
