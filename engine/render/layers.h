// What a film can keep of each pixel beside the beauty, and what one path leaves there.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "engine/utilities/math.h"

namespace kiln::engine::render {

// Up to kMeans: sums over the samples of a pixel, three floats each.
enum class Layer : uint8_t {
  // Light, by what the path did at the first surface; these add up to the beauty.
  kLighting,          // lamps and sky by a diffuse lobe
  kGi,                // all other light by a diffuse lobe
  kSpecular,          // lamps and sky by a rough reflection
  kReflection,        // all other light by a reflection, and everything that a mirror shows
  kRefraction,        // what passes through the surface, but by a diffuse lobe
  kSelfIllumination,  // lamps and glowing surfaces that the camera sees
  kBackground,        // the sky that the camera sees
  kShadow,            // what lamps and sky don't add to the first surface because something is between
  kDiffuse,           // albedo of the diffuse lobes of the first surface
  kAlbedo,            // of all its lobes; 1 where there are none
  kNormal,            // on the side of the camera
  kBumpNormal,        // with the material's normal map
  kVelocity,          // of the first surface, per frame
  kSquares,           // of the beauty's samples
  kHalf,              // the beauty's samples of odd number
  kMeans,
  kCentre = kMeans,  // a CentreSample
  kCount,
};
inline constexpr int kMeanLayers = static_cast<int>(Layer::kMeans);
inline constexpr int kLayers = static_cast<int>(Layer::kCount);

using LayerMask = uint32_t;
constexpr LayerMask LayerBit(Layer layer) {
  return LayerMask{1} << static_cast<int>(layer);
}
template <class... Layers>
constexpr LayerMask LayerBits(Layers... layers) {
  return (LayerBit(layers) | ...);
}
// Those that add up to the beauty.
inline constexpr LayerMask kLightLayers =
    LayerBits(Layer::kLighting, Layer::kGi, Layer::kSpecular, Layer::kReflection, Layer::kRefraction,
              Layer::kSelfIllumination, Layer::kBackground);

// What is seen at one place of a pixel and must not be blended with its neighbours: of all samples that of
// the one nearest to the pixel's centre.
struct CentreSample {
  float nearness = 0;  // 1 at the centre, falling; 0: there was no sample
  float depth = 0;     // along the camera's axis; infinite where there is no surface
  Vec3 position;
  uint32_t object = 0;    // place among the rendered objects plus 1; 0: none
  uint32_t node = 0;      // plugin of the object
  uint32_t material = 0;  // plugin of its material
};
static_assert(sizeof(CentreSample) == 8 * sizeof(float) && std::is_trivially_copyable_v<CentreSample>);

// As it stands among a film's floats.
inline CentreSample LoadCentre(const float* from) {
  CentreSample centre;
  std::memcpy(static_cast<void*>(&centre), from, sizeof(centre));
  return centre;
}
inline void StoreCentre(const CentreSample& centre, float* to) {
  std::memcpy(to, &centre, sizeof(centre));
}

// Where the layers of a mask stand in a pixel's floats.
class LayerLayout {
 public:
  constexpr explicit LayerLayout(LayerMask mask = 0) : mask_(mask) {
    for (int i = 0; i < kLayers; ++i) {
      if ((mask >> i & 1) == 0) continue;
      offsets_[i] = static_cast<int16_t>(stride_);
      stride_ += i < kMeanLayers ? 3 : static_cast<int>(sizeof(CentreSample) / sizeof(float));
    }
  }
  constexpr LayerMask mask() const { return mask_; }
  constexpr bool Has(Layer layer) const { return (mask_ & LayerBit(layer)) != 0; }
  constexpr int OffsetOf(Layer layer) const { return offsets_[static_cast<int>(layer)]; }
  constexpr int stride() const { return stride_; }  // floats a pixel

 private:
  LayerMask mask_;
  std::array<int16_t, kLayers> offsets_{};
  int stride_ = 0;
};

// What one path leaves; as it begins it has met nothing.
struct PathLayers {
  explicit PathLayers(LayerMask layers) : wanted(layers) {
    (*this)[Layer::kAlbedo] = {1, 1, 1};
    centre.depth = INFINITY;
  }

  LayerMask wanted;
  std::array<Color, kMeanLayers> means{};
  CentreSample centre{};

  bool Wants(LayerMask layers) const { return (wanted & layers) != 0; }
  // Applies the camera's exposure to what is light.
  void Expose(float exposure) {
    constexpr LayerMask kExposed = kLightLayers | LayerBit(Layer::kShadow);
    for (int i = 0; i < kMeanLayers; ++i) {
      if ((kExposed >> i & 1) != 0) means[i] *= exposure;
    }
  }
  Color& operator[](Layer layer) { return means[static_cast<int>(layer)]; }
};

}  // namespace kiln::engine::render
