// Colours of glowing bodies, and the way between linear RGB colour spaces.
#pragma once

#include "engine/utilities/math.h"

namespace kiln::engine {

// The numbers are those that cross the boundary.
//
// kCie: the CIE 1931 RGB system: monochromatic primaries of 700, 546.1 and 435.8 nm, equal-energy white.
// kSrgb: the primaries and the white D65 of IEC 61966-2-1, linear.
// kAcesCg: the primaries AP1 and the ACES white of S-2014-004.
//
// White is white in all of them: between two spaces, a colour is adapted from one white to the other
// (Bradford). XYZ as such is meant to be seen under D65.
enum class ColorSpace { kCie = 0, kSrgb = 1, kAcesCg = 2 };
inline constexpr int kColorSpaceCount = 3;

inline constexpr double kMinTemperature = 800;
inline constexpr double kMaxTemperature = 40000;

// CIE 1931 chromaticity.
struct Chromaticity {
  double x = 0, y = 0;
};

// The chromaticity of Planck's law, integrated against the CIE 1931 2-degree observer. Kelvin, above 0.
Chromaticity BlackBodyChromaticity(double kelvin);

// The colour of a black body, its largest component 1; what lies outside the space's gamut is cut off at 0.
// A temperature outside the range above counts as its nearest end, NaN as the lower one.
Color BlackBodyColor(double kelvin, ColorSpace space);

// The temperature whose BlackBodyColor in the space is closest to the colour, by distance in the CIE 1960
// (u, v) diagram, whatever the brightness. A colour without a chromaticity, such as black or one that is not
// finite, counts as the space's white.
double ClosestTemperature(Color color, ColorSpace space);

// Takes linear colours of one space to the other.
Matrix RgbToRgb(ColorSpace source, ColorSpace destination);

}  // namespace kiln::engine
