// The stack of lobes: layering, the mixture's density, and the refusal of directions below the geometry.
#include "engine/render/bsdf.h"

#include <new>

#include "engine/render/bsdf_kinds.h"

namespace kiln::engine::render {

namespace {

constexpr float kAlmostOne = 0x1.fffffep-1f;
constexpr Color kCoatF0{0.04f, 0.04f, 0.04f};
constexpr Color kWhite{1, 1, 1};

bool IsDiffuse(LobeKind kind) {
  return kind == LobeKind::kDiffuse || kind == LobeKind::kDiffuseTransmission;
}
float Mirror(float z, bool inside) {
  return inside ? -z : z;
}

}  // namespace

void Bsdf::Begin(const Frame& shading, Vec3 geometric_normal) {
  frame_ = shading;
  geometric_normal_ = geometric_normal;
  count_ = 0;
}

void Bsdf::Begin(const Frame& shading, Vec3 geometric_normal, const Bsdf& lobes) {
  Begin(shading, geometric_normal);
  count_ = lobes.count_;
  std::copy(lobes.lobes_, lobes.lobes_ + count_, lobes_);
}

BsdfLobe* Bsdf::Add(LobeKind kind, float weight) {
  if (count_ == kMaxLobes || !(weight > 0)) return nullptr;
  BsdfLobe* lobe = &lobes_[count_++];
  // Only what all kinds have; the rest is written by the kind that reads it.
  lobe->kind = kind;
  lobe->is_layer = false;
  lobe->delta = false;
  lobe->layer = -1;
  lobe->group = 0;
  lobe->weight = weight;
  lobe->share = 1;
  return lobe;
}

void Bsdf::AddDiffuse(Color reflectance) {
  if (IsBlack(reflectance)) return;
  if (BsdfLobe* lobe = Add(LobeKind::kDiffuse, 1)) lobe->tint = reflectance;
}

void Bsdf::AddDiffuseTransmission(Color transmittance) {
  if (IsBlack(transmittance)) return;
  if (BsdfLobe* lobe = Add(LobeKind::kDiffuseTransmission, 1)) lobe->tint = transmittance;
}

void Bsdf::AddMetal(Color f0, Color f90, float alpha, float weight) {
  BsdfLobe* lobe = Add(LobeKind::kGlossy, weight);
  if (!lobe) return;
  lobe->f0 = f0;
  lobe->f90 = f90;
  lobe->alpha = alpha;
  FinishLobe(lobe);
}

void Bsdf::AddDielectric(Color reflect_tint, Color transmit_tint, const DielectricTable& glass, float alpha,
                         float weight) {
  BsdfLobe* lobe = Add(LobeKind::kDielectric, weight);
  if (!lobe) return;
  lobe->f0 = reflect_tint;
  lobe->tint = transmit_tint;
  lobe->glass = &glass;
  lobe->alpha = alpha;
  FinishLobe(lobe);
}

void Bsdf::AddThinDielectric(Color f0, Color f90, Color transmit_tint, float alpha, float weight) {
  BsdfLobe* lobe = Add(LobeKind::kThinDielectric, weight);
  if (!lobe) return;
  lobe->f0 = f0;
  lobe->f90 = f90;
  lobe->tint = transmit_tint;
  lobe->alpha = alpha;
  FinishLobe(lobe);
}

void Bsdf::AddSpecularLayer(Color f0, Color f90, float alpha, float weight) {
  const int index = count_;
  AddMetal(f0, f90, alpha, weight);
  if (count_ == index) return;
  for (int i = 0; i < index; ++i) {
    if (!IsDiffuse(lobes_[i].kind) || lobes_[i].layer >= 0) continue;
    lobes_[i].layer = index;
    lobes_[index].is_layer = true;
  }
}

void Bsdf::AddClearcoat(float weight, float alpha, Vec3 normal) {
  BsdfLobe* lobe = Add(LobeKind::kClearcoat, weight);
  if (!lobe) return;
  lobe->f0 = kCoatF0;
  lobe->f90 = kWhite;
  lobe->alpha = alpha;
  lobe->frame = Frame(normal);
  FinishLobe(lobe);
}

void Bsdf::AddSheen(Color color, float roughness) {
  if (IsBlack(color)) return;
  BsdfLobe* lobe = Add(LobeKind::kSheen, 1);
  if (!lobe) return;
  lobe->tint = color;
  lobe->alpha = roughness;
  FinishLobe(lobe);
}

bool Bsdf::Refracts() const {
  return std::any_of(lobes_, lobes_ + count_,
                     [](const BsdfLobe& lobe) { return lobe.kind == LobeKind::kDielectric; });
}

void Bsdf::Append(const Bsdf& other, float share) {
  if (!(share > 0)) return;
  const int first = count_;
  const int first_group = count_ > 0 ? lobes_[count_ - 1].group + 1 : 0;
  for (int i = 0; i < other.count_ && count_ < kMaxLobes; ++i) {
    BsdfLobe& lobe = lobes_[count_++];
    lobe = other.lobes_[i];
    lobe.share *= share;
    lobe.group += first_group;
    // A layer that found no room dims nothing.
    if (lobe.layer >= 0) lobe.layer = lobe.layer + first < kMaxLobes ? lobe.layer + first : -1;
  }
}

void Bsdf::Mix(const Bsdf& a, const Bsdf& b, float amount) {
  const Bsdf& leading = b.Refracts() && !a.Refracts() ? b : a;
  Begin(leading.frame_, leading.geometric_normal_);
  Append(a, 1 - amount);
  Append(b, amount);
}

bool Bsdf::Look(Vec3 wo, BsdfView* view) const {
  const Vec3 local = frame_.ToLocal(wo);
  const float side = Dot(wo, geometric_normal_);
  // Where the two normals disagree about wo there is no honest answer; black beats a leak.
  if (!(local.z * side > 0)) return false;
  view->outside = side > 0;
  float above = 1;
  for (int i = count_ - 1; i >= 0; --i) {
    const BsdfLobe& lobe = lobes_[i];
    Vec3 lobe_wo = local;
    if (lobe.kind == LobeKind::kClearcoat) {
      lobe_wo = lobe.frame.ToLocal(wo);
      // A coat's bump may face away from wo where the surface does not: then it isn't seen.
      if (!view->outside || lobe_wo.z <= 0) lobe_wo.z = -std::max(1e-6f, std::abs(lobe_wo.z));
    }
    ::new (&view->lobes[i]) LobeView(LookAtLobe(lobe, lobe_wo));
    if (i + 1 < count_ && lobes_[i + 1].group != lobe.group) above = 1;
    view->scale[i] = lobe.weight * lobe.share * above;
    above *= view->lobes[i].rest;
  }
  float total = 0;
  for (int i = 0; i < count_; ++i) {
    const BsdfLobe& lobe = lobes_[i];
    if (lobe.layer >= 0) view->scale[i] *= view->lobes[lobe.layer].base_rest;
    view->probability[i] = std::max(0.0f, view->scale[i] * Mean(view->lobes[i].albedo));
    total += view->probability[i];
  }
  if (!(total > 0)) return false;
  const float scale = 1 / total;
  for (int i = 0; i < count_; ++i) view->probability[i] *= scale;
  return true;
}

Color Bsdf::Evaluate(const BsdfView& view, Vec3 wi, float* pdf) const {
  *pdf = 0;
  const float side = Dot(wi, geometric_normal_);
  if (side == 0) return {};
  const bool reflects = (side > 0) == view.outside;
  const Vec3 local = frame_.ToLocal(wi);
  Color sum;
  float rest[kMaxLobes] = {};  // of specular layers, towards wi
  // From the top, so that a layer is known before its base.
  for (int i = count_ - 1; i >= 0; --i) {
    const BsdfLobe& lobe = lobes_[i];
    const LobeView& lobe_view = view.lobes[i];
    const bool unseen = view.probability[i] <= 0 || lobe.delta;
    if (unseen && !lobe.is_layer) continue;
    Vec3 lobe_wi = lobe.kind == LobeKind::kClearcoat ? lobe.frame.ToLocal(wi) : local;
    lobe_wi.z = Mirror(lobe_wi.z, lobe_view.inside);
    GlossyAlbedo albedo;
    if (IsGlossy(lobe.kind)) albedo = lobe.albedo.At(std::abs(lobe_wi.z));
    if (lobe.is_layer) rest[i] = LayerRest(lobe, albedo) * lobe.layer_scale;
    if (unseen || (lobe_wi.z > 0) != reflects) continue;
    const LobeValue value = EvaluateLobe(lobe, lobe_view, lobe_wi, albedo);
    float scale = view.scale[i];
    if (lobe.layer >= 0) scale *= rest[lobe.layer];
    sum += value.f * scale;
    *pdf += value.pdf * view.probability[i];
  }
  return sum;
}

Color Bsdf::Evaluate(Vec3 wo, Vec3 wi, float* pdf) const {
  float density = 0;
  BsdfView view;
  Color value;
  if (Look(wo, &view)) value = Evaluate(view, wi, &density);
  if (pdf) *pdf = density;
  return value;
}

float Bsdf::Pdf(Vec3 wo, Vec3 wi) const {
  float pdf = 0;
  Evaluate(wo, wi, &pdf);
  return pdf;
}

bool Bsdf::Sample(Vec3 wo, float u_lobe, Vec2 u, BsdfSample* sample) const {
  BsdfView view;
  return Look(wo, &view) && Sample(view, u_lobe, u, sample);
}

bool Bsdf::Sample(const BsdfView& view, float u_lobe, Vec2 u, BsdfSample* sample) const {
  int chosen = 0;
  while (chosen < count_ - 1 && u_lobe >= view.probability[chosen]) u_lobe -= view.probability[chosen++];
  while (chosen > 0 && view.probability[chosen] <= 0) --chosen;  // rounding may run past the last one
  const float probability = view.probability[chosen];
  if (probability <= 0) return false;
  const float u_choice = std::clamp(u_lobe / probability, 0.0f, kAlmostOne);

  const BsdfLobe& lobe = lobes_[chosen];
  LobeSample made;
  if (!SampleLobe(lobe, view.lobes[chosen], u_choice, u, &made)) return false;
  made.wi.z = Mirror(made.wi.z, view.lobes[chosen].inside);
  const Vec3 wi = lobe.kind == LobeKind::kClearcoat ? lobe.frame.ToWorld(made.wi) : frame_.ToWorld(made.wi);
  const bool crosses = (Dot(wi, geometric_normal_) > 0) != view.outside;
  if (crosses != ((made.flags & kLobeTransmission) != 0)) return false;

  sample->wi = Normalize(wi);
  sample->flags = made.flags;
  sample->eta = made.eta;
  if (made.flags & kLobeSpecular) {
    sample->pdf = 0;
    sample->weight = made.delta * (view.scale[chosen] / (probability * made.delta_probability));
    return IsFinite(sample->weight);
  }
  const Color value = Evaluate(view, sample->wi, &sample->pdf);
  if (!(sample->pdf > 0)) return false;
  sample->weight = value * (1 / sample->pdf);
  return IsFinite(sample->weight);
}

bool Bsdf::HasNonDelta() const {
  for (int i = 0; i < count_; ++i) {
    if (!lobes_[i].delta) return true;
  }
  return false;
}

}  // namespace kiln::engine::render
