// Where an object of a mesh file stands, at one time or along key frames.
#pragma once

#include <vector>

#include "binding/environment.h"
#include "proxy.h"

namespace KilnNodeWrapper {

// A Transform's numbers, narrowed; false for any other value, which leaves the record as it was.
bool ReadProxyTransform(v8::Local<v8::Value> value, ProxyTransform* transform);

class TransformTrack {
 public:
  // Adds what stands in the arrays under `transforms` and `keyFrames`, keys in any case. False when something
  // could not be read; nothing stays pending. JavaScript thread.
  bool Read(v8::Local<v8::Context> context, v8::Local<v8::Value> value);
  // All zero unless there are as many key frames as transforms. Valid as long as the track stays where it is
  // and is not read again.
  const AnimatedTransforms* Block();

 private:
  std::vector<ProxyTransform> transforms_;
  std::vector<int32_t> key_frames_;
  AnimatedTransforms block_{};
};

}  // namespace KilnNodeWrapper
