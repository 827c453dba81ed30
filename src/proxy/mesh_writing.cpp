// Mesh files out of plugins, which the SDK reads itself, or out of plain objects with typed arrays.
#include <algorithm>
#include <memory>
#include <string_view>

#include "binding/error.h"
#include "binding/text.h"
#include "module/module.h"
#include "module/sdk_library.h"
#include "proxy/create_options.h"
#include "proxy/mesh_file_data.h"
#include "proxy/mesh_proxy.h"
#include "scene/plugin_fields.h"
#include "scene/plugin_wrappers.h"

namespace KilnNodeWrapper {
namespace {

constexpr char kRefusal[] =
    "Argument 0 (Either GeomStaticMesh/GeomMayaHair/GeomParticleSystem plugin or a MeshFileData container) "
    "and Argument 1 (path string) should be passed";
constexpr char kCombinedRefusal[] =
    "Argument 0 (Either GeomStaticMesh/GeomMayaHair/GeomParticleSystem plugin array, or a MeshFileData "
    "array) and Argument 1 (path string) should be passed";
constexpr char kEmptyRefusal[] =
    "Argument 0 must be a non-empty array of either GeomStaticMesh/GeomMayaHair/GeomParticleSystem plugins "
    "or MeshFileData instances";

constexpr std::string_view kClasses[] = {"GeomStaticMesh", "GeomMayaHair", "GeomParticleSystem"};

// The ID of a plugin whose geometry can be written; 0 for any other value.
KilnPluginId GeometryPluginOf(Environment& environment, v8::Local<v8::Value> value) {
  if (!isPlugin(environment, value)) return 0;
  const LivePlugin plugin(value.As<v8::Object>());
  if (!plugin || plugin.id == KILN_NO_PLUGIN) return 0;
  const char* type = sdk.Kiln_KilnRenderer_getPluginTypeByID(plugin.renderer, plugin.id);
  return type && std::count(std::begin(kClasses), std::end(kClasses), type) > 0 ? plugin.id : 0;
}

// The objects of a file, in their order.
class MeshObjects {
 public:
  explicit MeshObjects(Environment& environment) : environment_(environment) {}

  void Add(v8::Local<v8::Value> value) {
    v8::Isolate* isolate = environment_.isolate();
    v8::Local<v8::Context> context = isolate->GetCurrentContext();
    v8::Local<v8::Object> object;
    ids_.push_back(GeometryPluginOf(environment_, value));
    std::unique_ptr<MeshFileData>& data = data_.emplace_back();
    if (ids_.back() != 0) {
      if (plugin_.IsEmpty()) plugin_.Reset(isolate, value.As<v8::Object>());
    } else if (!value->IsNullOrUndefined() && value->ToObject(context).ToLocal(&object)) {
      data = std::make_unique<MeshFileData>();
      data->Take(context, object);
    }
  }

  // One plugin is enough for the renderer's form, which knows nothing of plain objects.
  bool Write(MeshCreateOptions& options) {
    return plugin_.IsEmpty() ? WriteData(options) : WritePlugins(options);
  }

 private:
  int32_t count() const { return static_cast<int32_t>(ids_.size()); }

  bool WritePlugins(MeshCreateOptions& options) {
    v8::Isolate* isolate = environment_.isolate();
    // Only now: a getter may have closed the renderer.
    const LivePlugin plugin(plugin_.Get(isolate));
    return plugin.renderer && sdk.Kiln_KilnRenderer_createProxyFile(
                                  plugin.renderer, 0, count(), ids_.data(), options.transforms(),
                                  options.Animations(), options.Params(isolate)) == 0;
  }

  bool WriteData(MeshCreateOptions& options) {
    v8::Isolate* isolate = environment_.isolate();
    v8::Local<v8::Context> context = isolate->GetCurrentContext();
    for (const auto& data : data_) {
      if (!data || !data->Convert(context)) return false;
    }
    // From here on no JavaScript runs that could move or shrink an array. A getter may have let the library
    // go.
    if (!EnsureBound(isolate)) return false;
    std::vector<const ProxyMeshData*> records;
    for (const auto& data : data_) {
      if (!data->Point(isolate)) return false;
      records.push_back(data->Record());
    }
    return sdk.Kiln_ProxyCommon_createProxyFile(records.data(), 0, count(), options.transforms(),
                                                options.Animations(), options.Params(isolate)) == 0;
  }

  Environment& environment_;
  v8::Global<v8::Object> plugin_;  // the first one, whose renderer writes the file
  std::vector<KilnPluginId> ids_;
  std::vector<std::unique_ptr<MeshFileData>> data_;
};

}  // namespace

void CreateMeshFile(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  if (!EnsureBound(isolate)) return;
  if (info[0]->IsNullOrUndefined() || !info[1]->IsString()) return ThrowError(isolate, kRefusal);
  MeshObjects objects(EnvironmentOf(info));
  objects.Add(info[0]);
  MeshCreateOptions options(StringOf(isolate, info[1].As<v8::String>()), 1);
  if (info[2]->IsObject() && !options.ReadForOne(context, info[2].As<v8::Object>())) return;
  info.GetReturnValue().Set(objects.Write(options));
}

void CreateCombinedMeshFile(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  if (!EnsureBound(isolate)) return;
  if (!info[0]->IsArray() || !info[1]->IsString()) return ThrowError(isolate, kCombinedRefusal);
  v8::Local<v8::Array> sources = info[0].As<v8::Array>();
  const uint32_t count = sources->Length();
  if (count == 0) return ThrowError(isolate, kEmptyRefusal);
  if (count > kMaxEntries) return info.GetReturnValue().Set(false);
  MeshObjects objects(EnvironmentOf(info));
  const auto add = [&](uint32_t, v8::Local<v8::Value> source) {
    objects.Add(source);
    return true;
  };
  if (!EachElement(context, sources, count, add)) return;
  MeshCreateOptions options(StringOf(isolate, info[1].As<v8::String>()), count);
  if (info[2]->IsObject() && !options.ReadForMany(context, info[2].As<v8::Object>())) return;
  info.GetReturnValue().Set(objects.Write(options));
}

}  // namespace KilnNodeWrapper
