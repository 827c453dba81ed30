// The previews of a mesh file: a few arrays, which the SDK allocates.
#include "binding/error.h"
#include "binding/object_builder.h"
#include "binding/sdk_memory.h"
#include "module/module.h"
#include "module/sdk_library.h"
#include "proxy/mesh_proxy.h"
#include "proxy/mesh_source.h"
#include "values/typed_lists.h"

namespace KilnNodeWrapper {
namespace {

using KilnValuesNodeWrapper::ListKind;
using KilnValuesNodeWrapper::SetListPrototype;

constexpr char kRefusal[] =
    "Argument 0 must be a GeomMeshFile plugin or a ProxyReadParams object. The optional argument 1 is a "
    "count hint";

// What a preview holds: vectors in its first array, ints in its second.
struct Preview {
  int32_t kind;
  const char* vectors;
  const char* ints;  // null: there is none
  size_t ints_each;
};
constexpr Preview kGeometry = {0, "vertices", "indices", 3};
constexpr Preview kHair = {1, "vertices", "lengths", 1};
constexpr Preview kParticles = {2, "positions", nullptr, 0};

struct PreviewArrays {
  void* first = nullptr;
  void* second = nullptr;
  int32_t first_count = 0;
  int32_t second_count = 0;
};

bool Ask(MeshSource& source, const Preview& preview, int32_t hint, PreviewArrays* arrays) {
  void** second = preview.ints ? &arrays->second : nullptr;
  int32_t* second_count = preview.ints ? &arrays->second_count : nullptr;
  if (source.is_plugin()) {
    return sdk.Kiln_KilnRenderer_readProxyPreview(source.renderer, preview.kind, source.plugin,
                                                  &arrays->first, second, &arrays->first_count, second_count,
                                                  hint) != 0;
  }
  return sdk.Kiln_ProxyCommon_readProxyPreview(source.params.Record(), preview.kind, &arrays->first, second,
                                               &arrays->first_count, second_count, hint) != 0;
}

template <class List>
bool AddList(Environment& environment, ObjectBuilder& object, const char* key, ListKind kind, void* block,
             size_t elements) {
  v8::Local<v8::ArrayBuffer> memory;
  if (!block) elements = 0;
  if (!AdoptBlock(environment.isolate(), block, elements * 4).ToLocal(&memory)) return false;
  v8::Local<v8::Object> list = List::New(memory, 0, elements);
  SetListPrototype(environment, list, kind);
  object.Value(key, list);
  return true;
}

void ReadPreview(const Arguments& info, const Preview& preview) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  Environment& environment = EnvironmentOf(info);
  if (!EnsureBound(isolate)) return;
  if (info[0]->IsNullOrUndefined()) return ThrowError(isolate, kRefusal);
  v8::Local<v8::Object> object;
  int32_t hint = 0;
  if (!info[0]->ToObject(context).ToLocal(&object)) return ThrowError(isolate, kRefusal);
  if (info[1]->IsNumber() && !info[1]->Int32Value(context).To(&hint)) return;
  MeshSource source = ReadMeshSource(environment, object);
  PreviewArrays arrays;
  const bool read = Ask(source, preview, hint, &arrays);
  if (!read || arrays.first_count < 0 || arrays.second_count < 0) {
    ReleaseBlock(arrays.first);
    ReleaseBlock(arrays.second);
    return ThrowError(isolate, kRefusal);
  }
  ObjectBuilder result(isolate);
  const bool made = AddList<v8::Float32Array>(environment, result, preview.vectors, ListKind::kVector,
                                              arrays.first, size_t{3} * arrays.first_count);
  if (!preview.ints) {
    if (made) result.Return(info);
  } else if (AddList<v8::Int32Array>(environment, result, preview.ints, ListKind::kInt, arrays.second,
                                     preview.ints_each * arrays.second_count) &&
             made) {
    result.Return(info);
  }
}

}  // namespace

void ReadPreviewGeometry(const Arguments& info) {
  ReadPreview(info, kGeometry);
}
void ReadPreviewHair(const Arguments& info) {
  ReadPreview(info, kHair);
}
void ReadPreviewParticles(const Arguments& info) {
  ReadPreview(info, kParticles);
}

}  // namespace KilnNodeWrapper
