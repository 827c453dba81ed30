// Materials and textures of model files as MaterialPrincipled and TextureBitmap.
#include "engine/importer/model_material.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "engine/formats/model_import_files.h"

namespace kiln::engine::importer {
namespace {

using formats::IsDecodableImage;
using formats::NameInFolder;
using formats::PackBytes;
using formats::ReadHead;

constexpr uint32_t kAlpha = 1;
constexpr uint32_t kRed = 2;
constexpr int kRaw = 0;
constexpr int kSrgb = 1;

std::optional<float> Number(const aiMaterial& material, const char* key) {
  ai_real value = 0;
  if (material.Get(key, 0, 0, value) != AI_SUCCESS || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<Color> ColorOf(const aiMaterial& material, const char* key) {
  aiColor3D c;
  if (material.Get(key, 0, 0, c) != AI_SUCCESS || !std::isfinite(c.r + c.g + c.b)) return std::nullopt;
  return Color{std::max(c.r, 0.0f), std::max(c.g, 0.0f), std::max(c.b, 0.0f)};
}

float Unit(float value) {
  return std::clamp(value, 0.0f, 1.0f);
}

// The width of the microfacet distribution whose highlight is as sharp as that of the exponent (Walter et al.
// 2007, "Microfacet Models for Refraction through Rough Surfaces"), as the square root that roughness is.
float RoughnessOf(float exponent) {
  return std::sqrt(std::sqrt(2 / (std::max(exponent, 0.0f) + 2)));
}

int Wrap(const aiMaterial& material, const char* key, aiTextureType type, unsigned slot) {
  int mode = aiTextureMapMode_Wrap;
  material.Get(key, type, slot, mode);
  return mode == aiTextureMapMode_Mirror ? 1 : mode == aiTextureMapMode_Wrap ? 0 : 2;
}

// Raw pixels as an uncompressed TGA, which stores them in the very same order.
std::vector<std::byte> ToTga(const aiTexture& texture) {
  const unsigned width = texture.mWidth;
  const unsigned height = texture.mHeight;
  std::vector<std::byte> tga(18);
  tga[2] = std::byte{2};
  tga[12] = static_cast<std::byte>(width & 0xFF);
  tga[13] = static_cast<std::byte>(width >> 8);
  tga[14] = static_cast<std::byte>(height & 0xFF);
  tga[15] = static_cast<std::byte>(height >> 8);
  tga[16] = std::byte{32};
  tga[17] = std::byte{0x28};
  const auto* pixels = reinterpret_cast<const std::byte*>(texture.pcData);
  tga.insert(tga.end(), pixels, pixels + size_t{4} * width * height);
  return tga;
}

}  // namespace

bool ModelMaterials::SetEmbedded(const aiTexture& texture, scene::IntArray* bytes, int32_t* byte_count) {
  if (texture.pcData == nullptr) return false;
  if (texture.mHeight == 0) {
    const std::span content(reinterpret_cast<const std::byte*>(texture.pcData), texture.mWidth);
    if (!IsDecodableImage(content)) return false;
    *bytes = PackBytes(content);
    *byte_count = static_cast<int32_t>(content.size());
    return true;
  }
  if (texture.mWidth > 0x7FFF || texture.mHeight > 0x7FFF) return false;
  const std::vector<std::byte> tga = ToTga(texture);
  *bytes = PackBytes(tga);
  *byte_count = static_cast<int32_t>(tga.size());
  return true;
}

bool ModelMaterials::SetSource(const std::string& path, std::string* file, scene::IntArray* bytes,
                               int32_t* byte_count) {
  if (const aiTexture* embedded = source_.GetEmbeddedTexture(path.c_str())) {
    return SetEmbedded(*embedded, bytes, byte_count);
  }
  if (folder_.empty()) return false;
  // Files often name the place on the machine where they were made; the image then lies beside the model.
  const size_t slash = path.find_last_of("/\\");
  for (const std::string& candidate : {path, slash == std::string::npos ? path : path.substr(slash + 1)}) {
    const std::optional<std::string> name = NameInFolder(candidate);
    if (!name) continue;
    const auto head = ReadHead(folder_ / *name);
    if (!head) continue;
    std::string extension = std::filesystem::path(*name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    // TGA has no magic of its own.
    if (!IsDecodableImage(*head) && extension != ".tga") return false;
    *file = *name;
    return true;
  }
  return false;
}

std::optional<ImportStage::Handle> ModelMaterials::Texture(const aiMaterial& material, aiTextureType type,
                                                           unsigned slot, int color_space, Color multiply) {
  aiString path;
  if (material.Get(AI_MATKEY_TEXTURE(type, slot), path) != AI_SUCCESS || path.length == 0)
    return std::nullopt;
  int uv_set = 0;
  material.Get(AI_MATKEY_UVWSRC(type, slot), uv_set);
  const int wrap_u = Wrap(material, _AI_MATKEY_MAPPINGMODE_U_BASE, type, slot);
  const int wrap_v = Wrap(material, _AI_MATKEY_MAPPINGMODE_V_BASE, type, slot);
  const std::vector<std::string> key = {
      path.C_Str(), fmt::format("{} {} {} {} {} {} {}", color_space, uv_set, wrap_u, wrap_v, multiply.r,
                                multiply.g, multiply.b)};
  const auto known = textures_.find(key);
  if (known != textures_.end()) return known->second;

  std::string file;
  scene::IntArray bytes;
  int32_t byte_count = 0;
  if (uv_set < 0 || uv_set > 1 || !SetSource(path.C_Str(), &file, &bytes, &byte_count)) {
    stage_.Note(fmt::format("the texture '{}' can't be used; a constant takes its place", path.C_Str()));
    return std::nullopt;
  }
  const Handle handle = stage_.Add("TextureBitmap", file.substr(file.rfind('/') + 1));
  if (file.empty()) {
    stage_.Set(handle, "bytes", bytes);
    stage_.Set(handle, "byteCount", byte_count);
  } else {
    stage_.Set(handle, "file", file);
  }
  stage_.Set(handle, "colorSpace", color_space);
  stage_.Set(handle, "uvSet", uv_set);
  stage_.Set(handle, "wrapU", wrap_u);
  stage_.Set(handle, "wrapV", wrap_v);
  if (multiply != Color{1, 1, 1}) stage_.Set(handle, "multiply", multiply);
  textures_.emplace(key, handle);
  return handle;
}

void ModelMaterials::SetBase(Handle handle, const aiMaterial& material) {
  Color base = ColorOf(material, "$clr.base")
                   .value_or(ColorOf(material, "$clr.diffuse").value_or(Color{0.8f, 0.8f, 0.8f}));
  base = {Unit(base.r), Unit(base.g), Unit(base.b)};
  // Where a texture gives the colour, many exporters leave the factor black.
  const Color factor = IsBlack(base) ? Color{1, 1, 1} : base;
  auto texture = Texture(material, aiTextureType_BASE_COLOR, 0, kSrgb, factor);
  if (!texture) texture = Texture(material, aiTextureType_DIFFUSE, 0, kSrgb, factor);
  if (texture) {
    stage_.Set(handle, "baseColor", stage_.Ref(*texture));
  } else {
    stage_.Set(handle, "baseColor", base);
  }
}

void ModelMaterials::SetOpacity(Handle handle, const aiMaterial& material) {
  aiString diffuse;
  aiString opacity;
  material.Get(AI_MATKEY_TEXTURE(aiTextureType_DIFFUSE, 0), diffuse);
  material.Get(AI_MATKEY_TEXTURE(aiTextureType_OPACITY, 0), opacity);
  if (opacity.length != 0) {
    const bool in_alpha = opacity == diffuse;
    if (const auto texture = Texture(material, aiTextureType_OPACITY, 0, in_alpha ? kSrgb : kRaw)) {
      stage_.Set(handle, "opacity", stage_.Ref(*texture, in_alpha ? kAlpha : kRed));
      stage_.Set(handle, "alphaMode", 2);
      return;
    }
  }
  // Nobody models what can't be seen: 0 is written by exporters that mean the opposite scale.
  const float value = Number(material, "$mat.opacity").value_or(1);
  if (value > 0 && value < 1) {
    stage_.Set(handle, "opacity", value);
    stage_.Set(handle, "alphaMode", 2);
  }
}

void ModelMaterials::SetReflection(Handle handle, const aiMaterial& material) {
  const auto shininess = Number(material, "$mat.shininess");
  const auto roughness = Number(material, "$mat.roughnessFactor");
  stage_.Set(handle, "roughness", Unit(roughness.value_or(shininess ? RoughnessOf(*shininess) : 0.5f)));
  stage_.Set(handle, "metallic", Unit(Number(material, "$mat.metallicFactor").value_or(0)));
  if (const auto packed = Texture(material, aiTextureType_UNKNOWN, 0, kRaw)) {
    stage_.Set(handle, "metallicRoughness", stage_.Ref(*packed));
  } else {
    if (const auto texture = Texture(material, aiTextureType_METALNESS, 0, kRaw)) {
      stage_.Set(handle, "metallic", stage_.Ref(*texture, kRed));
    }
    if (const auto texture = Texture(material, aiTextureType_DIFFUSE_ROUGHNESS, 0, kRaw)) {
      stage_.Set(handle, "roughness", stage_.Ref(*texture, kRed));
    }
  }
  const auto specular = ColorOf(material, "$clr.specular");
  if (!roughness && specular && IsBlack(*specular)) stage_.Set(handle, "specular", 0.0f);
  if (const auto ior = Number(material, "$mat.refracti"); ior && *ior > 1) stage_.Set(handle, "ior", *ior);
  if (const auto transmission = Number(material, "$mat.transmission.factor")) {
    stage_.Set(handle, "transmission", Unit(*transmission));
  }
  if (const auto normal = Texture(material, aiTextureType_NORMALS, 0, kRaw)) {
    stage_.Set(handle, "normalMap", stage_.Ref(*normal));
  }
}

void ModelMaterials::SetEmission(Handle handle, const aiMaterial& material) {
  const Color emissive = ColorOf(material, "$clr.emissive").value_or(Color{});
  const Color factor = IsBlack(emissive) ? Color{1, 1, 1} : emissive;
  if (const auto texture = Texture(material, aiTextureType_EMISSIVE, 0, kSrgb, factor)) {
    stage_.Set(handle, "emission", stage_.Ref(*texture));
  } else if (!IsBlack(emissive)) {
    stage_.Set(handle, "emission", emissive);
  }
  if (const auto intensity = Number(material, "$mat.emissiveIntensity")) {
    stage_.Set(handle, "emissionStrength", std::max(*intensity, 0.0f));
  }
}

bool ModelMaterials::DoubleSided(unsigned index) const {
  int two_sided = 1;
  source_.mMaterials[index]->Get(AI_MATKEY_TWOSIDED, two_sided);
  return two_sided != 0;
}

ImportStage::Handle ModelMaterials::Get(unsigned index) {
  const auto known = known_.find(index);
  if (known != known_.end()) return known->second;
  const aiMaterial& material = *source_.mMaterials[index];
  aiString name;
  material.Get(AI_MATKEY_NAME, name);
  const Handle handle = stage_.Add("MaterialPrincipled", name.C_Str());
  stage_.Set(handle, "doubleSided", DoubleSided(index));
  SetBase(handle, material);
  SetOpacity(handle, material);
  SetReflection(handle, material);
  SetEmission(handle, material);
  known_.emplace(index, handle);
  return handle;
}

}  // namespace kiln::engine::importer
