// glTF textures as TextureBitmap instances, one for each distinct use.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "engine/formats/gltf_document.h"
#include "engine/formats/model_import_stage.h"

namespace kiln::engine::formats {

enum class ColorSpace : int32_t { kRaw = 0, kSrgb = 1 };

// A use of a texture by a material: which texture, which coordinates, how transformed.
struct GltfTextureUse {
  int texture = -1;
  int uv_set = 0;
  Vec3 offset;
  Vec3 scale{1, 1, 1};
  float rotation = 0;
  bool present() const { return texture >= 0; }
};

GltfTextureUse TextureUse(int index, int tex_coord, const tinygltf::ExtensionMap& extensions);
// The same from a texture member of an extension; absent when the member is.
GltfTextureUse TextureUse(const tinygltf::Value& extension, const std::string& member);

class GltfTextures {
 public:
  // Files are looked up below base_dir; an empty one has none.
  GltfTextures(const GltfDocument& document, ImportStage& stage, const std::filesystem::path& base_dir)
      : document_(document), stage_(stage), base_dir_(base_dir) {}

  // The instance for a use, its colours and its alpha multiplied; nothing where no texture is used, or where
  // its image is of a kind that can't be decoded, which leaves a note. Throws ImportFailure when a file is
  // missing.
  std::optional<ImportStage::Handle> Get(const GltfTextureUse& use, ColorSpace space,
                                         Color multiply = {1, 1, 1}, float multiply_alpha = 1);

 private:
  std::optional<int> ImageOf(const tinygltf::Texture& texture);
  bool Usable(int image);
  void SetImage(ImportStage::Handle handle, const GltfImage& image);
  void SetSampler(ImportStage::Handle handle, int sampler);

  const GltfDocument& document_;
  ImportStage& stage_;
  std::filesystem::path base_dir_;
  std::map<std::vector<float>, ImportStage::Handle> known_;
  std::map<int, bool> usable_;
  std::map<int, scene::IntArray> packed_;
};

}  // namespace kiln::engine::formats
