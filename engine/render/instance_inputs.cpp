// Values and references of frozen instances.
#include "engine/render/instance_inputs.h"

#include <fmt/format.h>

#include <cassert>

namespace kiln::engine::render {

scene::Value InstanceInputs::Get(std::string_view property) const {
  const scene::Property* declared = instance_.type->FindProperty(property);
  assert(declared != nullptr && "a class reads a property that it does not declare");
  if (declared == nullptr) return {};
  const auto found = instance_.values.find(declared);
  if (found == instance_.values.end()) return declared->default_value;
  const scene::PropertyState& state = found->second;
  if (!state.keys.empty()) {
    if (!builder_.recording_.empty()) builder_.recording_.back().animated = true;
    return scene::Interpolate(state.keys, builder_.request_->time);
  }
  return state.plain.Empty() ? declared->default_value : state.plain;
}

double InstanceInputs::Time() const {
  if (!builder_.recording_.empty()) builder_.recording_.back().animated = true;
  return builder_.request_->time;
}

scene::PluginRef InstanceInputs::Reference(std::string_view property) const {
  const scene::Value value = Get(property);
  const auto* reference = value.As<scene::PluginRef>();
  return reference != nullptr ? *reference : scene::PluginRef{};
}

kiln::engine::Transform InstanceInputs::MotionOf(std::string_view property,
                                                 const kiln::engine::Transform& now) const {
  constexpr kiln::engine::Transform kRest{{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, {}};
  const auto found = instance_.values.find(instance_.type->FindProperty(property));
  if (found == instance_.values.end() || found->second.keys.empty()) return kRest;
  const scene::Value value = scene::Interpolate(found->second.keys, builder_.request_->time + 1);
  const auto* next = value.As<kiln::engine::Transform>();
  if (next == nullptr) return kRest;
  const Matrix back = Inverse(now.matrix);
  const Vec3 origin = back * kiln::engine::Offset(now);
  kiln::engine::Transform motion = *next * kiln::engine::Transform{back, {-origin.x, -origin.y, -origin.z}};
  motion.matrix.c0.x -= 1;
  motion.matrix.c1.y -= 1;
  motion.matrix.c2.z -= 1;
  return motion;
}

const Texture* InstanceInputs::TextureOf(std::string_view property) const {
  const scene::PluginRef reference = Reference(property);
  if (!reference) return nullptr;
  return builder_.Get(builder_.textures_, reference.id, &scene::Evaluation::texture).get();
}

ColorInput InstanceInputs::ColorTexture(std::string_view property) const {
  ColorInput input;
  const scene::Value value = Get(property);
  if (const auto* reference = value.As<scene::PluginRef>(); reference != nullptr && *reference) {
    input.texture = builder_.Get(builder_.textures_, reference->id, &scene::Evaluation::texture).get();
    input.output = reference->output;
    if (input.texture != nullptr) return input;
  }
  const auto constant_of = [](const scene::Value& v, kiln::engine::Color* out) {
    if (const auto* c = v.As<kiln::engine::Color>()) return *out = *c, true;
    if (const auto* a = v.As<AColor>()) return *out = {a->r, a->g, a->b}, true;
    if (const auto* f = v.As<float>()) return *out = {*f, *f, *f}, true;
    return false;
  };
  if (!constant_of(value, &input.constant)) {
    constant_of(instance_.type->FindProperty(property)->default_value, &input.constant);
  }
  return input;
}

FloatInput InstanceInputs::FloatTexture(std::string_view property) const {
  FloatInput input;
  const scene::Value value = Get(property);
  if (const auto* reference = value.As<scene::PluginRef>(); reference != nullptr && *reference) {
    input.texture = builder_.Get(builder_.textures_, reference->id, &scene::Evaluation::texture).get();
    input.output = reference->output;
    if (input.texture != nullptr) return input;
  }
  const auto constant_of = [](const scene::Value& v, float* out) {
    if (const auto* f = v.As<float>()) return *out = *f, true;
    if (const auto* d = v.As<double>()) return *out = static_cast<float>(*d), true;
    if (const auto* i = v.As<int32_t>()) return *out = static_cast<float>(*i), true;
    return false;
  };
  if (!constant_of(value, &input.constant)) {
    constant_of(instance_.type->FindProperty(property)->default_value, &input.constant);
  }
  return input;
}

const Material* InstanceInputs::MaterialOf(std::string_view property) const {
  const scene::PluginRef reference = Reference(property);
  if (!reference) return nullptr;
  return builder_.Get(builder_.materials_, reference.id, &scene::Evaluation::material).get();
}

const GeometrySource* InstanceInputs::GeometryOf(std::string_view property) const {
  const scene::PluginRef reference = Reference(property);
  if (!reference) return nullptr;
  return builder_.Get(builder_.sources_, reference.id, &scene::Evaluation::geometry).get();
}

const UvwGen* InstanceInputs::UvwGenOf(std::string_view property) const {
  const scene::PluginRef reference = Reference(property);
  if (!reference) return nullptr;
  return builder_.Get(builder_.uvw_gens_, reference.id, &scene::Evaluation::uvw_gen).get();
}

const Bitmap* InstanceInputs::BitmapOf(std::string_view property) const {
  const scene::PluginRef reference = Reference(property);
  if (!reference) return nullptr;
  return builder_.Get(builder_.bitmaps_, reference.id, &scene::Evaluation::bitmap).get();
}

std::filesystem::path InstanceInputs::File(std::string_view property) const {
  std::filesystem::path path = Text(property);
  if (path.empty()) return path;
  if (instance_.folder == nullptr && path.is_relative()) {
    path = std::filesystem::path(builder_.request_->scene_folder) / path;
  } else {
    path = scene::ResolveFile(instance_, path.string());
  }
  if (!builder_.recording_.empty()) {
    std::error_code error;
    const auto time = std::filesystem::last_write_time(path, error);
    builder_.recording_.back().files.push_back({path, error ? std::filesystem::file_time_type{} : time});
  }
  return path;
}

void InstanceInputs::Warn(std::string_view text) const {
  builder_.Warn(fmt::format("{}: {}", instance_.name, text));
}

}  // namespace kiln::engine::render
