#include "proxy/animated_transforms.h"

#include <algorithm>
#include <bit>

#include "binding/key_walk.h"
#include "binding/text.h"
#include "proxy/mesh_columns.h"
#include "values/value_objects.h"

namespace KilnNodeWrapper {

bool ReadProxyTransform(v8::Local<v8::Value> value, ProxyTransform* transform) {
  KilnValuesNodeWrapper::Transform wide;
  if (!KilnValuesNodeWrapper::ReadValue(value, &wide)) return false;
  const auto doubles = std::bit_cast<std::array<double, 12>>(wide);
  std::array<float, 12> floats;
  std::transform(doubles.begin(), doubles.end(), floats.begin(),
                 [](double number) { return static_cast<float>(number); });
  *transform = std::bit_cast<ProxyTransform>(floats);
  return true;
}

bool TransformTrack::Read(v8::Local<v8::Context> context, v8::Local<v8::Value> value) {
  v8::Local<v8::Object> object;
  if (!value->ToObject(context).ToLocal(&object)) return false;
  const auto add_transform = [&](uint32_t, v8::Local<v8::Value> element) {
    ProxyTransform transform;
    if (ReadProxyTransform(element, &transform)) transforms_.push_back(transform);
    return true;
  };
  const auto add_key_frame = [&](uint32_t, v8::Local<v8::Value> element) {
    if (element->IsNumber()) key_frames_.push_back(element->Int32Value(context).FromMaybe(0));
    return true;
  };
  return WalkKeys(context, object, Unreadable::kEndsTheWalk,
                  [&](std::string_view name, v8::Local<v8::Value> list) {
                    if (!list->IsArray()) return true;
                    v8::Local<v8::Array> array = list.As<v8::Array>();
                    if (EqualsIgnoringCase(name, "transforms")) {
                      return EachElement(context, array, array->Length(), add_transform);
                    }
                    return !EqualsIgnoringCase(name, "keyFrames") ||
                           EachElement(context, array, array->Length(), add_key_frame);
                  });
}

const AnimatedTransforms* TransformTrack::Block() {
  block_ = {};
  if (!transforms_.empty() && transforms_.size() == key_frames_.size()) {
    block_.transforms = transforms_.data();
    block_.key_frames = key_frames_.data();
    block_.count = static_cast<int32_t>(transforms_.size());
  }
  return &block_;
}

}  // namespace KilnNodeWrapper
