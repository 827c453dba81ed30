// Decoded images, shared by all textures that show the same file or the same bytes.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "engine/render/mip_map.h"

namespace kiln::engine::render {

// What the bitmap role of a plugin class makes.
struct Bitmap {
  std::shared_ptr<const MipMap> map;  // never null
};

// The image, decoded at most once while somebody holds it and the file does not change. Null on failure, with
// a sentence without a full stop in *error. Any thread; another caller of the same image waits for the first.
std::shared_ptr<const MipMap> LoadTexture(const std::filesystem::path& file, bool srgb, std::string* error);
std::shared_ptr<const MipMap> LoadTexture(std::span<const std::byte> bytes, bool srgb, std::string* error);

// Bytes of all decoded images in the process that somebody holds.
uint64_t TextureBytes();
// While told to more often than told not to, decoded images stay when nobody holds them any more, for the
// next scene that shows them.
void KeepTextures(bool keep);

}  // namespace kiln::engine::render
