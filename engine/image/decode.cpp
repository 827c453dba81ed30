// Decoding by content: the first bytes say which decoder takes the rest.
#include <cstring>
#include <fstream>
#include <new>
#include <string_view>
#include <vector>

#include "engine/image/codec.h"
#include "engine/image/codec_failure.h"

namespace kiln::engine::image {
namespace {

using Bytes = std::span<const std::byte>;
using Decoder = Image* (*)(Bytes, std::string*);
using namespace std::string_view_literals;

struct Signature {
  std::string_view start;
  Decoder decode;
};
constexpr Signature kSignatures[] = {
    {"\x89PNG\r\n\x1a\n"sv, DecodePng},
    {"\xff\xd8\xff"sv, DecodeJpeg},
    {"\x76\x2f\x31\x01"sv, DecodeExr},
    {"II\x2a\0"sv, DecodeTiff},
    {"MM\0\x2a"sv, DecodeTiff},
    {"II\x2b\0"sv, DecodeTiff},
    {"MM\0\x2b"sv, DecodeTiff},
    {"#?RADIANCE"sv, DecodeHdr},
    {"#?RGBE"sv, DecodeHdr},
    {"BM"sv, DecodeBmp},
};

}  // namespace

ImagePtr CreateDecoded(int64_t width, int64_t height, float gamma, bool straight_alpha, std::string* error) {
  const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
  if (width < 1 || height < 1) {
    Fail(error, "an image of " + size + " is empty");
    return nullptr;
  }
  if (width > kMaxSide || height > kMaxSide || width * height > kMaxPixels) {
    Fail(error, "an image of " + size + " is too large");
    return nullptr;
  }
  ImagePtr image(CreateUnfilled(static_cast<int>(width), static_cast<int>(height)));
  if (!image) {
    Fail(error, kOutOfMemory);
    return nullptr;
  }
  image->gamma = gamma;
  image->straight_alpha = straight_alpha ? 1 : 0;
  return image;
}

Image* Decode(Bytes bytes, std::string* error) {
  if (bytes.empty()) return FailImage(error, "the file is empty");
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  for (const Signature& signature : kSignatures) {
    if (text.starts_with(signature.start)) return signature.decode(bytes, error);
  }
  // Last, because a TGA has no signature: any bytes that make a sensible header are one.
  return DecodeTga(bytes, error);
}

Image* DecodeFile(const std::filesystem::path& file, std::string* error) try {
  std::error_code failure;
  const auto kind = std::filesystem::status(file, failure).type();
  if (kind == std::filesystem::file_type::not_found) {
    return FailImage(error, "the file \"" + file.string() + "\" does not exist");
  }
  if (kind != std::filesystem::file_type::regular) {
    return FailImage(error, "\"" + file.string() + "\" is not a file that can be read");
  }
  const auto size = std::filesystem::file_size(file, failure);
  std::ifstream stream(file, std::ios::binary);
  if (failure || !stream) return FailImage(error, "the file \"" + file.string() + "\" cannot be opened");
  std::vector<std::byte> bytes(size);
  stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
  if (static_cast<uintmax_t>(stream.gcount()) != size) {
    return FailImage(error, "the file \"" + file.string() + "\" cannot be read");
  }
  return Decode(bytes, error);
} catch (const std::bad_alloc&) {
  return FailImage(error, kOutOfMemory);
}

}  // namespace kiln::engine::image
