// How a mesh file is written, out of an options object, and what each of its objects is called and where it
// stands.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "binding/option_reader.h"
#include "proxy/animated_transforms.h"

namespace KilnNodeWrapper {

class MeshCreateOptions {
 public:
  MeshCreateOptions(std::string path, size_t objects);

  // Reads the keys of a file of one object, or of several. False when nothing must be written; nothing stays
  // pending. JavaScript thread.
  bool ReadForOne(v8::Local<v8::Context> context, v8::Local<v8::Object> options);
  bool ReadForMany(v8::Local<v8::Context> context, v8::Local<v8::Object> options);

  // What the SDK takes. To be asked for when no JavaScript runs any more, and valid until it does.
  const ProxyCreateParams* Params(v8::Isolate* isolate);
  const ProxyTransform* transforms() const { return transforms_.empty() ? nullptr : transforms_.data(); }
  // A block per object, or null.
  const AnimatedTransforms* const* Animations();

 private:
  static constexpr size_t kLists = 3;

  void ReadCommon(OptionReader& keys);
  bool ReadCommonKey(OptionReader& keys, size_t key);
  bool ReadNames(OptionReader& keys);
  bool ReadIds(OptionReader& keys);
  bool ReadTransforms(OptionReader& keys);
  bool ReadTracks(OptionReader& keys);
  // An array under the key with an element per object; left empty for any other value. False when it could
  // not be read.
  bool ArrayPerObject(OptionReader& keys, const char* key, v8::Local<v8::Array>* array) const;

  size_t objects_;
  std::string path_;
  std::string preview_file_;
  std::string names_;
  std::vector<int32_t> ids_;
  std::vector<ProxyTransform> transforms_;
  std::vector<TransformTrack> tracks_;
  std::vector<const AnimatedTransforms*> blocks_;
  std::array<v8::Global<v8::TypedArray>, kLists> lists_;
  bool has_preview_file_ = false;
  bool has_names_ = false;
  ProxyCreateParams params_{};
};

}  // namespace KilnNodeWrapper
