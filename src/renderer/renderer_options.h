// The options record of a renderer: from a JavaScript object, and back.
#pragma once

#include <string>

#include "binding/members.h"
#include "renderer.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

// A record with the texts that it points to. The SDK keeps no pointer into it after create has returned.
class RendererOptions {
 public:
  // Every key that the object has, own or inherited; one that can't be read leaves its field alone.
  void Fill(v8::Local<v8::Context> context, v8::Local<v8::Object> object);
  // The record; valid as long as this object is and is not filled again.
  const KilnRendererOptions* Record();

 private:
  std::string plugin_library_path_;
  std::string kvw_language_;
  bool has_plugin_library_path_ = false;
  bool has_kvw_language_ = false;
  KilnRendererOptions record_{.pluginLibraryPath = nullptr,
                              .kvwDrawStyle = 0,
                              .flags = KILN_RENDERER_DEFAULT_FLAGS,
                              .reserved = 0,
                              .kvwLanguage = nullptr};
};

// The accessor `options`.
void GetOptions(v8::Local<v8::Name>, const GetterInfo& info);

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
