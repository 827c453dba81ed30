// Typed reading of glTF accessors, with every bound checked, and each accessor decoded once.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "engine/formats/gltf_document.h"
#include "engine/scene/value.h"

namespace kiln::engine::formats {

// All functions throw ImportFailure for an accessor that reads out of bounds or has the wrong type. Results
// are shared: many primitives may use one accessor without a copy each.
class GltfAccessors {
 public:
  explicit GltfAccessors(const GltfDocument& document) : document_(document) {}

  size_t Count(int accessor) const { return document_.model.accessors[accessor].count; }

  // VEC3 of positions, normals or offsets; not finite is malformed only when `finite` is asked for.
  scene::VectorArray Vectors(int accessor, bool finite);
  // VEC2 with z = 0; what is not finite becomes 0.
  scene::VectorArray TexCoords(int accessor);
  // The elements as floats, `width` of them each; normalised integers are scaled to their range.
  std::vector<float> Floats(int accessor, int width);
  // Unsigned integers, `width` each: indices and joints.
  std::vector<uint32_t> Integers(int accessor, int width);

  // "accessors[3]", for messages.
  static std::string Label(int accessor);
  // Components of one element of the accessor's type.
  int Width(int accessor) const;

 private:
  template <class T, class Convert>
  std::vector<T> Read(int accessor, int width, const Convert& convert);
  template <class T, class Convert>
  void ApplySparse(int accessor, int width, const Convert& convert, std::vector<T>& values);

  const GltfDocument& document_;
  std::map<int, scene::VectorArray> vectors_;
  std::map<int, scene::VectorArray> tex_coords_;
};

}  // namespace kiln::engine::formats
