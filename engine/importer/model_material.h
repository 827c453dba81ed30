// Materials and textures of model files as MaterialPrincipled and TextureBitmap.
#pragma once

#include <assimp/scene.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "engine/formats/model_import_stage.h"

namespace kiln::engine::importer {

using formats::ImportStage;

// Classic materials are brought to the nearest principled one: a Phong exponent becomes a roughness, a black
// specular colour switches reflection off. Colours are taken as linear. Textures that can't be found or
// decoded leave a note and their constant.
class ModelMaterials {
 public:
  // Textures are looked up below `folder`; an empty one has none.
  ModelMaterials(const aiScene& source, ImportStage& stage, const std::filesystem::path& folder)
      : source_(source), stage_(stage), folder_(folder) {}

  // The instance of a material, made at its first use.
  ImportStage::Handle Get(unsigned index);
  bool DoubleSided(unsigned index) const;

 private:
  using Handle = ImportStage::Handle;

  std::optional<Handle> Texture(const aiMaterial& material, aiTextureType type, unsigned slot,
                                int color_space, Color multiply = {1, 1, 1});
  bool SetSource(const std::string& path, std::string* file, scene::IntArray* bytes, int32_t* byte_count);
  bool SetEmbedded(const aiTexture& texture, scene::IntArray* bytes, int32_t* byte_count);
  void SetBase(Handle handle, const aiMaterial& material);
  void SetOpacity(Handle handle, const aiMaterial& material);
  void SetReflection(Handle handle, const aiMaterial& material);
  void SetEmission(Handle handle, const aiMaterial& material);

  const aiScene& source_;
  ImportStage& stage_;
  std::filesystem::path folder_;
  std::map<unsigned, Handle> known_;
  std::map<std::vector<std::string>, Handle> textures_;
};

}  // namespace kiln::engine::importer
