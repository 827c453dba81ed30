// A mesh file as scripts name it: a plugin of the class GeomMeshFile, or an object with the file's name.
#pragma once

#include "binding/environment.h"
#include "proxy/read_params.h"
#include "values.h"

namespace KilnNodeWrapper {

struct MeshSource {
  // The plugin; without one the params count.
  KilnRendererHandle renderer = nullptr;
  KilnPluginId plugin = 0;
  MeshReadParams params;

  bool is_plugin() const { return renderer && plugin != 0; }
};

// Any object; what is no such plugin of an open renderer is read by its keys. JavaScript thread.
MeshSource ReadMeshSource(Environment& environment, v8::Local<v8::Object> object);
// Whether the value is a GeomMeshFile of an open renderer.
bool IsMeshFilePlugin(Environment& environment, v8::Local<v8::Value> value);

}  // namespace KilnNodeWrapper
