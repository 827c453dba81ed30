// A whole mesh file in two steps: the SDK tells the sizes, and then fills the arrays that it is given.
#include <optional>

#include "binding/async_job.h"
#include "binding/error.h"
#include "module/module.h"
#include "module/sdk_library.h"
#include "proxy/mesh_content.h"
#include "proxy/mesh_proxy.h"
#include "proxy/mesh_source.h"
#include "scene/plugin_fields.h"
#include "scene/plugin_wrappers.h"

namespace KilnNodeWrapper {
namespace {

constexpr char kSyncRefusal[] =
    "Argument 0, GeomMeshFile plugin or ProxyReadParams object, and optionally Argument 1, an object "
    "containing the boolean flags 'vertices', 'normals', 'mtlIDs', 'velocities', 'UVs', 'shaders', "
    "'objectInfos', 'hairObjectInfos', 'particleObjectInfos', 'hair', 'particles', 'geometryVoxelsBBoxes', "
    "'hairVoxelsBBoxes', 'particleVoxelsBBoxes' or 'all' should be passed. If Argument 1 is missing, all is "
    "assumed.";
constexpr char kAsyncRefusal[] =
    "A GeomMeshFile plugin or a ProxyReadParams struct, optionally an object containing the boolean flags "
    "'vertices', 'normals', 'mtlIDs', 'velocities', 'UVs', 'shaders' or 'all' and a callback function should "
    "be passed. If flags object is missing, all is assumed.";

// The only kind of preview that the record's form has.
constexpr int32_t kPreviewKind = 1;

enum class Extent : uint8_t { kFull, kPreview };

bool Prepare(MeshSource& source, Extent extent, ProxyDataRecord* record, uint64_t* token) {
  const ProxyReadParams* params = source.params.Record();
  if (extent == Extent::kFull) {
    return (source.is_plugin()
                ? sdk.Kiln_KilnRenderer_readProxyFullPrepare(source.renderer, source.plugin, record, token)
                : sdk.Kiln_ProxyCommon_readProxyFullPrepare(params, record, token)) != 0;
  }
  return (source.is_plugin()
              ? sdk.Kiln_KilnRenderer_readProxyPrepare(source.renderer, source.plugin, kPreviewKind, record,
                                                       token)
              : sdk.Kiln_ProxyCommon_readProxyPrepare(params, kPreviewKind, record, token)) != 0;
}

bool Finalize(const MeshSource& source, Extent extent, ProxyDataRecord* record, uint64_t token) {
  if (extent == Extent::kFull) {
    return (source.is_plugin() ? sdk.Kiln_KilnRenderer_readProxyFullFinalize(source.renderer, record, token)
                               : sdk.Kiln_ProxyCommon_readProxyFullFinalize(record, token)) != 0;
  }
  return (source.is_plugin()
              ? sdk.Kiln_KilnRenderer_readProxyFinalize(source.renderer, kPreviewKind, record, token)
              : sdk.Kiln_ProxyCommon_readProxyFinalize(kPreviewKind, record, token)) != 0;
}

struct ReadMesh {
  MeshSource source;
  MeshContent content;
  Extent extent = Extent::kFull;
  bool provided = false;
  bool filled = false;

  void Run() {
    uint64_t token = 0;
    if (!Prepare(source, extent, content.record(), &token)) return;
    provided = content.Provide();
    filled = provided && Finalize(source, extent, content.record(), token);
  }

  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    v8::Isolate* isolate = environment.isolate();
    if (!filled) {
      return MakeError(isolate, "Error reading proxy full data.").ToLocal(&arguments[0]) ? 1 : kNoCall;
    }
    v8::Local<v8::Object> object;
    if (!content.MakeObject(environment, true).ToLocal(&object)) return kNoCall;
    arguments[0] = v8::Null(isolate);
    arguments[1] = object;
    return 2;
  }
};

// The object comes in any case: empty when the sizes can't be had, without names when the arrays can't be
// filled.
void ReadNow(const Arguments& info, Extent extent) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  Environment& environment = EnvironmentOf(info);
  if (!EnsureBound(isolate)) return;
  v8::Local<v8::Object> source;
  v8::Local<v8::Object> wanted;
  if (info[0]->IsNullOrUndefined() || !info[0]->ToObject(context).ToLocal(&source)) {
    return ThrowError(isolate, kSyncRefusal);
  }
  uint32_t flags = KILN_PROXY_ALL;
  if (!info[1]->IsNullOrUndefined() && info[1]->ToObject(context).ToLocal(&wanted)) {
    flags = ReadMeshFlags(context, wanted, 0);
  }
  ReadMesh operation{ReadMeshSource(environment, source), MeshContent(flags), extent};
  operation.Run();
  v8::Local<v8::Object> object = v8::Object::New(isolate);
  if (!operation.provided || operation.content.MakeObject(environment, operation.filled).ToLocal(&object)) {
    info.GetReturnValue().Set(object);
  }
}

// What the arguments of the job form come to. One object may hold the file's name and the flags.
struct Request {
  v8::Local<v8::Function> callback{};
  v8::Local<v8::Object> receiver{};
  MeshSource source{};
  uint32_t flags = 0;

  void Take(Environment& environment, v8::Local<v8::Value> value) {
    v8::Isolate* isolate = environment.isolate();
    v8::Local<v8::Context> context = isolate->GetCurrentContext();
    v8::Local<v8::Object> object;
    if (value->IsFunction()) {
      callback = value.As<v8::Function>();
    } else if (isPlugin(environment, value)) {
      if (!IsMeshFilePlugin(environment, value)) return;
      const LivePlugin plugin(value.As<v8::Object>());
      source.renderer = plugin.renderer;
      source.plugin = plugin.id;
      receiver = RendererObjectOf(value.As<v8::Object>());
    } else if (!value->IsNullOrUndefined() && value->ToObject(context).ToLocal(&object)) {
      source.params.Fill(context, object);
      flags = ReadMeshFlags(context, object, flags);
      receiver = object;
    }
  }
  bool complete() const { return !callback.IsEmpty() && !receiver.IsEmpty(); }
};

}  // namespace

void ReadPreviewData(const Arguments& info) {
  ReadNow(info, Extent::kPreview);
}
void ReadFullDataSync(const Arguments& info) {
  ReadNow(info, Extent::kFull);
}

void ReadFullData(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  Environment& environment = EnvironmentOf(info);
  if (!EnsureBound(isolate)) return;
  Request request;
  for (int i = 0; i < info.Length(); i++) request.Take(environment, info[i]);
  if (!request.complete()) return ThrowError(isolate, kAsyncRefusal);
  const uint32_t flags = info.Length() == 2 ? static_cast<uint32_t>(KILN_PROXY_ALL) : request.flags;
  auto* job = new JobOf<ReadMesh>(ReadMesh{std::move(request.source), MeshContent(flags)});
  QueueJob(job, environment, request.receiver, request.callback);
}

}  // namespace KilnNodeWrapper
