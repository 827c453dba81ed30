// glTF materials as MaterialPrincipled instances.
#pragma once

#include <map>

#include "engine/formats/gltf_texture.h"

namespace kiln::engine::formats {

// What has no counterpart is brought to the nearest one:
// - an unlit material shows its base colour as emission, over black without reflection, so that it keeps its
//   opacity; it lights its surroundings, which a path tracer can't avoid;
// - specular-glossiness becomes metallic-roughness: the metalness is the one for which both models agree on
// the
//   diffuse and the specular colour; where the specular colour comes from a texture the material is taken as
//   a dielectric, and glossiness from a texture is its factor;
// - occlusion is left out, because light transport accounts for it; a thickness texture is its factor.
class GltfMaterials {
 public:
  GltfMaterials(const GltfDocument& document, ImportStage& stage, GltfTextures& textures)
      : document_(document), stage_(stage), textures_(textures) {}

  // The instance of a material, made at its first use; -1 is the default material of the format.
  ImportStage::Handle Get(int material);

 private:
  using Handle = ImportStage::Handle;

  void SetColor(Handle handle, const char* property, const GltfTextureUse& use, ColorSpace space,
                Color factor, float alpha = 1);
  // A factor times one channel of a texture: 1 alpha, 2 red, 3 green, 4 blue.
  void SetScalar(Handle handle, const char* property, const GltfTextureUse& use, uint32_t channel,
                 double factor);
  void SetBase(Handle handle, const tinygltf::Material& material);
  void SetOpacity(Handle handle, const tinygltf::Material& material, const GltfTextureUse& base, Color factor,
                  double alpha);
  void SetSpecularGlossiness(Handle handle, const tinygltf::Material& material,
                             const tinygltf::Value& extension);
  void SetEmission(Handle handle, const tinygltf::Material& material);
  void SetUnlit(Handle handle, const tinygltf::Material& material);
  void SetNormal(Handle handle, const tinygltf::Material& material);
  void SetCoats(Handle handle, const tinygltf::ExtensionMap& extensions);
  void SetTransmission(Handle handle, const tinygltf::ExtensionMap& extensions);
  void SetSpecular(Handle handle, const tinygltf::ExtensionMap& extensions);
  Handle Make(const tinygltf::Material& material);

  const GltfDocument& document_;
  ImportStage& stage_;
  GltfTextures& textures_;
  std::map<int, Handle> known_;
};

}  // namespace kiln::engine::formats
