// The shape of a glTF document as data, and the check of a JSON document against it.
#include "engine/formats/gltf_schema.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "engine/formats/model_import_failure.h"

namespace kiln::engine::formats {
namespace {

using Json = nlohmann::json;

enum class Kind : uint8_t {
  kNumber,
  kCount,       // a whole number from 0 on
  kSmallCount,  // one that fits an int, as every enumerated code does
  kIndex,       // of an element of `target`
  kString,
  kBool,
  kObject,
  kNumbers,
  kIndices,
  kStrings,
  kObjects,
  kIndexMap,   // names to indices of `target`
  kIndexMaps,  // an array of them
};

struct Shape;
struct Field {
  std::string_view name;
  Kind kind = Kind::kNumber;
  bool required = false;
  std::string_view target{};
  const Shape* shape = nullptr;
  size_t length = 0;  // of kNumbers; 0: any
};
struct Shape {
  std::span<const Field> fields;
};

constexpr bool kRequired = true;
constexpr bool kOptional = false;
constexpr Field Number(std::string_view name, bool required = kOptional) {
  return {name, Kind::kNumber, required};
}
constexpr Field Numbers(std::string_view name, size_t length = 0) {
  return {name, Kind::kNumbers, kOptional, {}, nullptr, length};
}
constexpr Field Index(std::string_view name, std::string_view target, bool required = kOptional) {
  return {name, Kind::kIndex, required, target};
}
constexpr Field Object(std::string_view name, const Shape& shape, bool required = kOptional) {
  return {name, Kind::kObject, required, {}, &shape};
}
constexpr Field Objects(std::string_view name, const Shape& shape, bool required = kOptional) {
  return {name, Kind::kObjects, required, {}, &shape};
}
constexpr Field Code(std::string_view name, bool required = kOptional) {
  return {name, Kind::kSmallCount, required};
}

constexpr std::string_view kLights = "extensions.KHR_lights_punctual.lights";

constexpr Field kAssetFields[] = {{"version", Kind::kString, kRequired}, {"minVersion", Kind::kString}};
constexpr Shape kAsset{kAssetFields};

constexpr Field kSparseIndicesFields[] = {Index("bufferView", "bufferViews", kRequired),
                                          {"byteOffset", Kind::kSmallCount},
                                          Code("componentType", kRequired)};
constexpr Shape kSparseIndices{kSparseIndicesFields};
constexpr Field kSparseValuesFields[] = {Index("bufferView", "bufferViews", kRequired),
                                         {"byteOffset", Kind::kSmallCount}};
constexpr Shape kSparseValues{kSparseValuesFields};
constexpr Field kSparseFields[] = {{"count", Kind::kSmallCount, kRequired},
                                   Object("indices", kSparseIndices, kRequired),
                                   Object("values", kSparseValues, kRequired)};
constexpr Shape kSparse{kSparseFields};
constexpr Field kAccessorFields[] = {Index("bufferView", "bufferViews"), {"byteOffset", Kind::kCount},
                                     Code("componentType", kRequired),   {"normalized", Kind::kBool},
                                     {"count", Kind::kCount, kRequired}, {"type", Kind::kString, kRequired},
                                     Object("sparse", kSparse)};
constexpr Shape kAccessor{kAccessorFields};
constexpr Field kBufferViewFields[] = {Index("buffer", "buffers", kRequired),
                                       {"byteOffset", Kind::kCount},
                                       {"byteLength", Kind::kCount, kRequired},
                                       {"byteStride", Kind::kSmallCount},
                                       Code("target")};
constexpr Shape kBufferView{kBufferViewFields};
constexpr Field kBufferFields[] = {{"uri", Kind::kString}, {"byteLength", Kind::kCount, kRequired}};
constexpr Shape kBuffer{kBufferFields};

constexpr Field kImageFields[] = {
    {"uri", Kind::kString}, {"mimeType", Kind::kString}, Index("bufferView", "bufferViews")};
constexpr Shape kImage{kImageFields};
constexpr Field kSamplerFields[] = {Code("magFilter"), Code("minFilter"), Code("wrapS"), Code("wrapT")};
constexpr Shape kSampler{kSamplerFields};
constexpr Field kTextureFields[] = {Index("sampler", "samplers"), Index("source", "images")};
constexpr Shape kTexture{kTextureFields};
constexpr Field kTextureSourceFields[] = {Index("source", "images")};
constexpr Shape kTextureSource{kTextureSourceFields};

constexpr Field kTextureInfoFields[] = {Index("index", "textures", kRequired), Code("texCoord"),
                                        Number("scale"), Number("strength")};
constexpr Shape kTextureInfo{kTextureInfoFields};
constexpr Field kTextureTransformFields[] = {Numbers("offset", 2), Number("rotation"), Numbers("scale", 2),
                                             Code("texCoord")};
constexpr Shape kTextureTransform{kTextureTransformFields};

constexpr Field kPbrFields[] = {Numbers("baseColorFactor", 4), Object("baseColorTexture", kTextureInfo),
                                Number("metallicFactor"), Number("roughnessFactor"),
                                Object("metallicRoughnessTexture", kTextureInfo)};
constexpr Shape kPbr{kPbrFields};
constexpr Field kMaterialFields[] = {Object("pbrMetallicRoughness", kPbr),
                                     Object("normalTexture", kTextureInfo),
                                     Object("occlusionTexture", kTextureInfo),
                                     Object("emissiveTexture", kTextureInfo),
                                     Numbers("emissiveFactor", 3),
                                     {"alphaMode", Kind::kString},
                                     Number("alphaCutoff"),
                                     {"doubleSided", Kind::kBool}};
constexpr Shape kMaterial{kMaterialFields};

constexpr Field kClearcoatFields[] = {
    Number("clearcoatFactor"), Object("clearcoatTexture", kTextureInfo), Number("clearcoatRoughnessFactor"),
    Object("clearcoatRoughnessTexture", kTextureInfo), Object("clearcoatNormalTexture", kTextureInfo)};
constexpr Shape kClearcoat{kClearcoatFields};
constexpr Field kSheenFields[] = {Numbers("sheenColorFactor", 3), Object("sheenColorTexture", kTextureInfo),
                                  Number("sheenRoughnessFactor"),
                                  Object("sheenRoughnessTexture", kTextureInfo)};
constexpr Shape kSheen{kSheenFields};
constexpr Field kTransmissionFields[] = {Number("transmissionFactor"),
                                         Object("transmissionTexture", kTextureInfo)};
constexpr Shape kTransmission{kTransmissionFields};
constexpr Field kIorFields[] = {Number("ior")};
constexpr Shape kIor{kIorFields};
constexpr Field kSpecularFields[] = {Number("specularFactor"), Object("specularTexture", kTextureInfo),
                                     Numbers("specularColorFactor", 3),
                                     Object("specularColorTexture", kTextureInfo)};
constexpr Shape kSpecular{kSpecularFields};
constexpr Field kVolumeFields[] = {Number("thicknessFactor"), Object("thicknessTexture", kTextureInfo),
                                   Number("attenuationDistance"), Numbers("attenuationColor", 3)};
constexpr Shape kVolume{kVolumeFields};
constexpr Field kEmissiveStrengthFields[] = {Number("emissiveStrength")};
constexpr Shape kEmissiveStrength{kEmissiveStrengthFields};
constexpr Shape kUnlit{};
constexpr Field kSpecularGlossinessFields[] = {
    Numbers("diffuseFactor", 4), Object("diffuseTexture", kTextureInfo), Numbers("specularFactor", 3),
    Number("glossinessFactor"), Object("specularGlossinessTexture", kTextureInfo)};
constexpr Shape kSpecularGlossiness{kSpecularGlossinessFields};

constexpr Field kPrimitiveFields[] = {{"attributes", Kind::kIndexMap, kRequired, "accessors"},
                                      Index("indices", "accessors"),
                                      Index("material", "materials"),
                                      Code("mode"),
                                      {"targets", Kind::kIndexMaps, kOptional, "accessors"}};
constexpr Shape kPrimitive{kPrimitiveFields};
constexpr Field kMeshFields[] = {Objects("primitives", kPrimitive, kRequired), Numbers("weights")};
constexpr Shape kMesh{kMeshFields};
constexpr Field kNodeFields[] = {Index("camera", "cameras"), {"children", Kind::kIndices, kOptional, "nodes"},
                                 Index("skin", "skins"),     Numbers("matrix", 16),
                                 Index("mesh", "meshes"),    Numbers("rotation", 4),
                                 Numbers("scale", 3),        Numbers("translation", 3),
                                 Numbers("weights")};
constexpr Shape kNode{kNodeFields};
constexpr Field kSkinFields[] = {Index("inverseBindMatrices", "accessors"),
                                 Index("skeleton", "nodes"),
                                 {"joints", Kind::kIndices, kRequired, "nodes"}};
constexpr Shape kSkin{kSkinFields};
constexpr Field kSceneFields[] = {{"nodes", Kind::kIndices, kOptional, "nodes"}};
constexpr Shape kScene{kSceneFields};

constexpr Field kPerspectiveFields[] = {Number("aspectRatio"), Number("yfov", kRequired), Number("zfar"),
                                        Number("znear", kRequired)};
constexpr Shape kPerspective{kPerspectiveFields};
constexpr Field kOrthographicFields[] = {Number("xmag", kRequired), Number("ymag", kRequired),
                                         Number("zfar", kRequired), Number("znear", kRequired)};
constexpr Shape kOrthographic{kOrthographicFields};
constexpr Field kCameraFields[] = {{"type", Kind::kString, kRequired},
                                   Object("perspective", kPerspective),
                                   Object("orthographic", kOrthographic)};
constexpr Shape kCamera{kCameraFields};

constexpr Field kSpotFields[] = {Number("innerConeAngle"), Number("outerConeAngle")};
constexpr Shape kSpot{kSpotFields};
constexpr Field kLightFields[] = {{"type", Kind::kString, kRequired},
                                  Numbers("color", 3),
                                  Number("intensity"),
                                  Number("range"),
                                  Object("spot", kSpot)};
constexpr Shape kLight{kLightFields};
// The same extension on the document holds the lights, on a node it picks one.
constexpr Field kPunctualFields[] = {Objects("lights", kLight), Index("light", kLights)};
constexpr Shape kPunctual{kPunctualFields};

constexpr Field kDocumentFields[] = {Object("asset", kAsset, kRequired),
                                     {"extensionsUsed", Kind::kStrings},
                                     {"extensionsRequired", Kind::kStrings},
                                     Objects("buffers", kBuffer),
                                     Objects("bufferViews", kBufferView),
                                     Objects("accessors", kAccessor),
                                     Objects("images", kImage),
                                     Objects("samplers", kSampler),
                                     Objects("textures", kTexture),
                                     Objects("materials", kMaterial),
                                     Objects("meshes", kMesh),
                                     Objects("cameras", kCamera),
                                     Objects("nodes", kNode),
                                     Objects("skins", kSkin),
                                     Objects("scenes", kScene),
                                     Index("scene", "scenes")};
constexpr Shape kDocument{kDocumentFields};

struct Extension {
  std::string_view name;
  const Shape* shape;
};
constexpr Extension kExtensions[] = {
    {"EXT_texture_webp", &kTextureSource},
    {"KHR_lights_punctual", &kPunctual},
    {"KHR_materials_clearcoat", &kClearcoat},
    {"KHR_materials_emissive_strength", &kEmissiveStrength},
    {"KHR_materials_ior", &kIor},
    {"KHR_materials_pbrSpecularGlossiness", &kSpecularGlossiness},
    {"KHR_materials_sheen", &kSheen},
    {"KHR_materials_specular", &kSpecular},
    {"KHR_materials_transmission", &kTransmission},
    {"KHR_materials_unlit", &kUnlit},
    {"KHR_materials_volume", &kVolume},
    {"KHR_texture_basisu", &kTextureSource},
    {"KHR_texture_transform", &kTextureTransform},
};

// Elements become structs of up to some kilobytes, from two characters of text each: the limit keeps a small
// file from asking for the whole memory.
struct Limit {
  std::string_view array;
  size_t count;
};
constexpr Limit kLimits[] = {
    {"accessors", 1'000'000}, {"bufferViews", 1'000'000}, {"buffers", 100'000}, {"cameras", 10'000},
    {"images", 100'000},      {"materials", 50'000},      {"meshes", 500'000},  {"nodes", 1'000'000},
    {"samplers", 100'000},    {"scenes", 10'000},         {"skins", 100'000},   {"textures", 100'000},
};
constexpr size_t kPrimitiveLimit = 500'000;

class Checker {
 public:
  explicit Checker(Json& document) : document_(document) {
    for (const Limit& limit : kLimits) {
      const auto found = document.find(limit.array);
      const size_t size = found != document.end() && found->is_array() ? found->size() : 0;
      if (size > limit.count) {
        throw ImportFailure(fmt::format("{} has {} entries, more than the {} that can be loaded", limit.array,
                                        size, limit.count));
      }
      sizes_[limit.array] = size;
    }
    const Json::json_pointer lights("/extensions/KHR_lights_punctual/lights");
    sizes_[kLights] = document.contains(lights) && document[lights].is_array() ? document[lights].size() : 0;
  }

  void Run() { CheckObject(document_, kDocument, ""); }

 private:
  [[noreturn]] static void Fail(const std::string& path, std::string_view what) {
    throw ImportFailure(fmt::format("{} {}", path, what));
  }

  void CheckObject(Json& object, const Shape& shape, const std::string& path) {
    if (!object.is_object()) Fail(path, "is not an object");
    object.erase("extras");
    for (const Field& field : shape.fields) {
      const auto found = object.find(field.name);
      if (found == object.end() && !field.required) continue;
      std::string field_path =
          path.empty() ? std::string(field.name) : fmt::format("{}.{}", path, field.name);
      if (found == object.end()) Fail(field_path, "is missing");
      CheckField(*found, field, field_path);
    }
    const auto name = object.find("name");
    if (name != object.end() && !name->is_string()) Fail(path + ".name", "is not a string");
    CheckExtensions(object, path);
  }

  void CheckExtensions(Json& object, const std::string& path) {
    const auto extensions = object.find("extensions");
    if (extensions == object.end()) return;
    const std::string extensions_path = path.empty() ? "extensions" : path + ".extensions";
    if (!extensions->is_object()) Fail(extensions_path, "is not an object");
    for (auto it = extensions->begin(); it != extensions->end();) {
      const std::string extension_path = extensions_path + "." + it.key();
      if (!it->is_object()) Fail(extension_path, "is not an object");
      const auto* known = std::find_if(std::begin(kExtensions), std::end(kExtensions),
                                       [&](const Extension& e) { return e.name == it.key(); });
      if (known == std::end(kExtensions)) {
        it = extensions->erase(it);
        continue;
      }
      CheckObject(*it, *known->shape, extension_path);
      ++it;
    }
  }

  static void CheckCount(Json& value, size_t limit, const std::string& path) {
    if (value.is_number_float() && value.get<double>() >= 0 && value.get<double>() <= 9007199254740992.0 &&
        value.get<double>() == std::floor(value.get<double>())) {
      value = static_cast<uint64_t>(value.get<double>());
    }
    if (!value.is_number_unsigned()) Fail(path, "is not a whole number from 0 on");
    if (value.get<uint64_t>() > limit) {
      Fail(path, fmt::format("is {}, more than the limit of {}", value.get<uint64_t>(), limit));
    }
  }

  void CheckIndex(Json& value, std::string_view target, const std::string& path) {
    CheckCount(value, size_t{1} << 53, path);
    const size_t size = sizes_[target];
    const auto index = value.get<uint64_t>();
    if (index >= size) {
      Fail(path, size == 0
                     ? fmt::format("refers to {}[{}], but the file has no {}", target, index, target)
                     : fmt::format("refers to {}[{}], but the last one is {}", target, index, size - 1));
    }
  }

  void CheckIndexMap(Json& value, std::string_view target, const std::string& path) {
    if (!value.is_object()) Fail(path, "is not an object");
    for (auto it = value.begin(); it != value.end(); ++it) CheckIndex(*it, target, path + "." + it.key());
  }

  static void RequireArray(const Json& value, const std::string& path) {
    if (!value.is_array()) Fail(path, "is not an array");
  }

  template <class Each>
  static void ForEach(Json& value, const std::string& path, Each&& each) {
    RequireArray(value, path);
    for (size_t i = 0; i < value.size(); ++i) each(value[i], fmt::format("{}[{}]", path, i));
  }

  // All as doubles: large whole numbers would be cut to 32 bits on their way through extensions.
  static void CheckNumber(Json& value, const std::string& path) {
    if (!value.is_number()) Fail(path, "is not a number");
    value = value.get<double>();
    if (!(std::abs(value.get<double>()) <= std::numeric_limits<float>::max())) {
      Fail(path, "is beyond single precision");
    }
  }

  static void CheckNumbers(Json& value, size_t length, const std::string& path) {
    ForEach(value, path, CheckNumber);
    if (length != 0 && value.size() != length) {
      Fail(path, fmt::format("has {} numbers instead of {}", value.size(), length));
    }
  }

  void CheckObjects(Json& value, const Field& field, const std::string& path) {
    RequireArray(value, path);
    if (field.shape == &kPrimitive && (primitives_ += value.size()) > kPrimitiveLimit) {
      Fail(path, fmt::format("brings the primitives above the limit of {}", kPrimitiveLimit));
    }
    ForEach(value, path,
            [&](Json& element, const std::string& at) { CheckObject(element, *field.shape, at); });
  }

  void CheckField(Json& value, const Field& field, const std::string& path) {
    switch (field.kind) {
      case Kind::kNumber:
        CheckNumber(value, path);
        break;
      case Kind::kCount:
        CheckCount(value, size_t{1} << 53, path);
        break;
      case Kind::kSmallCount:
        CheckCount(value, std::numeric_limits<int32_t>::max(), path);
        break;
      case Kind::kIndex:
        CheckIndex(value, field.target, path);
        break;
      case Kind::kString:
        if (!value.is_string()) Fail(path, "is not a string");
        break;
      case Kind::kBool:
        if (!value.is_boolean()) Fail(path, "is neither true nor false");
        break;
      case Kind::kObject:
        CheckObject(value, *field.shape, path);
        break;
      case Kind::kNumbers:
        CheckNumbers(value, field.length, path);
        break;
      case Kind::kIndices:
        ForEach(value, path,
                [&](Json& index, const std::string& at) { CheckIndex(index, field.target, at); });
        break;
      case Kind::kStrings:
        ForEach(value, path, [&](Json& text, const std::string& at) {
          if (!text.is_string()) Fail(at, "is not a string");
        });
        break;
      case Kind::kObjects:
        CheckObjects(value, field, path);
        break;
      case Kind::kIndexMap:
        CheckIndexMap(value, field.target, path);
        break;
      case Kind::kIndexMaps:
        ForEach(value, path, [&](Json& map, const std::string& at) { CheckIndexMap(map, field.target, at); });
        break;
    }
  }

  Json& document_;
  std::map<std::string_view, size_t> sizes_;
  size_t primitives_ = 0;
};

}  // namespace

void CheckGltfDocument(nlohmann::json& document) {
  if (!document.is_object()) throw ImportFailure("the document is not a JSON object");
  document.erase("animations");
  Checker(document).Run();
}

}  // namespace kiln::engine::formats
