// What a film's layers ask of a closure: its diffuse part, and its albedos.
#include "engine/render/bsdf.h"

namespace kiln::engine::render {
namespace {

bool IsDiffuse(LobeKind kind) {
  return kind == LobeKind::kDiffuse || kind == LobeKind::kDiffuseTransmission;
}

}  // namespace

Color Bsdf::EvaluateDiffuse(const BsdfView& view, Vec3 wi) const {
  const auto is_diffuse = [](const BsdfLobe& lobe) { return IsDiffuse(lobe.kind); };
  if (std::none_of(lobes_, lobes_ + count_, is_diffuse)) return {};
  // A lobe that is never sampled is not evaluated either, but still dims what lies below it.
  BsdfView diffuse = view;
  for (int i = 0; i < count_; ++i) {
    if (!is_diffuse(lobes_[i])) diffuse.probability[i] = 0;
  }
  float pdf = 0;
  return Evaluate(diffuse, wi, &pdf);
}

Color Bsdf::DiffuseAlbedo(const BsdfView& view) const {
  Color sum;
  for (int i = 0; i < count_; ++i) {
    if (IsDiffuse(lobes_[i].kind)) sum += view.lobes[i].albedo * view.scale[i];
  }
  return sum;
}

Color Bsdf::Albedo(const BsdfView& view) const {
  Color sum;
  for (int i = 0; i < count_; ++i) sum += view.lobes[i].albedo * view.scale[i];
  return sum;
}

}  // namespace kiln::engine::render
