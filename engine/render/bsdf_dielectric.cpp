// Glass: refracting and thin.
#include "engine/render/bsdf_dielectric.h"

#include "engine/render/bsdf_glossy.h"

namespace kiln::engine::render {

namespace {

// Index beyond the interface over the index where wo is.
float EtaOf(const BsdfLobe& lobe, const LobeView& view) {
  return view.inside ? 1 / lobe.glass->ior() : lobe.glass->ior();
}

// Only the outer reflection is tinted: a tint inside would darken total reflection at every bounce.
Color ReflectTint(const BsdfLobe& lobe, const LobeView& view) {
  return view.inside ? Color{1, 1, 1} : lobe.f0;
}

// Splits a choice of probability p off u, and rescales what is left of u.
bool Choose(float p, float* u) {
  if (*u < p) {
    *u /= p;
    return true;
  }
  *u = std::min((*u - p) / (1 - p), 0x1.fffffep-1f);
  return false;
}

float Share(float a, float b) {
  return a + b > 0 ? a / (a + b) : 0.5f;
}

// How what single scattering loses is spread over the two sides. With the etendue n^2 cos of each side as
// measure a kernel lost(wo) * lost(wi) / sum is symmetric, so the compensation obeys the reciprocity of
// refraction.
struct Spread {
  float lost_reflect;   // average loss where wo is
  float lost_transmit;  // average loss beyond, times eta^2
  float Sum() const { return lost_reflect + lost_transmit; }
};
Spread SpreadOf(const BsdfLobe& lobe, const LobeView& view, float eta) {
  return {1 - lobe.glass->AverageAlbedo(lobe.alpha, view.inside),
          (1 - lobe.glass->AverageAlbedo(lobe.alpha, !view.inside)) * eta * eta};
}

struct Facet {
  float reflect;  // Fresnel's reflectance
  float choice;   // probability of sampling the reflection
};
Facet FacetAt(Color reflect_tint, Color transmit_tint, float cosine, float eta) {
  const float fresnel = FresnelDielectric(cosine, eta);
  return {fresnel, Share(Mean(reflect_tint) * fresnel, Mean(transmit_tint) * (1 - fresnel))};
}

struct ThinFacet {
  Color reflect, transmit;
  float choice;
};
ThinFacet ThinFacetAt(const BsdfLobe& lobe, float cosine) {
  ThinFacet facet;
  facet.reflect = FresnelSchlick(lobe.f0, lobe.f90, cosine);
  facet.transmit = lobe.tint * (1 - std::min(1.0f, MaxComponent(facet.reflect)));
  facet.choice = Share(Mean(facet.reflect), Mean(facet.transmit));
  return facet;
}

}  // namespace

bool IsSmoothDielectric(const BsdfLobe& lobe) {
  return IsSmooth(lobe.alpha) || lobe.alpha * std::abs(lobe.glass->ior() - 1) < 1e-5f;
}

void LookAtDielectric(const BsdfLobe& lobe, LobeView* view) {
  const float eta = EtaOf(lobe, *view);
  const Color reflect_tint = ReflectTint(lobe, *view);
  const float fresnel = FresnelDielectric(view->wo.z, eta);
  const Color single = reflect_tint * fresnel + lobe.tint * (1 - fresnel);
  view->albedo = single;
  if (IsSmoothDielectric(lobe)) return;
  view->lost = std::max(0.0f, 1 - lobe.glass->Albedo(view->wo.z, lobe.alpha, view->inside));
  const Spread spread = SpreadOf(lobe, *view, eta);
  if (spread.Sum() < 1e-6f) {
    view->lost = 0;
    return;
  }
  const float reflected = spread.lost_reflect / spread.Sum();
  const Color multiple = (reflect_tint * reflected + lobe.tint * (1 - reflected)) * view->lost;
  view->albedo = single * (1 - view->lost) + multiple;
  const float total = Mean(view->albedo);
  if (total > 0) view->multiple = Mean(multiple) / total;
}

LobeValue EvaluateDielectric(const BsdfLobe& lobe, const LobeView& view, Vec3 wi) {
  if (IsSmoothDielectric(lobe) || wi.z == 0) return {};
  const Vec3& wo = view.wo;
  const float eta = EtaOf(lobe, view);
  const Color reflect_tint = ReflectTint(lobe, view);
  const bool reflect = wi.z > 0;
  const float cos_i = std::abs(wi.z);
  const Color tint = reflect ? reflect_tint : lobe.tint;

  LobeValue value;
  Vec3 h = reflect ? wo + wi : wo + wi * eta;
  if (Dot(h, h) > 0) {
    h = Normalize(h.z < 0 ? -h : h);
    const float cos_oh = Dot(wo, h);
    const float cos_ih = Dot(wi, h);
    if (cos_oh > 0 && (reflect ? cos_ih > 0 : cos_ih < 0)) {
      const Facet facet = FacetAt(reflect_tint, lobe.tint, cos_oh, eta);
      const float root = cos_ih + cos_oh / eta;
      const float jacobian = reflect ? 1 / (4 * cos_oh) : -cos_ih / (root * root);
      const float amount = reflect ? facet.reflect : 1 - facet.reflect;
      const float visible = GgxVisibleD(wo, h, lobe.alpha) * jacobian;
      const float shadowing = GgxG2(wo.z, cos_i, lobe.alpha) / GgxG1(wo.z, lobe.alpha);
      value.f = tint * (visible * amount * shadowing);
      value.pdf = (1 - view.multiple) * visible * (reflect ? facet.choice : 1 - facet.choice);
    }
  }
  if (view.lost > 0) {
    const Spread spread = SpreadOf(lobe, view, eta);
    const float lost_i = std::max(0.0f, 1 - lobe.glass->Albedo(cos_i, lobe.alpha, view.inside == reflect));
    const float etendue = reflect ? 1 : eta * eta;
    value.f += tint * (view.lost * lost_i * etendue * cos_i / (kPi * spread.Sum()));
    const float choice =
        Share(Mean(reflect_tint) * spread.lost_reflect, Mean(lobe.tint) * spread.lost_transmit);
    value.pdf += view.multiple * (reflect ? choice : 1 - choice) * kUniformHemispherePdf;
  }
  return value;
}

bool SampleDielectric(const BsdfLobe& lobe, const LobeView& view, float u_choice, Vec2 u,
                      LobeSample* sample) {
  const Vec3& wo = view.wo;
  const float eta = EtaOf(lobe, view);
  const Color reflect_tint = ReflectTint(lobe, view);
  const bool smooth = IsSmoothDielectric(lobe);
  const uint32_t spread_flag = smooth ? kLobeSpecular : kLobeGlossy;
  if (view.multiple > 0 && Choose(view.multiple, &u_choice)) {
    const Spread spread = SpreadOf(lobe, view, eta);
    const float choice =
        Share(Mean(reflect_tint) * spread.lost_reflect, Mean(lobe.tint) * spread.lost_transmit);
    const bool reflect = u_choice < choice;
    sample->wi = SampleUniformHemisphere(u);
    if (!reflect) sample->wi.z = -sample->wi.z;
    sample->flags = spread_flag | (reflect ? kLobeReflection : kLobeTransmission);
    sample->eta = reflect ? 1 : eta;
    return sample->wi.z != 0;
  }
  const Vec3 h = smooth ? Vec3{0, 0, 1} : SampleGgxVisible(wo, lobe.alpha, u);
  const float cosine = Dot(wo, h);
  if (cosine <= 0) return false;
  const Facet facet = FacetAt(reflect_tint, lobe.tint, cosine, eta);
  if (u_choice < facet.choice) {
    sample->wi = Reflect(wo, h);
    sample->flags = spread_flag | kLobeReflection;
    sample->delta = reflect_tint * facet.reflect;
    sample->delta_probability = facet.choice;
    return sample->wi.z > 0;
  }
  if (!Refract(wo, h, eta, &sample->wi)) return false;
  sample->flags = spread_flag | kLobeTransmission;
  sample->eta = eta;
  sample->delta = lobe.tint * (1 - facet.reflect);
  sample->delta_probability = 1 - facet.choice;
  return sample->wi.z < 0;
}

void LookAtThinDielectric(const BsdfLobe& lobe, LobeView* view) {
  const GlossyAlbedo albedo = lobe.albedo.At(view->wo.z);
  const ThinFacet facet = ThinFacetAt(lobe, view->wo.z);
  const Color multiple = (lobe.multiple + lobe.multiple_pass);
  view->albedo = facet.reflect + facet.transmit;
  if (IsSmooth(lobe.alpha) || lobe.lost < 1e-6f) return;
  view->lost = 1 - albedo.Total();
  view->albedo = view->albedo * albedo.Total() + multiple * view->lost;
  const float total = Mean(view->albedo);
  if (total > 0) view->multiple = Mean(multiple) * view->lost / total;
}

LobeValue EvaluateThinDielectric(const BsdfLobe& lobe, const LobeView& view, Vec3 wi) {
  if (IsSmooth(lobe.alpha) || wi.z == 0) return {};
  const Vec3& wo = view.wo;
  const bool reflect = wi.z > 0;
  const float cos_i = std::abs(wi.z);
  const Vec3 h = Normalize(wo + Vec3{wi.x, wi.y, cos_i});
  const ThinFacet facet = ThinFacetAt(lobe, Dot(wo, h));
  const float d = GgxD(h, lobe.alpha) / (4 * wo.z);
  LobeValue value;
  value.f = (reflect ? facet.reflect : facet.transmit) * (d * GgxG2(wo.z, cos_i, lobe.alpha));
  value.f +=
      (reflect ? lobe.multiple : lobe.multiple_pass) * Compensation(lobe, view, cos_i, lobe.albedo.At(cos_i));
  const float again = Share(Mean(lobe.multiple), Mean(lobe.multiple_pass));
  value.pdf =
      (1 - view.multiple) * (reflect ? facet.choice : 1 - facet.choice) * GgxG1(wo.z, lobe.alpha) * d +
      view.multiple * (reflect ? again : 1 - again) * kUniformHemispherePdf;
  return value;
}

bool SampleThinDielectric(const BsdfLobe& lobe, const LobeView& view, float u_choice, Vec2 u,
                          LobeSample* sample) {
  const bool smooth = IsSmooth(lobe.alpha);
  bool reflect = false;
  if (view.multiple > 0 && Choose(view.multiple, &u_choice)) {
    reflect = u_choice < Share(Mean(lobe.multiple), Mean(lobe.multiple_pass));
    sample->wi = SampleUniformHemisphere(u);
  } else {
    const Vec3 h = smooth ? Vec3{0, 0, 1} : SampleGgxVisible(view.wo, lobe.alpha, u);
    const ThinFacet facet = ThinFacetAt(lobe, Dot(view.wo, h));
    reflect = u_choice < facet.choice;
    sample->wi = Reflect(view.wo, h);
    sample->delta = reflect ? facet.reflect : facet.transmit;
    sample->delta_probability = reflect ? facet.choice : 1 - facet.choice;
  }
  if (sample->wi.z <= 0) return false;
  if (!reflect) sample->wi.z = -sample->wi.z;
  sample->flags = (smooth ? kLobeSpecular : kLobeGlossy) | (reflect ? kLobeReflection : kLobeTransmission);
  return true;
}

}  // namespace kiln::engine::render
