// Files for decoder tests, built byte by byte or with the codecs' own libraries.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "engine/image/encode.h"

namespace kiln::engine::image {

inline Bytes FromText(std::string_view text) {
  const auto* begin = reinterpret_cast<const std::byte*>(text.data());
  return {begin, begin + text.size()};
}
inline void Append(Bytes& out, const std::vector<int>& values) {
  for (const int v : values) out.push_back(static_cast<std::byte>(v));
}
inline bool Contains(const Bytes& bytes, std::string_view text) {
  return std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()).find(text) !=
         std::string_view::npos;
}

// A directory of its own that goes with the test.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }
  const std::filesystem::path& path() const { return path_; }
  size_t Count() const;

 private:
  std::filesystem::path path_;
};

// PNG of any colour type and depth from packed rows; the palette is red, green, blue and white, with green
// half transparent.
struct PngSource {
  int width, height, depth, color_type;
  bool interlaced = false;
  std::vector<std::vector<unsigned char>> rows;
};
Bytes BuildPng(const PngSource& source);

// BMP with a 40 byte header; `tables` stands between header and pixels.
Bytes BuildBmp(int width, int height, int depth, int compression, const std::vector<int>& tables,
               const std::vector<int>& pixels);

}  // namespace kiln::engine::image
