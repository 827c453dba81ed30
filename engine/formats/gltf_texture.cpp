// glTF textures as TextureBitmap instances, one for each distinct use.
#include "engine/formats/gltf_texture.h"

#include <fmt/format.h>

#include "engine/formats/model_import_failure.h"
#include "engine/formats/model_import_files.h"

namespace kiln::engine::formats {
namespace {

using Handle = ImportStage::Handle;

Vec3 Pair(const tinygltf::Value& object, const char* member, Vec3 otherwise) {
  if (!object.Has(member) || object.Get(member).ArrayLen() != 2) return otherwise;
  const tinygltf::Value& pair = object.Get(member);
  return {static_cast<float>(pair.Get(0).GetNumberAsDouble()),
          static_cast<float>(pair.Get(1).GetNumberAsDouble()), otherwise.z};
}

void ApplyTransform(const tinygltf::Value& transform, GltfTextureUse& use) {
  use.offset = Pair(transform, "offset", use.offset);
  use.scale = Pair(transform, "scale", use.scale);
  if (transform.Has("rotation"))
    use.rotation = static_cast<float>(transform.Get("rotation").GetNumberAsDouble());
  if (transform.Has("texCoord")) use.uv_set = transform.Get("texCoord").GetNumberAsInt();
}

int Wrap(int code) {
  if (code == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT) return 1;
  return code == TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE ? 2 : 0;
}

constexpr const char* kTransform = "KHR_texture_transform";

}  // namespace

GltfTextureUse TextureUse(int index, int tex_coord, const tinygltf::ExtensionMap& extensions) {
  GltfTextureUse use;
  use.texture = index;
  use.uv_set = tex_coord;
  if (const auto found = extensions.find(kTransform); found != extensions.end())
    ApplyTransform(found->second, use);
  return use;
}

GltfTextureUse TextureUse(const tinygltf::Value& extension, const std::string& member) {
  GltfTextureUse use;
  if (!extension.Has(member)) return use;
  const tinygltf::Value& info = extension.Get(member);
  use.texture = info.Get("index").GetNumberAsInt();
  if (info.Has("texCoord")) use.uv_set = info.Get("texCoord").GetNumberAsInt();
  if (info.Has("extensions") && info.Get("extensions").Has(kTransform)) {
    ApplyTransform(info.Get("extensions").Get(kTransform), use);
  }
  return use;
}

std::optional<int> GltfTextures::ImageOf(const tinygltf::Texture& texture) {
  if (texture.source >= 0) return texture.source;
  for (const char* extension : {"KHR_texture_basisu", "EXT_texture_webp"}) {
    const auto found = texture.extensions.find(extension);
    if (found != texture.extensions.end() && found->second.Has("source")) {
      return found->second.Get("source").GetNumberAsInt();
    }
  }
  return std::nullopt;
}

bool GltfTextures::Usable(int index) {
  const auto [it, added] = usable_.try_emplace(index, false);
  if (!added) return it->second;
  const GltfImage& image = document_.images[index];
  if (image.file.empty()) {
    it->second = IsDecodableImage(image.bytes);
  } else {
    const auto head = base_dir_.empty() ? std::nullopt : ReadHead(base_dir_ / image.file);
    if (!head) {
      throw ImportFailure(LoadError::kMissingAsset,
                          fmt::format("the file '{}' of {} can't be read", image.file, image.label));
    }
    it->second = IsDecodableImage(*head);
  }
  if (!it->second) {
    stage_.Note(
        fmt::format("{} is of a kind that can't be decoded; a constant takes its place", image.label));
  }
  return it->second;
}

void GltfTextures::SetImage(Handle handle, const GltfImage& image) {
  if (!image.file.empty()) {
    stage_.Set(handle, "file", image.file);
    return;
  }
  const int index = static_cast<int>(&image - document_.images.data());
  const auto [packed, added] = packed_.try_emplace(index);
  if (added) packed->second = PackBytes(image.bytes);
  stage_.Set(handle, "bytes", packed->second);
  stage_.Set(handle, "byteCount", static_cast<int32_t>(image.bytes.size()));
}

void GltfTextures::SetSampler(Handle handle, int index) {
  if (index < 0) return;
  const tinygltf::Sampler& sampler = document_.model.samplers[index];
  stage_.Set(handle, "wrapU", Wrap(sampler.wrapS));
  stage_.Set(handle, "wrapV", Wrap(sampler.wrapT));
  if (sampler.magFilter == TINYGLTF_TEXTURE_FILTER_NEAREST) stage_.Set(handle, "filter", 0);
}

std::optional<Handle> GltfTextures::Get(const GltfTextureUse& use, ColorSpace space, Color multiply,
                                        float multiply_alpha) {
  if (!use.present()) return std::nullopt;
  const tinygltf::Texture& texture = document_.model.textures[use.texture];
  const std::optional<int> image_index = ImageOf(texture);
  if (!image_index || !Usable(*image_index)) return std::nullopt;
  if (use.uv_set > 1) {
    stage_.Note(fmt::format("textures[{}] uses the texture coordinates {}; only 0 and 1 are read",
                            use.texture, use.uv_set));
    return std::nullopt;
  }
  const GltfImage& image = document_.images[*image_index];
  const std::vector<float> key = {static_cast<float>(*image_index),
                                  static_cast<float>(texture.sampler),
                                  static_cast<float>(space),
                                  static_cast<float>(use.uv_set),
                                  use.offset.x,
                                  use.offset.y,
                                  use.scale.x,
                                  use.scale.y,
                                  use.rotation,
                                  multiply.r,
                                  multiply.g,
                                  multiply.b,
                                  multiply_alpha};
  const auto known = known_.find(key);
  if (known != known_.end()) return known->second;

  std::string name = texture.name.empty() ? image.file : texture.name;
  if (const size_t slash = name.rfind('/'); slash != std::string::npos) name = name.substr(slash + 1);
  const Handle handle = stage_.Add("TextureBitmap", name);
  SetImage(handle, image);
  SetSampler(handle, texture.sampler);
  stage_.Set(handle, "colorSpace", static_cast<int32_t>(space));
  stage_.Set(handle, "uvSet", use.uv_set);
  stage_.Set(handle, "uvOffset", use.offset);
  stage_.Set(handle, "uvScale", use.scale);
  stage_.Set(handle, "uvRotation", use.rotation);
  if (multiply != Color{1, 1, 1}) stage_.Set(handle, "multiply", multiply);
  if (multiply_alpha != 1) stage_.Set(handle, "multiplyAlpha", multiply_alpha);
  known_.emplace(key, handle);
  return handle;
}

}  // namespace kiln::engine::formats
