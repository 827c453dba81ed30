// How a mesh file is named and read, and which of its data are asked for, out of plain objects.
#pragma once

#include <string>

#include "binding/environment.h"
#include "proxy.h"

namespace KilnNodeWrapper {

class MeshReadParams {
 public:
  // Reads the keys, which count in any case. A text that can't be converted ends the reading, a number keeps
  // its default; nothing stays pending. JavaScript thread.
  void Fill(v8::Local<v8::Context> context, v8::Local<v8::Object> object);
  // Valid as long as the params live and are not filled again. Any thread.
  const ProxyReadParams* Record();

 private:
  struct OwnText {
    std::string text;
    bool given = false;
  };
  static ProxyReadParams Defaults();

  ProxyReadParams record_ = Defaults();
  OwnText file_;
  OwnText object_path_;
};

// ProxyDataFlags after the keys of an object, which count in any case: each sets or clears its own of the
// given flags, and `all` stands for every one.
uint32_t ReadMeshFlags(v8::Local<v8::Context> context, v8::Local<v8::Object> object, uint32_t flags);

}  // namespace KilnNodeWrapper
