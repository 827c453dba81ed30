// An object of a mesh file as scripts give it: a plain object with typed arrays. None of them is copied.
#pragma once

#include <array>
#include <vector>

#include "proxy.h"
#include "proxy/mesh_columns.h"

namespace KilnNodeWrapper {

// Three steps, because the first two run getters: take the values, convert them, and once no JavaScript runs
// any more, make the record. JavaScript thread.
class MeshFileData {
 public:
  static constexpr size_t kKeys = 15;

  // Holds the values of the keys, which count in any case; others are skipped.
  void Take(v8::Local<v8::Context> context, v8::Local<v8::Object> object);
  // Looks through the values. What has the wrong type is left out. False when something could not be read;
  // nothing stays pending.
  bool Convert(v8::Local<v8::Context> context);
  // False when the record can't hold the counts.
  bool Point(v8::Isolate* isolate);
  // Valid after Point, until JavaScript runs.
  const ProxyMeshData* Record() const { return &record_; }

 private:
  struct List {
    ArrayColumn arrays;
    std::vector<int32_t> frame_numbers;
  };
  struct Channels {
    ArrayColumn vertices;
    ArrayColumn faces;
    std::vector<int32_t> indices;
  };
  struct Shaders {
    TextColumn names;
    std::vector<int32_t> ids;
  };

  bool ConvertKey(v8::Local<v8::Context> context, size_t key, v8::Local<v8::Value> value);
  static bool ReadList(v8::Local<v8::Context> context, v8::Local<v8::Value> value, ElementKind kind,
                       List* list);
  bool ReadChannels(v8::Local<v8::Context> context, v8::Local<v8::Array> channels);
  bool ReadChannelNames(v8::Local<v8::Context> context, v8::Local<v8::Array> names);
  bool ReadShaders(v8::Local<v8::Context> context, v8::Local<v8::Array> shaders);
  bool PointLists(v8::Isolate* isolate);
  bool PointChannels(v8::Isolate* isolate);
  void PointNames();

  bool taken_ = false;
  std::array<v8::Global<v8::Value>, kKeys> values_;
  std::array<List, kKeys> lists_;  // of the keys that are lists
  Channels channels_;
  TextColumn channel_names_;
  Shaders shaders_;
  ProxyMeshData record_{};
};

}  // namespace KilnNodeWrapper
