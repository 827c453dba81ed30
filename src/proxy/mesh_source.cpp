#include "proxy/mesh_source.h"

#include "scene/plugin_fields.h"
#include "scene/plugin_wrappers.h"

namespace KilnNodeWrapper {

bool IsMeshFilePlugin(Environment& environment, v8::Local<v8::Value> value) {
  return isPluginOfClass(environment, value, "GeomMeshFile");
}

MeshSource ReadMeshSource(Environment& environment, v8::Local<v8::Object> object) {
  MeshSource source;
  if (IsMeshFilePlugin(environment, object)) {
    const LivePlugin plugin(object);
    source.renderer = plugin.renderer;
    source.plugin = plugin.id;
  } else {
    source.params.Fill(environment.isolate()->GetCurrentContext(), object);
  }
  return source;
}

}  // namespace KilnNodeWrapper
