// The table of elements, and how the layers of a film become their pixels.
#include "engine/render/elements.h"

#include <algorithm>
#include <array>

namespace kiln::engine::render {
namespace {

using enum ElementType;

constexpr auto kFloat = BinaryFormat::kSingleFloat;
constexpr auto kRgb = BinaryFormat::kThreeFloats;
constexpr auto kInteger = BinaryFormat::kSingleInteger;
constexpr auto kSigned = BinaryFormat::kThreeSignedFloats;
constexpr auto kRgba = BinaryFormat::kFourFloats;

constexpr LayerMask kDiffuseLayer = LayerBit(Layer::kDiffuse);
constexpr LayerMask kCentre = LayerBit(Layer::kCentre);
constexpr LayerMask kNoise = LayerBits(Layer::kSquares, Layer::kHalf);
constexpr LayerMask kGuides = kNoise | LayerBits(Layer::kAlbedo, Layer::kNormal);
constexpr LayerMask kAllDiffuse = LayerBits(Layer::kLighting, Layer::kGi);

constexpr Element kElements[kElementCount] = {
    {kDiffuse, "diffuse", "RenderChannelDiffuse", kRgb, kDiffuseLayer,
     "The albedo of the first surface's diffuse lobes: its colour without light."},
    {kReflection, "reflection", "RenderChannelReflection", kRgb, LayerBit(Layer::kReflection),
     "What the first surface reflects, lamps and sky in rough reflections left out."},
    {kRefraction, "refraction", "RenderChannelRefraction", kRgb, LayerBit(Layer::kRefraction),
     "What is seen through the first surface."},
    {kSelfIllumination, "self_illumination", "RenderChannelSelfIllumination", kRgb,
     LayerBit(Layer::kSelfIllumination), "Lamps and glowing surfaces that the camera sees."},
    {kShadow, "shadow", "RenderChannelShadow", kRgb, LayerBit(Layer::kShadow),
     "The light of lamps and sky that does not reach the first surface."},
    {kSpecular, "specular", "RenderChannelSpecular", kRgb, LayerBit(Layer::kSpecular),
     "Lamps and sky in the rough reflections of the first surface."},
    {kLighting, "lighting", "RenderChannelLighting", kRgb, LayerBit(Layer::kLighting),
     "Lamps and sky on the first surface's diffuse lobes."},
    {kGi, "gi", "RenderChannelGi", kRgb, LayerBit(Layer::kGi),
     "Light from other surfaces on the first surface's diffuse lobes."},
    {kRawGi, "raw_gi", "RenderChannelRawGi", kRgb, LayerBit(Layer::kGi) | kDiffuseLayer,
     "The element gi, the diffuse colour divided out."},
    {kRawLight, "raw_light", "RenderChannelRawLight", kRgb, LayerBit(Layer::kLighting) | kDiffuseLayer,
     "The element lighting, the diffuse colour divided out."},
    {kRawShadow, "raw_shadow", "RenderChannelRawShadow", kRgb, LayerBit(Layer::kShadow) | kDiffuseLayer,
     "The element shadow, the diffuse colour divided out."},
    {kVelocity, "velocity", "RenderChannelVelocity", kSigned, LayerBit(Layer::kVelocity),
     "How far the first surface moves until the next frame, in the world."},
    {kRenderId, "render_id", "RenderChannelRenderId", kInteger, kCentre,
     "The first surface's object: its place among those rendered, from 1; 0 for none."},
    {kMaterialId, "material_id", "RenderChannelMaterialId", kInteger, kCentre,
     "The first surface's material: the number of its plugin; 0 for none."},
    {kNodeId, "node_id", "RenderChannelNodeId", kInteger, kCentre,
     "The first surface's object: the number of its plugin; 0 for none."},
    {kZDepth, "z_depth", "RenderChannelZDepth", kFloat, kCentre,
     "The distance to the first surface along the camera's axis, infinite where there is none."},
    {kNormals, "normals", "RenderChannelNormals", kSigned, LayerBit(Layer::kNormal),
     "The interpolated normal of the first surface in the world, on the side of the camera."},
    {kBackground, "background", "RenderChannelBackground", kRgb, LayerBit(Layer::kBackground),
     "The sky that the camera sees."},
    {kAlpha, "alpha", "RenderChannelAlpha", kFloat, 0, "How much of a pixel is covered."},
    {kColor, "color", "RenderChannelColor", kRgba, 0, "The picture itself."},
    {kTotalLight, "total_light", "RenderChannelTotalLight", kRgb, kAllDiffuse,
     "All light on the first surface's diffuse lobes: lighting and gi."},
    {kRawTotalLight, "raw_total_light", "RenderChannelRawTotalLight", kRgb, kAllDiffuse | kDiffuseLayer,
     "The element total_light, the diffuse colour divided out."},
    {kBumpNormals, "bump_normals", "RenderChannelBumpNormals", kSigned, LayerBit(Layer::kBumpNormal),
     "The normal of the first surface in the world, its material's normal map applied."},
    {kSampleRate, "sample_rate", "RenderChannelSampleRate", kFloat, 0, "How many samples a pixel got."},
    {kNoiseLevel, "noise_level", "RenderChannelNoiseLevel", kFloat, kNoise,
     "The standard error of the pixel's luminance."},
    {kWorldPosition, "world_position", "RenderChannelWorldPosition", kSigned, kCentre,
     "The place of the first surface in the world."},
    {kDenoised, "denoised", "RenderChannelDenoised", kRgba, kGuides, "The picture without its noise."},
};

static_assert(kElements[kElementCount - 1].type == kDenoised);

// The sum of the element's layers of light.
bool ReadSum(const Film& film, LayerMask layers, const Bucket& part, std::vector<float>* rgb) {
  std::vector<float> term(rgb->size());
  for (int i = 0; i < kMeanLayers; ++i) {
    if ((layers >> i & 1) == 0) continue;
    if (!film.ReadMeans(static_cast<Layer>(i), part, term.data())) return false;
    std::ranges::transform(*rgb, term, rgb->begin(), std::plus<>());
  }
  return true;
}

// Black where there is nothing to divide by.
bool DivideByDiffuse(const Film& film, const Bucket& part, std::vector<float>* rgb) {
  std::vector<float> diffuse(rgb->size());
  if (!film.ReadMeans(Layer::kDiffuse, part, diffuse.data())) return false;
  std::ranges::transform(*rgb, diffuse, rgb->begin(),
                         [](float light, float color) { return color > 1e-4f ? light / color : 0.0f; });
  return true;
}

// From the variance of a pixel's samples, as if they were independent.
bool ReadNoise(const Film& film, const Bucket& part, std::vector<float>* rgb) {
  const size_t count = rgb->size() / 3;
  std::vector<float> squares(rgb->size());
  std::vector<float> beauty(4 * count);
  std::vector<uint32_t> samples(count);
  if (!film.ReadMeans(Layer::kSquares, part, squares.data()) || !film.ReadBeauty(part, beauty.data()) ||
      !film.ReadSampleCounts(part, samples.data()))
    return false;
  constexpr float kWeights[3] = {0.2126f, 0.7152f, 0.0722f};
  for (size_t i = 0; i < count; ++i) {
    float error = 0;
    for (size_t c = 0; c < 3; ++c) {
      const float mean = beauty[4 * i + c];
      error += kWeights[c] * std::sqrt(std::max(0.0f, squares[3 * i + c] - mean * mean));
    }
    error /= std::sqrt(static_cast<float>(std::max(1u, samples[i])));
    std::fill_n(rgb->begin() + static_cast<ptrdiff_t>(3 * i), 3, error);
  }
  return true;
}

bool ReadSampleRate(const Film& film, const Bucket& part, std::vector<float>* rgb) {
  std::vector<uint32_t> samples(rgb->size() / 3);
  if (!film.ReadSampleCounts(part, samples.data())) return false;
  for (size_t i = 0; i < rgb->size(); ++i) (*rgb)[i] = static_cast<float>(samples[i / 3]);
  return true;
}

bool ReadCentres(const Film& film, const Element& element, const Bucket& part, std::vector<float>* rgb,
                 std::vector<uint32_t>* integers) {
  std::vector<CentreSample> centres(rgb->size() / 3);
  if (!film.ReadCentres(part, centres.data())) return false;
  if (element.format == kInteger) integers->resize(centres.size());
  for (size_t i = 0; i < centres.size(); ++i) {
    const CentreSample& centre = centres[i];
    float* out = &(*rgb)[3 * i];
    if (element.type == kZDepth) {
      out[0] = out[1] = out[2] = centre.nearness > 0 ? centre.depth : INFINITY;
    } else if (element.type == kWorldPosition) {
      out[0] = centre.position.x;
      out[1] = centre.position.y;
      out[2] = centre.position.z;
    } else {
      (*integers)[i] = element.type == kRenderId ? centre.object
                       : element.type == kNodeId ? centre.node
                                                 : centre.material;
    }
  }
  return true;
}

bool ReadRgb(const Film& film, const Element& element, const Bucket& part, ElementPixels* out,
             std::vector<float>* rgb) {
  switch (element.type) {
    case kNoiseLevel:
      return ReadNoise(film, part, rgb);
    case kSampleRate:
      return ReadSampleRate(film, part, rgb);
    case kRawGi:
    case kRawLight:
    case kRawShadow:
    case kRawTotalLight:
      return ReadSum(film, element.layers & ~kDiffuseLayer, part, rgb) && DivideByDiffuse(film, part, rgb);
    default:
      if ((element.layers & kCentre) != 0) return ReadCentres(film, element, part, rgb, &out->integers);
      return ReadSum(film, element.layers, part, rgb);
  }
}

}  // namespace

std::span<const Element, kElementCount> AllElements() {
  return kElements;
}

const Element* FindElement(ElementType type) {
  const auto* found = std::ranges::find(kElements, type, &Element::type);
  return found != std::end(kElements) ? found : nullptr;
}

std::optional<ElementPixels> ReadElement(const Film& film, const Element& element, const Bucket& part) {
  ElementPixels out;
  out.width = part.width;
  out.height = part.height;
  out.format = element.format;
  if (part.width <= 0 || part.height <= 0) return std::nullopt;
  const size_t count = static_cast<size_t>(part.width) * static_cast<size_t>(part.height);
  out.rgba.resize(4 * count);
  if (!film.ReadBeauty(part, out.rgba.data())) return std::nullopt;
  if (element.type == kColor || element.type == kDenoised) return out;
  if (element.type == kAlpha) {
    for (size_t i = 0; i < count; ++i) std::fill_n(&out.rgba[4 * i], 3, out.rgba[4 * i + 3]);
    return out;
  }
  std::vector<float> rgb(3 * count);
  if (!ReadRgb(film, element, part, &out, &rgb)) return std::nullopt;
  for (size_t i = 0; i < count; ++i) std::copy_n(&rgb[3 * i], 3, &out.rgba[4 * i]);
  if (!out.integers.empty()) {
    for (size_t i = 0; i < count; ++i) std::fill_n(&out.rgba[4 * i], 3, static_cast<float>(out.integers[i]));
  }
  return out;
}

}  // namespace kiln::engine::render
