// The options that a KilnServer is created with.
#pragma once

#include <string>

#include "binding/environment.h"
#include "server.h"

namespace KilnNodeWrapper {

class ServerOptions {
 public:
  // Reads the keys that the object has; what can't be converted keeps its default, and nothing stays pending.
  // JavaScript thread.
  void Fill(v8::Local<v8::Context> context, v8::Local<v8::Object> object);
  // Valid as long as the options live and are not filled again. Any thread.
  const KilnServerOptions* Record();

 private:
  static KilnServerOptions Defaults();
  struct OwnText {
    std::string text;
    bool given = false;
    const char* c_str() const { return given ? text.c_str() : nullptr; }
  };
  static void ReadText(class OptionReader& keys, const char* key, OwnText* text);

  KilnServerOptions record_ = Defaults();
  OwnText remote_scene_path_;
  OwnText plugin_library_path_;
  OwnText include_paths_;
  OwnText http_proxy_;
};

}  // namespace KilnNodeWrapper
