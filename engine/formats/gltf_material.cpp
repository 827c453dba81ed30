// glTF materials as MaterialPrincipled instances.
#include "engine/formats/gltf_material.h"

#include <algorithm>
#include <cmath>

namespace kiln::engine::formats {
namespace {

constexpr uint32_t kAlpha = 1;
constexpr uint32_t kRed = 2;
constexpr uint32_t kGreen = 3;

// Of a dielectric with the index of refraction 1.5.
constexpr double kDielectricReflectance = 0.04;

float Unit(double value) {
  return static_cast<float>(std::clamp(value, 0.0, 1.0));
}
float NotNegative(double value) {
  return static_cast<float>(std::max(value, 0.0));
}

double NumberOr(const tinygltf::Value& object, const char* member, double otherwise) {
  return object.Has(member) ? object.Get(member).GetNumberAsDouble() : otherwise;
}

Color ColorOr(const tinygltf::Value& object, const char* member, Color otherwise) {
  if (!object.Has(member) || object.Get(member).ArrayLen() < 3) return otherwise;
  const tinygltf::Value& c = object.Get(member);
  return {NotNegative(c.Get(0).GetNumberAsDouble()), NotNegative(c.Get(1).GetNumberAsDouble()),
          NotNegative(c.Get(2).GetNumberAsDouble())};
}

Color ToColor(const std::vector<double>& c, Color otherwise) {
  return c.size() < 3 ? otherwise : Color{NotNegative(c[0]), NotNegative(c[1]), NotNegative(c[2])};
}

const tinygltf::Value* Find(const tinygltf::ExtensionMap& extensions, const char* name) {
  const auto found = extensions.find(name);
  return found == extensions.end() ? nullptr : &found->second;
}

// The metalness at which a metallic-roughness material has the given perceived diffuse and specular
// strengths: the root of the quadratic that both colour equations leave.
double Metalness(Color diffuse, Color specular) {
  const auto brightness = [](Color c) {
    return std::sqrt(0.299 * c.r * c.r + 0.587 * c.g * c.g + 0.114 * c.b * c.b);
  };
  const double s = brightness(specular);
  if (s < kDielectricReflectance) return 0;
  const double one_minus_specular = 1 - MaxComponent(specular);
  const double a = kDielectricReflectance;
  const double b = brightness(diffuse) * one_minus_specular / (1 - kDielectricReflectance) + s -
                   2 * kDielectricReflectance;
  const double c = kDielectricReflectance - s;
  const double discriminant = std::max(b * b - 4 * a * c, 0.0);
  return std::clamp((-b + std::sqrt(discriminant)) / (2 * a), 0.0, 1.0);
}

Color BaseOf(Color diffuse, Color specular, double metalness) {
  const auto one_minus_specular = static_cast<float>(1 - MaxComponent(specular));
  const auto m = static_cast<float>(metalness);
  constexpr auto kF0 = static_cast<float>(kDielectricReflectance);
  const Color from_diffuse = diffuse * (one_minus_specular / ((1 - kF0) * std::max(1 - m, 1e-4f)));
  const Color from_specular = (specular - Color{kF0, kF0, kF0} * (1 - m)) * (1 / std::max(m, 1e-4f));
  const Color base = Lerp(from_diffuse, from_specular, m * m);
  return {Unit(base.r), Unit(base.g), Unit(base.b)};
}

}  // namespace

void GltfMaterials::SetColor(Handle handle, const char* property, const GltfTextureUse& use, ColorSpace space,
                             Color factor, float alpha) {
  // Black times anything is black: no texture is loaded for it.
  const auto texture = IsBlack(factor) ? std::nullopt : textures_.Get(use, space, factor, alpha);
  if (texture) {
    stage_.Set(handle, property, stage_.Ref(*texture));
  } else {
    stage_.Set(handle, property, factor);
  }
}

void GltfMaterials::SetScalar(Handle handle, const char* property, const GltfTextureUse& use,
                              uint32_t channel, double factor) {
  const float f = Unit(factor);
  const auto texture = f == 0 ? std::nullopt : textures_.Get(use, ColorSpace::kRaw, {f, f, f}, f);
  if (texture) {
    stage_.Set(handle, property, stage_.Ref(*texture, channel));
  } else {
    stage_.Set(handle, property, f);
  }
}

void GltfMaterials::SetOpacity(Handle handle, const tinygltf::Material& material, const GltfTextureUse& base,
                               Color factor, double alpha) {
  if (material.alphaMode != "MASK" && material.alphaMode != "BLEND") return;
  const bool mask = material.alphaMode == "MASK";
  stage_.Set(handle, "alphaMode", mask ? 1 : 2);
  if (mask) stage_.Set(handle, "alphaCutoff", NotNegative(material.alphaCutoff));
  const float a = Unit(alpha);
  // With the same factors as the base colour it is the same instance.
  const auto texture = a == 0 ? std::nullopt : textures_.Get(base, ColorSpace::kSrgb, factor, a);
  if (texture) {
    stage_.Set(handle, "opacity", stage_.Ref(*texture, kAlpha));
  } else {
    stage_.Set(handle, "opacity", a);
  }
}

void GltfMaterials::SetSpecularGlossiness(Handle handle, const tinygltf::Material& material,
                                          const tinygltf::Value& extension) {
  const Color diffuse = ColorOr(extension, "diffuseFactor", {1, 1, 1});
  const Color specular = ColorOr(extension, "specularFactor", {1, 1, 1});
  const double alpha = extension.Has("diffuseFactor") && extension.Get("diffuseFactor").ArrayLen() == 4
                           ? extension.Get("diffuseFactor").Get(3).GetNumberAsDouble()
                           : 1;
  const GltfTextureUse base = TextureUse(extension, "diffuseTexture");
  const bool textured = extension.Has("specularGlossinessTexture");
  const double metalness = textured ? 0 : Metalness(diffuse, specular);
  const Color factor = textured ? diffuse : BaseOf(diffuse, specular, metalness);
  SetColor(handle, "baseColor", base, ColorSpace::kSrgb, factor, Unit(alpha));
  SetOpacity(handle, material, base, factor, alpha);
  stage_.Set(handle, "metallic", static_cast<float>(metalness));
  stage_.Set(handle, "roughness", Unit(1 - NumberOr(extension, "glossinessFactor", 1)));
}

void GltfMaterials::SetBase(Handle handle, const tinygltf::Material& material) {
  const auto& pbr = material.pbrMetallicRoughness;
  const GltfTextureUse base =
      TextureUse(pbr.baseColorTexture.index, pbr.baseColorTexture.texCoord, pbr.baseColorTexture.extensions);
  const Color factor = ToColor(pbr.baseColorFactor, {1, 1, 1});
  const double alpha = pbr.baseColorFactor.size() == 4 ? pbr.baseColorFactor[3] : 1;
  SetColor(handle, "baseColor", base, ColorSpace::kSrgb, factor, Unit(alpha));
  SetOpacity(handle, material, base, factor, alpha);
  stage_.Set(handle, "metallic", Unit(pbr.metallicFactor));
  stage_.Set(handle, "roughness", Unit(pbr.roughnessFactor));
  const auto& packed = pbr.metallicRoughnessTexture;
  if (const auto texture =
          textures_.Get(TextureUse(packed.index, packed.texCoord, packed.extensions), ColorSpace::kRaw)) {
    stage_.Set(handle, "metallicRoughness", stage_.Ref(*texture));
  }
}

void GltfMaterials::SetEmission(Handle handle, const tinygltf::Material& material) {
  const auto& info = material.emissiveTexture;
  SetColor(handle, "emission", TextureUse(info.index, info.texCoord, info.extensions), ColorSpace::kSrgb,
           ToColor(material.emissiveFactor, {}));
  if (const auto* strength = Find(material.extensions, "KHR_materials_emissive_strength")) {
    stage_.Set(handle, "emissionStrength", NotNegative(NumberOr(*strength, "emissiveStrength", 1)));
  }
}

void GltfMaterials::SetUnlit(Handle handle, const tinygltf::Material& material) {
  const auto& pbr = material.pbrMetallicRoughness;
  const GltfTextureUse base =
      TextureUse(pbr.baseColorTexture.index, pbr.baseColorTexture.texCoord, pbr.baseColorTexture.extensions);
  const Color factor = ToColor(pbr.baseColorFactor, {1, 1, 1});
  const double alpha = pbr.baseColorFactor.size() == 4 ? pbr.baseColorFactor[3] : 1;
  SetColor(handle, "emission", base, ColorSpace::kSrgb, factor, Unit(alpha));
  SetOpacity(handle, material, base, factor, alpha);
  stage_.Set(handle, "baseColor", Color{0, 0, 0});
  stage_.Set(handle, "metallic", 0.0f);
  stage_.Set(handle, "roughness", 1.0f);
  stage_.Set(handle, "specular", 0.0f);
}

void GltfMaterials::SetNormal(Handle handle, const tinygltf::Material& material) {
  const auto& info = material.normalTexture;
  if (const auto texture =
          textures_.Get(TextureUse(info.index, info.texCoord, info.extensions), ColorSpace::kRaw)) {
    stage_.Set(handle, "normalMap", stage_.Ref(*texture));
    stage_.Set(handle, "normalScale", static_cast<float>(info.scale));
  }
}

void GltfMaterials::SetCoats(Handle handle, const tinygltf::ExtensionMap& extensions) {
  if (const auto* coat = Find(extensions, "KHR_materials_clearcoat")) {
    SetScalar(handle, "clearcoat", TextureUse(*coat, "clearcoatTexture"), kRed,
              NumberOr(*coat, "clearcoatFactor", 0));
    SetScalar(handle, "clearcoatRoughness", TextureUse(*coat, "clearcoatRoughnessTexture"), kGreen,
              NumberOr(*coat, "clearcoatRoughnessFactor", 0));
    if (const auto texture = textures_.Get(TextureUse(*coat, "clearcoatNormalTexture"), ColorSpace::kRaw)) {
      stage_.Set(handle, "clearcoatNormalMap", stage_.Ref(*texture));
    }
  }
  if (const auto* sheen = Find(extensions, "KHR_materials_sheen")) {
    SetColor(handle, "sheenColor", TextureUse(*sheen, "sheenColorTexture"), ColorSpace::kSrgb,
             ColorOr(*sheen, "sheenColorFactor", {}));
    SetScalar(handle, "sheenRoughness", TextureUse(*sheen, "sheenRoughnessTexture"), kAlpha,
              NumberOr(*sheen, "sheenRoughnessFactor", 0));
  }
}

void GltfMaterials::SetTransmission(Handle handle, const tinygltf::ExtensionMap& extensions) {
  if (const auto* transmission = Find(extensions, "KHR_materials_transmission")) {
    SetScalar(handle, "transmission", TextureUse(*transmission, "transmissionTexture"), kRed,
              NumberOr(*transmission, "transmissionFactor", 0));
  }
  if (const auto* ior = Find(extensions, "KHR_materials_ior")) {
    stage_.Set(handle, "ior", NotNegative(NumberOr(*ior, "ior", 1.5)));
  }
  if (const auto* volume = Find(extensions, "KHR_materials_volume")) {
    stage_.Set(handle, "thickness", NotNegative(NumberOr(*volume, "thicknessFactor", 0)));
    stage_.Set(handle, "attenuationColor", ColorOr(*volume, "attenuationColor", {1, 1, 1}));
    stage_.Set(handle, "attenuationDistance", NotNegative(NumberOr(*volume, "attenuationDistance", 0)));
  }
}

void GltfMaterials::SetSpecular(Handle handle, const tinygltf::ExtensionMap& extensions) {
  const auto* specular = Find(extensions, "KHR_materials_specular");
  if (specular == nullptr) return;
  SetScalar(handle, "specular", TextureUse(*specular, "specularTexture"), kAlpha,
            NumberOr(*specular, "specularFactor", 1));
  SetColor(handle, "specularColor", TextureUse(*specular, "specularColorTexture"), ColorSpace::kSrgb,
           ColorOr(*specular, "specularColorFactor", {1, 1, 1}));
}

ImportStage::Handle GltfMaterials::Make(const tinygltf::Material& material) {
  const Handle handle = stage_.Add("MaterialPrincipled", material.name);
  stage_.Set(handle, "doubleSided", material.doubleSided);
  if (Find(material.extensions, "KHR_materials_unlit") != nullptr) {
    SetUnlit(handle, material);
    return handle;
  }
  const auto* glossiness = Find(material.extensions, "KHR_materials_pbrSpecularGlossiness");
  if (glossiness != nullptr) {
    SetSpecularGlossiness(handle, material, *glossiness);
  } else {
    SetBase(handle, material);
  }
  SetNormal(handle, material);
  SetEmission(handle, material);
  SetCoats(handle, material.extensions);
  SetTransmission(handle, material.extensions);
  SetSpecular(handle, material.extensions);
  return handle;
}

ImportStage::Handle GltfMaterials::Get(int index) {
  const auto known = known_.find(index);
  if (known != known_.end()) return known->second;
  const Handle handle = index < 0 ? Make(tinygltf::Material()) : Make(document_.model.materials[index]);
  known_.emplace(index, handle);
  return handle;
}

}  // namespace kiln::engine::formats
