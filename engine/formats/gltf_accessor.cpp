// Typed reading of glTF accessors, with every bound checked, and each accessor decoded once.
#include "engine/formats/gltf_accessor.h"

#include <fmt/format.h>

#include <bit>
#include <cmath>
#include <cstring>

#include "engine/formats/model_import_failure.h"

namespace kiln::engine::formats {
namespace {

using Bytes = std::span<const std::byte>;

// An accessor without a buffer view is all zeros: its size costs the file nothing, so it needs a limit of its
// own.
constexpr size_t kZeroLimit = size_t{1} << 24;

size_t ComponentSize(int type) {
  switch (type) {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
      return 1;
    case TINYGLTF_COMPONENT_TYPE_SHORT:
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return 2;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
    case TINYGLTF_COMPONENT_TYPE_FLOAT:
      return 4;
    default:
      return 0;
  }
}

template <class T>
T Load(const std::byte* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

float ToFloat(const std::byte* at, int type, bool normalized) {
  switch (type) {
    case TINYGLTF_COMPONENT_TYPE_BYTE: {
      const float value = Load<int8_t>(at);
      return normalized ? std::max(value / 127.0f, -1.0f) : value;
    }
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE: {
      const float value = Load<uint8_t>(at);
      return normalized ? value / 255.0f : value;
    }
    case TINYGLTF_COMPONENT_TYPE_SHORT: {
      const float value = Load<int16_t>(at);
      return normalized ? std::max(value / 32767.0f, -1.0f) : value;
    }
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT: {
      const float value = Load<uint16_t>(at);
      return normalized ? value / 65535.0f : value;
    }
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
      return static_cast<float>(Load<uint32_t>(at));
    default:
      return Load<float>(at);
  }
}

uint32_t ToInteger(const std::byte* at, int type) {
  switch (type) {
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
      return Load<uint8_t>(at);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return Load<uint16_t>(at);
    default:
      return Load<uint32_t>(at);
  }
}

bool IsUnsigned(int type) {
  return type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE || type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT ||
         type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
}

// The bytes from the offset on, once it is certain that `count` elements fit.
Bytes Window(Bytes view, size_t offset, size_t count, size_t stride, size_t size, const std::string& label,
             int view_index) {
  const bool fits = offset <= view.size() && size <= view.size() - offset &&
                    (count - 1) <= (view.size() - offset - size) / stride;
  if (!fits) throw ImportFailure(fmt::format("{} reads past the end of bufferViews[{}]", label, view_index));
  return view.subspan(offset);
}

bool IsFinite(Vec3 v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

}  // namespace

std::string GltfAccessors::Label(int accessor) {
  return fmt::format("accessors[{}]", accessor);
}

int GltfAccessors::Width(int accessor) const {
  return tinygltf::GetNumComponentsInType(static_cast<uint32_t>(document_.model.accessors[accessor].type));
}

template <class T, class Convert>
std::vector<T> GltfAccessors::Read(int index, int width, const Convert& convert) {
  const tinygltf::Accessor& accessor = document_.model.accessors[index];
  const size_t component = ComponentSize(accessor.componentType);
  if (component == 0) {
    throw ImportFailure(
        fmt::format("{}.componentType is {}, which is none", Label(index), accessor.componentType));
  }
  if (Width(index) != width) {
    throw ImportFailure(
        fmt::format("{} has {} components where {} are needed", Label(index), Width(index), width));
  }
  std::vector<T> values;
  if (accessor.count == 0) return values;
  if (accessor.bufferView < 0) {
    if (accessor.count > kZeroLimit) {
      throw ImportFailure(fmt::format("{} has {} elements without data", Label(index), accessor.count));
    }
    values.resize(accessor.count * width);
  } else {
    const size_t size = component * width;
    const size_t declared = document_.model.bufferViews[accessor.bufferView].byteStride;
    const size_t stride = declared == 0 ? size : declared;
    if (stride < size) {
      throw ImportFailure(
          fmt::format("{} is wider than the stride of bufferViews[{}]", Label(index), accessor.bufferView));
    }
    const Bytes data = Window(document_.View(accessor.bufferView), accessor.byteOffset, accessor.count,
                              stride, size, Label(index), accessor.bufferView);
    values.reserve(accessor.count * width);
    for (size_t i = 0; i < accessor.count; ++i) {
      const std::byte* element = data.data() + i * stride;
      for (int k = 0; k < width; ++k) values.push_back(convert(element + k * component));
    }
  }
  if (accessor.sparse.isSparse) ApplySparse(index, width, convert, values);
  return values;
}

template <class T, class Convert>
void GltfAccessors::ApplySparse(int index, int width, const Convert& convert, std::vector<T>& values) {
  const tinygltf::Accessor& accessor = document_.model.accessors[index];
  const auto& sparse = accessor.sparse;
  if (sparse.count == 0) return;
  if (!IsUnsigned(sparse.indices.componentType)) {
    throw ImportFailure(fmt::format("the sparse indices of {} are not unsigned integers", Label(index)));
  }
  const std::string label = "the sparse part of " + Label(index);
  const auto count = static_cast<size_t>(sparse.count);
  const size_t index_size = ComponentSize(sparse.indices.componentType);
  const size_t component = ComponentSize(accessor.componentType);
  const size_t size = component * width;
  const Bytes indices = Window(document_.View(sparse.indices.bufferView), sparse.indices.byteOffset, count,
                               index_size, index_size, label, sparse.indices.bufferView);
  const Bytes data = Window(document_.View(sparse.values.bufferView), sparse.values.byteOffset, count, size,
                            size, label, sparse.values.bufferView);
  for (size_t i = 0; i < count; ++i) {
    const size_t target = ToInteger(indices.data() + i * index_size, sparse.indices.componentType);
    if (target >= accessor.count) {
      throw ImportFailure(fmt::format("{} replaces element {} of {}", label, target, accessor.count));
    }
    for (int k = 0; k < width; ++k)
      values[target * width + k] = convert(data.data() + i * size + k * component);
  }
}

std::vector<float> GltfAccessors::Floats(int index, int width) {
  const tinygltf::Accessor& accessor = document_.model.accessors[index];
  return Read<float>(index, width, [&](const std::byte* at) {
    return ToFloat(at, accessor.componentType, accessor.normalized);
  });
}

std::vector<uint32_t> GltfAccessors::Integers(int index, int width) {
  const int type = document_.model.accessors[index].componentType;
  if (!IsUnsigned(type)) throw ImportFailure(Label(index) + " does not hold unsigned integers");
  return Read<uint32_t>(index, width, [type](const std::byte* at) { return ToInteger(at, type); });
}

scene::VectorArray GltfAccessors::Vectors(int index, bool finite) {
  auto found = vectors_.find(index);
  if (found == vectors_.end()) {
    const std::vector<float> values = Floats(index, 3);
    std::vector<Vec3> vectors(values.size() / 3);
    for (size_t i = 0; i < vectors.size(); ++i) {
      vectors[i] = {values[3 * i], values[3 * i + 1], values[3 * i + 2]};
    }
    found = vectors_.emplace(index, scene::VectorArray(std::move(vectors))).first;
  }
  if (finite) {
    for (size_t i = 0; i < found->second.size(); ++i) {
      if (!IsFinite(found->second[i])) {
        throw ImportFailure(fmt::format("element {} of {} is not finite", i, Label(index)));
      }
    }
  }
  return found->second;
}

scene::VectorArray GltfAccessors::TexCoords(int index) {
  const auto found = tex_coords_.find(index);
  if (found != tex_coords_.end()) return found->second;
  const std::vector<float> values = Floats(index, 2);
  std::vector<Vec3> coords(values.size() / 2);
  for (size_t i = 0; i < coords.size(); ++i) {
    const float u = values[2 * i];
    const float v = values[2 * i + 1];
    if (std::isfinite(u) && std::isfinite(v)) coords[i] = {u, v, 0};
  }
  return tex_coords_.emplace(index, scene::VectorArray(std::move(coords))).first->second;
}

}  // namespace kiln::engine::formats
