// Inputs made by a test: values by name over the class's own table, textures by hand.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/render/inputs.h"
#include "engine/render/shading.h"
#include "engine/scene/plugin_class.h"

namespace kiln::engine::render {

// A texture of one colour; output 1 is its `alpha`.
class FlatTexture : public Texture {
 public:
  explicit FlatTexture(Color color, float alpha = 1) : color_(color), alpha_(alpha) {}
  Color EvaluateColor(const ShadingPoint&, uint32_t output) const override {
    return output == 1 ? Color{alpha_, alpha_, alpha_} : color_;
  }

 private:
  Color color_;
  float alpha_;
};

class FakeInputs : public Inputs {
 public:
  explicit FakeInputs(std::string_view class_name) : type_(scene::FindClass(class_name)) {}

  FakeInputs& Set(const std::string& property, scene::Value value) {
    values_[property] = std::move(value);
    return *this;
  }
  FakeInputs& SetTexture(const std::string& property, const Texture* texture, uint32_t output = 0) {
    textures_[property] = {texture, output};
    return *this;
  }

  std::unique_ptr<Material> MakeMaterial() const { return type_->evaluation.material(*this); }
  std::unique_ptr<Texture> MakeTexture() const { return type_->evaluation.texture(*this); }
  const std::vector<std::string>& warnings() const { return warnings_; }

  scene::PluginId id() const override { return 1; }
  std::string_view name() const override { return "fake"; }
  scene::Value Get(std::string_view property) const override {
    const auto found = values_.find(std::string(property));
    return found != values_.end() ? found->second : type_->FindProperty(property)->default_value;
  }
  ColorInput ColorTexture(std::string_view property) const override {
    if (const auto [texture, output] = Find(property); texture) return {{}, texture, output};
    return {Color(property)};
  }
  FloatInput FloatTexture(std::string_view property) const override {
    if (const auto [texture, output] = Find(property); texture) return {0, texture, output};
    return {Float(property)};
  }
  const Texture* TextureOf(std::string_view property) const override { return Find(property).first; }
  const Material* MaterialOf(std::string_view) const override { return nullptr; }
  const GeometrySource* GeometryOf(std::string_view) const override { return nullptr; }
  const UvwGen* UvwGenOf(std::string_view) const override { return nullptr; }
  const Bitmap* BitmapOf(std::string_view) const override { return nullptr; }
  std::filesystem::path File(std::string_view property) const override { return Text(property); }
  void Warn(std::string_view text) const override { warnings_.emplace_back(text); }

 private:
  std::pair<const Texture*, uint32_t> Find(std::string_view property) const {
    const auto found = textures_.find(std::string(property));
    return found != textures_.end() ? found->second : std::pair<const Texture*, uint32_t>{};
  }
  const scene::PluginClass* type_;
  std::map<std::string, scene::Value> values_;
  std::map<std::string, std::pair<const Texture*, uint32_t>> textures_;
  mutable std::vector<std::string> warnings_;
};

}  // namespace kiln::engine::render
