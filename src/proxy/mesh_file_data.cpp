#include "proxy/mesh_file_data.h"

#include "binding/key_walk.h"
#include "binding/text.h"

namespace KilnNodeWrapper {
namespace {

using Mesh = ProxyMeshData;

enum class KeyKind : uint8_t { kVectors, kFloats, kInts, kChannels, kChannelNames, kShaders };

// A key; for a list also where its columns go in the record.
struct MeshKey {
  const char* name;
  KeyKind kind;
  const float* const* Mesh::*floats = nullptr;
  const int32_t* const* Mesh::*ints = nullptr;
  const int32_t* Mesh::*counts = nullptr;
  const int32_t* Mesh::*frame_numbers = nullptr;
  int32_t Mesh::*frames = nullptr;

  constexpr MeshKey(const char* name, KeyKind kind) : name(name), kind(kind) {}
  constexpr MeshKey(const char* name, KeyKind kind, const float* const* Mesh::*data,
                    const int32_t* Mesh::*counts, const int32_t* Mesh::*frame_numbers, int32_t Mesh::*frames)
      : name(name), kind(kind), floats(data), counts(counts), frame_numbers(frame_numbers), frames(frames) {}
  constexpr MeshKey(const char* name, const int32_t* const* Mesh::*data, const int32_t* Mesh::*counts,
                    const int32_t* Mesh::*frame_numbers, int32_t Mesh::*frames)
      : name(name),
        kind(KeyKind::kInts),
        ints(data),
        counts(counts),
        frame_numbers(frame_numbers),
        frames(frames) {}

  constexpr bool is_list() const { return frames != nullptr; }
  constexpr ElementKind elements() const {
    if (kind == KeyKind::kVectors) return ElementKind::kVector;
    return kind == KeyKind::kFloats ? ElementKind::kFloat : ElementKind::kInt;
  }
};

// In the order in which they are converted.
constexpr MeshKey kMeshKeys[] = {
    {"vertices", KeyKind::kVectors, &Mesh::vertices, &Mesh::verticesCounts, &Mesh::verticesFrameNumbers,
     &Mesh::verticesFrames},
    {"faces", &Mesh::faces, &Mesh::facesCounts, &Mesh::facesFrameNumbers, &Mesh::facesFrames},
    {"normals", KeyKind::kVectors, &Mesh::normals, &Mesh::normalsCounts, &Mesh::normalsFrameNumbers,
     &Mesh::normalsFrames},
    {"faceNormals", &Mesh::faceNormals, &Mesh::faceNormalsCounts, &Mesh::faceNormalsFrameNumbers,
     &Mesh::faceNormalsFrames},
    {"velocities", KeyKind::kVectors, &Mesh::velocities, &Mesh::velocitiesCounts,
     &Mesh::velocitiesFrameNumbers, &Mesh::velocitiesFrames},
    {"faceMtlIDs", &Mesh::faceMtlIDs, &Mesh::faceMtlIDsCounts, &Mesh::faceMtlIDsFrameNumbers,
     &Mesh::faceMtlIDsFrames},
    {"mapChannels", KeyKind::kChannels},
    {"mapChNames", KeyKind::kChannelNames},
    {"shaderNames", KeyKind::kShaders},
    {"edgeVisibility", &Mesh::edgeVisibility, &Mesh::edgeVisibilityCounts, &Mesh::edgeVisibilityFrameNumbers,
     &Mesh::edgeVisibilityFrames},
    {"hairVertices", KeyKind::kVectors, &Mesh::hairVertices, &Mesh::hairVerticesCounts,
     &Mesh::hairVerticesFrameNumbers, &Mesh::hairVerticesFrames},
    {"hairVerticesPerStrand", &Mesh::hairVerticesPerStrand, &Mesh::hairVerticesPerStrandCounts,
     &Mesh::hairVerticesPerStrandFrameNumbers, &Mesh::hairVerticesPerStrandFrames},
    {"hairWidths", KeyKind::kFloats, &Mesh::hairWidths, &Mesh::hairWidthsCounts,
     &Mesh::hairWidthsFrameNumbers, &Mesh::hairWidthsFrames},
    {"particleVertices", KeyKind::kVectors, &Mesh::particleVertices, &Mesh::particleVerticesCounts,
     &Mesh::particleVerticesFrameNumbers, &Mesh::particleVerticesFrames},
    {"particleWidths", KeyKind::kFloats, &Mesh::particleWidths, &Mesh::particleWidthsCounts,
     &Mesh::particleWidthsFrameNumbers, &Mesh::particleWidthsFrames},
};
static_assert(std::size(kMeshKeys) == MeshFileData::kKeys);

// The things in a small array, which may stand in any order; what is no array has none.
bool EachPart(v8::Local<v8::Context> context, v8::Local<v8::Value> value,
              const std::function<void(v8::Local<v8::Value>)>& visitor) {
  if (!value->IsArray()) return true;
  v8::Local<v8::Array> parts = value.As<v8::Array>();
  return EachElement(context, parts, parts->Length(), [&](uint32_t, v8::Local<v8::Value> part) {
    visitor(part);
    return true;
  });
}

}  // namespace

void MeshFileData::Take(v8::Local<v8::Context> context, v8::Local<v8::Object> object) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  taken_ = WalkKeys(context, object, Unreadable::kEndsTheWalk,
                    [&](std::string_view name, v8::Local<v8::Value> value) {
                      for (size_t i = 0; i < kKeys; i++) {
                        if (EqualsIgnoringCase(name, kMeshKeys[i].name)) values_[i].Reset(isolate, value);
                      }
                      return true;
                    });
}

