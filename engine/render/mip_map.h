// An image as a texture: its texels and those of its halvings, filtered by footprint.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "engine/image/image.h"
#include "engine/utilities/math.h"

namespace kiln::engine::render {

enum class Wrap : uint8_t { kRepeat, kMirror, kClamp };
enum class TextureFilter : uint8_t { kNearest, kTrilinear };

// Immutable, so any thread may look. 8 bit images are kept as 8 bit texels, everything else as floats.
class MipMap {
 public:
  struct Address {
    Wrap u = Wrap::kRepeat;
    Wrap v = Wrap::kRepeat;
    TextureFilter filter = TextureFilter::kTrilinear;
  };

  // With `srgb` the colours of an encoded image (gamma other than 1) are decoded; alpha never is. Halvings
  // are boxes in linear light.
  MipMap(const image::Image& image, bool srgb);

  int width() const { return levels_.front().width; }
  int height() const { return levels_.front().height; }
  int level_count() const { return static_cast<int>(levels_.size()); }
  size_t byte_count() const { return bytes_.size() + floats_.size() * sizeof(float); }

  // A linear texel; x and y inside the level.
  AColor Texel(int level, int x, int y) const;
  // The texture at uv, v = 0 at the top row. `footprint` is the width of what is looked at in uv units for
  // each axis; 0 for the finest level. What is not finite counts as 0.
  AColor Sample(Vec2 uv, Vec2 footprint, const Address& address) const;

 private:
  struct Level {
    int width, height;
    size_t offset;  // of its first texel
  };
  AColor TexelOf(const Level& level, int x, int y) const;
  AColor Nearest(Vec2 uv, const Address& address) const;
  AColor Bilinear(int level, Vec2 uv, const Address& address) const;
  void Append(int width, int height);
  void Store(int level, const std::vector<AColor>& texels);

  std::vector<Level> levels_;
  std::vector<uint8_t> bytes_;  // four per texel, or empty
  std::vector<float> floats_;   // four per texel, or empty
  bool srgb_ = false;           // the bytes are encoded
  const float* decode_;         // of encoded bytes
};

}  // namespace kiln::engine::render
