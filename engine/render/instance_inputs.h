// A class's view of one frozen instance: values at the time of the build, references resolved by the builder.
#pragma once

#include "engine/render/inputs.h"
#include "engine/render/scene_builder.h"

namespace kiln::engine::render {

class InstanceInputs : public Inputs {
 public:
  InstanceInputs(SceneBuilder& builder, const scene::Instance& instance)
      : builder_(builder), instance_(instance) {}

  scene::PluginId id() const override { return instance_.id; }
  std::string_view name() const override { return instance_.name; }
  scene::Value Get(std::string_view property) const override;
  double Time() const override;
  ColorInput ColorTexture(std::string_view property) const override;
  FloatInput FloatTexture(std::string_view property) const override;
  const Texture* TextureOf(std::string_view property) const override;
  const Material* MaterialOf(std::string_view property) const override;
  const GeometrySource* GeometryOf(std::string_view property) const override;
  const UvwGen* UvwGenOf(std::string_view property) const override;
  const Bitmap* BitmapOf(std::string_view property) const override;
  std::filesystem::path File(std::string_view property) const override;
  void Warn(std::string_view text) const override;

  scene::PluginRef Reference(std::string_view property) const;
  // From a place to how far an animated transform, which is `now` at the time of the build, moves what is
  // there until the next frame.
  kiln::engine::Transform MotionOf(std::string_view property, const kiln::engine::Transform& now) const;

 private:
  SceneBuilder& builder_;
  const scene::Instance& instance_;
};

}  // namespace kiln::engine::render