bool MeshFileData::Convert(v8::Local<v8::Context> context) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::TryCatch try_catch(isolate);
  if (!taken_) return false;
  for (size_t i = 0; i < kKeys; i++) {
    v8::HandleScope scope(isolate);
    if (!values_[i].IsEmpty() && !ConvertKey(context, i, values_[i].Get(isolate))) return false;
  }
  return true;
}

bool MeshFileData::ConvertKey(v8::Local<v8::Context> context, size_t key, v8::Local<v8::Value> value) {
  const MeshKey& row = kMeshKeys[key];
  if (row.is_list()) return ReadList(context, value, row.elements(), &lists_[key]);
  if (!value->IsArray()) return true;
  v8::Local<v8::Array> array = value.As<v8::Array>();
  if (array->Length() > kMaxEntries) return false;
  if (row.kind == KeyKind::kChannels) return ReadChannels(context, array);
  if (row.kind == KeyKind::kChannelNames) return ReadChannelNames(context, array);
  return ReadShaders(context, array);
}

bool MeshFileData::ReadList(v8::Local<v8::Context> context, v8::Local<v8::Value> value, ElementKind kind,
                            List* list) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  if (IsListOf(value, kind)) {
    list->arrays.Resize(1);
    list->arrays.Hold(isolate, 0, value);
    list->frame_numbers.assign(1, 0);
    return true;
  }
  if (!value->IsArray()) return true;
  v8::Local<v8::Array> frames = value.As<v8::Array>();
  const uint32_t count = frames->Length();
  if (count > kMaxEntries) return false;
  list->arrays.Resize(count);
  list->frame_numbers.assign(count, 0);
  return EachElement(context, frames, count, [&](uint32_t i, v8::Local<v8::Value> frame) {
    return EachPart(context, frame, [&](v8::Local<v8::Value> part) {
      if (part->IsNumber()) list->frame_numbers[i] = part->Int32Value(context).FromMaybe(0);
      if (IsListOf(part, kind)) list->arrays.Hold(isolate, i, part);
    });
  });
}

