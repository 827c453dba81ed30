// The render elements: what each is called, what it needs of the film, and how its pixels are read from
// there.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "engine/render/film.h"

namespace kiln::engine::render {

// The numbers are those that cross the boundary.
enum class ElementType : int32_t {
  kNone = 0,
  kDiffuse = 101,
  kReflection = 102,
  kRefraction = 103,
  kSelfIllumination = 104,
  kShadow = 105,
  kSpecular = 106,
  kLighting = 107,
  kGi = 108,
  kRawGi = 110,
  kRawLight = 111,
  kRawShadow = 112,
  kVelocity = 113,
  kRenderId = 114,
  kMaterialId = 115,
  kNodeId = 116,
  kZDepth = 117,
  kNormals = 123,
  kBackground = 124,
  kAlpha = 125,
  kColor = 126,
  kTotalLight = 129,
  kRawTotalLight = 130,
  kBumpNormals = 131,
  kSampleRate = 132,
  kNoiseLevel = 142,
  kWorldPosition = 143,
  kDenoised = 144,
};

enum class BinaryFormat : uint32_t {
  kSingleFloat = 1,
  kThreeFloats = 2,
  kTwoSignedFloats = 3,
  kSingleInteger = 4,
  kThreeSignedFloats = 5,
  kFourFloats = 6,
};

struct Element {
  ElementType type;
  std::string_view text;        // its name in the vocabulary of types
  std::string_view class_name;  // of its plugins
  BinaryFormat format;
  LayerMask layers;  // that the film has to keep for it
  std::string_view description;
};

inline constexpr size_t kElementCount = 27;
// All elements, by type. The texts are literals.
std::span<const Element, kElementCount> AllElements();
// Null for a number that names none.
const Element* FindElement(ElementType type);

// Whether the display curve applies where an element becomes an integer or is shown: it is light or a colour.
constexpr bool IsColor(BinaryFormat format) {
  return format == BinaryFormat::kThreeFloats || format == BinaryFormat::kFourFloats;
}

// Pixels of an element, row by row. Elements of one float have it in all three colours.
struct ElementPixels {
  int width = 0, height = 0;
  BinaryFormat format = BinaryFormat::kFourFloats;
  std::vector<float> rgba;         // alpha is the beauty's
  std::vector<uint32_t> integers;  // of kSingleInteger, exact
};

// A part of an element as far as it is rendered; nothing when the part is not inside the film or the film
// does not keep what the element needs. kDenoised is read as the beauty: who wants it filtered does so.
std::optional<ElementPixels> ReadElement(const Film& film, const Element& element, const Bucket& part);

}  // namespace kiln::engine::render
