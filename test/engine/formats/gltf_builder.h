// Small glTF documents for tests: buffers as data URIs, one accessor a call.
#pragma once

#include <cstring>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "engine/formats/base64.h"
#include "engine/formats/importers.h"

namespace kiln::engine::formats::testing {

using Json = nlohmann::json;

inline constexpr int kUbyte = 5121;
inline constexpr int kUshort = 5123;
inline constexpr int kUint = 5125;
inline constexpr int kFloat = 5126;

class GltfBuilder {
 public:
  Json json = {{"asset", {{"version", "2.0"}}}, {"scene", 0}, {"scenes", {{{"nodes", {0}}}}}};

  template <class T>
  int View(const std::vector<T>& values) {
    const size_t offset = data_.size();
    data_.resize(offset + values.size() * sizeof(T));
    if (!values.empty()) std::memcpy(data_.data() + offset, values.data(), values.size() * sizeof(T));
    json["bufferViews"].push_back(
        {{"buffer", 0}, {"byteOffset", offset}, {"byteLength", values.size() * sizeof(T)}});
    while (data_.size() % 4 != 0) data_.push_back(std::byte{0});
    return static_cast<int>(json["bufferViews"].size()) - 1;
  }
  template <class T>
  int Accessor(const std::vector<T>& values, const char* type, int width, int component) {
    json["accessors"].push_back({{"bufferView", View(values)},
                                 {"componentType", component},
                                 {"count", values.size() / width},
                                 {"type", type}});
    return static_cast<int>(json["accessors"].size()) - 1;
  }
  int Positions(const std::vector<float>& values) { return Accessor(values, "VEC3", 3, kFloat); }

  // One triangle in the XY plane, one node, one mesh.
  static GltfBuilder Triangle() {
    GltfBuilder builder;
    const int positions = builder.Positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    const int indices = builder.Accessor<uint16_t>({0, 1, 2}, "SCALAR", 1, kUshort);
    builder.json["meshes"] = {
        {{"name", "Tri"},
         {"primitives", {{{"attributes", {{"POSITION", positions}}}, {"indices", indices}}}}}};
    builder.json["nodes"] = {{{"name", "Node"}, {"mesh", 0}}};
    return builder;
  }

  Json& Primitive() { return json["meshes"][0]["primitives"][0]; }
  const std::vector<std::byte>& data() const { return data_; }

  // The document with its data embedded.
  std::string Text() const {
    Json complete = json;
    if (!complete.contains("buffers") && !data_.empty()) {
      complete["buffers"] = {{{"byteLength", data_.size()},
                              {"uri", "data:application/octet-stream;base64," + EncodeBase64(data_)}}};
    }
    return complete.dump();
  }

  std::vector<std::byte> Glb() const {
    Json complete = json;
    complete["buffers"] = {{{"byteLength", data_.size()}}};
    std::string text = complete.dump();
    while (text.size() % 4 != 0) text += ' ';
    std::vector<std::byte> glb;
    const auto u32 = [&](size_t value) {
      for (int i = 0; i < 4; ++i) glb.push_back(static_cast<std::byte>(value >> (8 * i) & 0xFF));
    };
    u32(0x46546C67);
    u32(2);
    u32(12 + 8 + text.size() + 8 + data_.size());
    u32(text.size());
    u32(0x4E4F534A);
    for (const char c : text) glb.push_back(static_cast<std::byte>(c));
    u32(data_.size());
    u32(0x004E4942);
    glb.insert(glb.end(), data_.begin(), data_.end());
    return glb;
  }

 private:
  std::vector<std::byte> data_;
};

inline std::span<const std::byte> AsBytes(const std::string& text) {
  return {reinterpret_cast<const std::byte*>(text.data()), text.size()};
}

inline LoadResult Import(scene::Scene& scene, const GltfBuilder& builder) {
  return ImportGltf(scene, AsBytes(builder.Text()), {}, "test.gltf");
}

// The value of a property of the only, or the index-th, instance of a class.
inline scene::Value Value(const scene::Scene& scene, const char* class_name, const char* property,
                          size_t index = 0) {
  const auto ids = scene.Ids(scene::FindClass(class_name));
  return index < ids.size() ? scene.Get(ids[index], property) : scene::Value();
}
inline size_t Count(const scene::Scene& scene, const char* class_name) {
  const scene::PluginClass* type = scene::FindClass(class_name);
  return type == nullptr ? 0 : scene.Count(type);
}

}  // namespace kiln::engine::formats::testing
