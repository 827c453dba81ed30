// Decoding image files for textures and environments.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

#include "engine/image/image.h"

namespace kiln::engine::image {

// Decodes PNG, JPEG, BMP, TIFF, EXR, Radiance HDR or TGA, recognised by content. Pixels come as stored: an 8
// or 16 bit file is scaled to 0..1 and not linearised (gamma 2.2 in the image says so), a float file is
// linear (gamma 1). Null on failure, with a sentence without a full stop in *error when given. The caller
// owns the image. Any thread.
Image* Decode(std::span<const std::byte> bytes, std::string* error = nullptr);
Image* DecodeFile(const std::filesystem::path& file, std::string* error = nullptr);

// The same for bytes that must be of one format.
Image* DecodeJpeg(std::span<const std::byte> bytes, std::string* error = nullptr);
Image* DecodePng(std::span<const std::byte> bytes, std::string* error = nullptr);
Image* DecodeBmp(std::span<const std::byte> bytes, std::string* error = nullptr);
Image* DecodeTiff(std::span<const std::byte> bytes, std::string* error = nullptr);
// The first layer with red, green and blue, else luminance; files of several parts and deep files are
// refused.
Image* DecodeExr(std::span<const std::byte> bytes, std::string* error = nullptr);
Image* DecodeHdr(std::span<const std::byte> bytes, std::string* error = nullptr);
Image* DecodeTga(std::span<const std::byte> bytes, std::string* error = nullptr);

}  // namespace kiln::engine::image
