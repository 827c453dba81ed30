// What the classes of lights have in common: whether they shine, in which colour, and how much.
#pragma once

#include "engine/render/inputs.h"

namespace kiln::engine::scene {

// Rows of a class's properties.
inline Property LightColorRow() {
  return {"color", Type::kColor, Color{1, 1, 1}, "Colour of the light."};
}
inline Property LightEnabledRow() {
  return {"enabled", Type::kBoolean, true, "Whether it shines."};
}
// Of what glows: how much, and in which unit.
inline Property GlowRow() {
  return {"intensity", Type::kFloat, 1.0f, "Radiance or power, see intensityUnit.", {0}};
}
inline Property GlowUnitRow(std::string_view description) {
  return {"intensityUnit", Type::kInt, 0, description, {0, 1}};
}
constexpr std::string_view kGlowUnits = "0: radiance, W/(m^2 sr). 1: power of the whole light, W.";

// Colour times intensity; black when the light is not enabled.
inline Color ReadLight(const render::Inputs& in) {
  return in.Bool("enabled") ? in.Color("color") * in.Float("intensity") : Color{};
}
// Whether the intensity is the power of the whole light in place of a radiance.
inline bool IsPower(const render::Inputs& in) {
  return in.Int("intensityUnit") == 1;
}

}  // namespace kiln::engine::scene
