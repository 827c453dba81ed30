// Typed reading of property values, and inputs that are a constant or a texture.
#include "engine/render/inputs.h"

#include "engine/render/shading.h"

namespace kiln::engine::render {

Color ColorInput::EvaluateTexture(const ShadingPoint& point) const {
  return texture->EvaluateColor(point, output);
}

float FloatInput::EvaluateTexture(const ShadingPoint& point) const {
  return texture->EvaluateFloat(point, output);
}

int32_t IntInput::Evaluate(const ShadingPoint& point) const {
  return texture != nullptr ? texture->EvaluateInt(point, output) : constant;
}

Vec3 VectorInput::Evaluate(const ShadingPoint& point) const {
  return texture != nullptr ? texture->EvaluateVector(point, output) : constant;
}

Matrix MatrixInput::Evaluate(const ShadingPoint& point) const {
  return texture != nullptr ? texture->EvaluateMatrix(point, output) : constant;
}

Transform TransformInput::Evaluate(const ShadingPoint& point) const {
  return texture != nullptr ? texture->EvaluateTransform(point, output) : constant;
}

template <class Input>
Input Inputs::TextureOrConstant(std::string_view property) const {
  Input input;
  input.texture = TextureOf(property);
  const scene::Value value = Get(property);
  if (const auto* constant = value.As<decltype(input.constant)>()) input.constant = *constant;
  if (const auto* reference = value.As<scene::PluginRef>()) input.output = reference->output;
  return input;
}

IntInput Inputs::IntTexture(std::string_view property) const {
  return TextureOrConstant<IntInput>(property);
}

VectorInput Inputs::VectorTexture(std::string_view property) const {
  return TextureOrConstant<VectorInput>(property);
}

MatrixInput Inputs::MatrixTexture(std::string_view property) const {
  return TextureOrConstant<MatrixInput>(property);
}

TransformInput Inputs::TransformTexture(std::string_view property) const {
  return TextureOrConstant<TransformInput>(property);
}

float Inputs::Float(std::string_view property) const {
  const scene::Value value = Get(property);
  if (const auto* f = value.As<float>()) return *f;
  if (const auto* d = value.As<double>()) return static_cast<float>(*d);
  if (const auto* i = value.As<int32_t>()) return static_cast<float>(*i);
  return 0;
}

int32_t Inputs::Int(std::string_view property) const {
  const scene::Value value = Get(property);
  if (const auto* i = value.As<int32_t>()) return *i;
  if (const auto* b = value.As<bool>()) return *b ? 1 : 0;
  return 0;
}

bool Inputs::Bool(std::string_view property) const {
  const scene::Value value = Get(property);
  if (const auto* b = value.As<bool>()) return *b;
  if (const auto* i = value.As<int32_t>()) return *i != 0;
  return false;
}

Vec3 Inputs::Vector(std::string_view property) const {
  const scene::Value value = Get(property);
  const auto* v = value.As<Vec3>();
  return v != nullptr ? *v : Vec3{};
}

kiln::engine::Color Inputs::Color(std::string_view property) const {
  const scene::Value value = Get(property);
  if (const auto* c = value.As<kiln::engine::Color>()) return *c;
  if (const auto* a = value.As<AColor>()) return {a->r, a->g, a->b};
  return {};
}

kiln::engine::Transform Inputs::Transform(std::string_view property) const {
  const scene::Value value = Get(property);
  const auto* t = value.As<kiln::engine::Transform>();
  return t != nullptr ? *t : kiln::engine::Transform{};
}

std::string Inputs::Text(std::string_view property) const {
  const scene::Value value = Get(property);
  const auto* s = value.As<std::string>();
  return s != nullptr ? *s : std::string{};
}

}  // namespace kiln::engine::render
