// How a class file reads its instance while a render scene is built: typed values at the frozen time, and the
// render-time objects of the plugins that it refers to.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "engine/scene/scene.h"

namespace kiln::engine::render {

class GeometrySource;
class Material;
class Texture;
class UvwGen;
class Volume;
struct Bitmap;
struct ShadingPoint;

// A colour that is a constant or a texture's output; the texture is owned by the render scene. `factor`
// multiplies.
struct ColorInput {
  Color constant{};
  const Texture* texture = nullptr;
  uint32_t output = 0;
  Color Evaluate(const ShadingPoint& point) const {
    return texture == nullptr ? constant : EvaluateTexture(point);
  }
  bool IsConstant() const { return texture == nullptr; }

 private:
  Color EvaluateTexture(const ShadingPoint& point) const;
};
struct FloatInput {
  float constant = 0;
  const Texture* texture = nullptr;
  uint32_t output = 0;
  float Evaluate(const ShadingPoint& point) const {
    return texture == nullptr ? constant : EvaluateTexture(point);
  }
  bool IsConstant() const { return texture == nullptr; }

 private:
  float EvaluateTexture(const ShadingPoint& point) const;
};

struct IntInput {
  int32_t constant = 0;
  const Texture* texture = nullptr;
  uint32_t output = 0;
  int32_t Evaluate(const ShadingPoint& point) const;
};
struct VectorInput {
  Vec3 constant;
  const Texture* texture = nullptr;
  uint32_t output = 0;
  Vec3 Evaluate(const ShadingPoint& point) const;
};
struct MatrixInput {
  Matrix constant;
  const Texture* texture = nullptr;
  uint32_t output = 0;
  Matrix Evaluate(const ShadingPoint& point) const;
};
struct TransformInput {
  Transform constant;
  const Texture* texture = nullptr;
  uint32_t output = 0;
  Transform Evaluate(const ShadingPoint& point) const;
};

// One instance, seen by its class's evaluation functions. Property names must be declared by the class; a
// name that is not asserts. A reference to a missing or unsuitable plugin counts as none.
class Inputs {
 public:
  virtual ~Inputs() = default;

  virtual scene::PluginId id() const = 0;
  virtual std::string_view name() const = 0;
  // The value at the frozen time, or the default.
  virtual scene::Value Get(std::string_view property) const = 0;
  // The frozen time in frames. What asks for it is made anew for every other time.
  virtual double Time() const { return 0; }

  float Float(std::string_view property) const;
  int32_t Int(std::string_view property) const;
  bool Bool(std::string_view property) const;
  Vec3 Vector(std::string_view property) const;
  kiln::engine::Color Color(std::string_view property) const;
  kiln::engine::Transform Transform(std::string_view property) const;
  std::string Text(std::string_view property) const;
  // A list of the type's elements; empty when the property holds no such list.
  template <class Array>
  Array List(std::string_view property) const {
    const scene::Value value = Get(property);
    const Array* list = value.As<Array>();
    return list != nullptr ? *list : Array{};
  }

  // Textures: the constant in the property, or the referred plugin's texture.
  virtual ColorInput ColorTexture(std::string_view property) const = 0;
  virtual FloatInput FloatTexture(std::string_view property) const = 0;
  IntInput IntTexture(std::string_view property) const;
  VectorInput VectorTexture(std::string_view property) const;
  MatrixInput MatrixTexture(std::string_view property) const;
  TransformInput TransformTexture(std::string_view property) const;
  // The texture itself, null for a constant or none.
  virtual const Texture* TextureOf(std::string_view property) const = 0;
  virtual const Material* MaterialOf(std::string_view property) const = 0;
  virtual const GeometrySource* GeometryOf(std::string_view property) const = 0;
  virtual const UvwGen* UvwGenOf(std::string_view property) const = 0;
  virtual const Bitmap* BitmapOf(std::string_view property) const = 0;
  // A file name in a property, resolved against the scene's folder.
  virtual std::filesystem::path File(std::string_view property) const = 0;
  // A warning for the host's log: "<instance>: <text>".
  virtual void Warn(std::string_view text) const = 0;

 private:
  // The texture of a reference, or the property's constant; the zero or identity where a reference leads
  // nowhere.
  template <class Input>
  Input TextureOrConstant(std::string_view property) const;
};

}  // namespace kiln::engine::render