bool MeshFileData::ReadChannels(v8::Local<v8::Context> context, v8::Local<v8::Array> channels) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  const uint32_t count = channels->Length();
  channels_.vertices.Resize(count);
  channels_.faces.Resize(count);
  channels_.indices.assign(count, 0);
  return EachElement(context, channels, count, [&](uint32_t i, v8::Local<v8::Value> channel) {
    return EachPart(context, channel, [&](v8::Local<v8::Value> part) {
      if (part->IsInt32()) channels_.indices[i] = part.As<v8::Int32>()->Value();
      if (IsListOf(part, ElementKind::kVector)) channels_.vertices.Hold(isolate, i, part);
      if (IsListOf(part, ElementKind::kInt)) channels_.faces.Hold(isolate, i, part);
    });
  });
}

bool MeshFileData::ReadChannelNames(v8::Local<v8::Context> context, v8::Local<v8::Array> names) {
  const uint32_t count = names->Length();
  channel_names_.Resize(count);
  return EachElement(context, names, count, [&](uint32_t i, v8::Local<v8::Value> name) {
    if (name->IsString()) channel_names_.Hold(v8::Isolate::GetCurrent(), i, name.As<v8::String>());
    return true;
  });
}

bool MeshFileData::ReadShaders(v8::Local<v8::Context> context, v8::Local<v8::Array> shaders) {
  const uint32_t count = shaders->Length();
  shaders_.names.Resize(count);
  shaders_.ids.assign(count, 0);
  return EachElement(context, shaders, count, [&](uint32_t i, v8::Local<v8::Value> shader) {
    return EachPart(context, shader, [&](v8::Local<v8::Value> part) {
      if (part->IsInt32()) shaders_.ids[i] = part.As<v8::Int32>()->Value();
      if (part->IsString()) shaders_.names.Hold(v8::Isolate::GetCurrent(), i, part.As<v8::String>());
    });
  });
}

bool MeshFileData::Point(v8::Isolate* isolate) {
  record_ = {};
  record_.version = 2;
  PointNames();
  return PointLists(isolate) && PointChannels(isolate);
}

bool MeshFileData::PointLists(v8::Isolate* isolate) {
  for (size_t i = 0; i < kKeys; i++) {
    const MeshKey& row = kMeshKeys[i];
    List& list = lists_[i];
    if (list.frame_numbers.empty()) continue;
    if (!list.arrays.Point(isolate, row.elements())) return false;
    if (row.floats) record_.*row.floats = list.arrays.addresses<float>();
    if (row.ints) record_.*row.ints = list.arrays.addresses<int32_t>();
    record_.*row.counts = list.arrays.counts();
    record_.*row.frame_numbers = list.frame_numbers.data();
    record_.*row.frames = static_cast<int32_t>(list.frame_numbers.size());
  }
  return true;
}

bool MeshFileData::PointChannels(v8::Isolate* isolate) {
  if (channels_.indices.empty()) return true;
  if (!channels_.vertices.Point(isolate, ElementKind::kVector)) return false;
  if (!channels_.faces.Point(isolate, ElementKind::kInt)) return false;
  record_.mapChannelIndices = channels_.indices.data();
  record_.mapChannelVertices = channels_.vertices.addresses<float>();
  record_.mapChannelFaces = channels_.faces.addresses<int32_t>();
  record_.mapChannelVertexCounts = channels_.vertices.counts();
  record_.mapChannelFaceCounts = channels_.faces.counts();
  record_.mapChannelsCount = static_cast<int32_t>(channels_.indices.size());
  return true;
}

void MeshFileData::PointNames() {
  if (channel_names_.size() > 0) {
    record_.mapChNames = channel_names_.addresses();
    record_.mapChNameLengths = channel_names_.lengths();
    record_.mapChNamesCount = static_cast<int32_t>(channel_names_.size());
  }
  if (shaders_.names.size() > 0) {
    record_.shaderNames = shaders_.names.addresses();
    record_.shaderNameLengths = shaders_.names.lengths();
    record_.shaderIDs = shaders_.ids.data();
    record_.shadersCount = static_cast<int32_t>(shaders_.names.size());
  }
}

}  // namespace KilnNodeWrapper
