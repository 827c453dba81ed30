// Two materials side by side, as if finely dusted over each other.
#include "engine/render/closure_inputs.h"
#include "engine/render/inputs.h"

namespace kiln::engine::scene {
namespace {

using render::ShadingPoint;

class MixBsdf : public render::Material {
 public:
  const render::Material* a = nullptr;  // none is black
  const render::Material* b = nullptr;
  render::FloatInput amount;

  void Evaluate(const ShadingPoint& point, render::Bsdf* bsdf) const override {
    const float t = Amount(point);
    if (b == nullptr || t <= 0) return One(a, 1 - t, point, bsdf);
    if (a == nullptr || t >= 1) return One(b, t, point, bsdf);
    render::Bsdf first;
    render::Bsdf second;
    a->Evaluate(point, &first);
    b->Evaluate(point, &second);
    bsdf->Mix(first, second, t);
  }

  float Opacity(const ShadingPoint& point) const override {
    const float t = Amount(point);
    return (a != nullptr ? a->Opacity(point) : 1) * (1 - t) + (b != nullptr ? b->Opacity(point) : 1) * t;
  }
  bool IsOpaque() const override {
    return (a == nullptr || a->IsOpaque()) && (b == nullptr || b->IsOpaque());
  }

  Color Emission(const ShadingPoint& point) const override {
    const float t = Amount(point);
    return (a != nullptr ? a->Emission(point) : Color{}) * (1 - t) +
           (b != nullptr ? b->Emission(point) : Color{}) * t;
  }
  bool IsEmissive() const override {
    return (a != nullptr && a->IsEmissive()) || (b != nullptr && b->IsEmissive());
  }

  Color Attenuation(float distance) const override {
    constexpr Color kClear{1, 1, 1};
    const float t = amount.IsConstant() ? render::Unit(amount.constant) : 0.5f;
    return Lerp(a != nullptr ? a->Attenuation(distance) : kClear,
                b != nullptr ? b->Attenuation(distance) : kClear, t);
  }

 private:
  float Amount(const ShadingPoint& point) const { return render::Unit(amount.Evaluate(point)); }

  // A share of one material, the rest black.
  static void One(const render::Material* material, float share, const ShadingPoint& point,
                  render::Bsdf* bsdf) {
    if (material == nullptr) return render::BeginFront(point, {}, bsdf);
    if (share >= 1) return material->Evaluate(point, bsdf);
    render::Bsdf whole;
    material->Evaluate(point, &whole);
    bsdf->Mix(whole, {}, 1 - share);
  }
};

std::unique_ptr<render::Material> Make(const render::Inputs& in) {
  auto material = std::make_unique<MixBsdf>();
  material->a = in.MaterialOf("bsdfA");
  material->b = in.MaterialOf("bsdfB");
  material->amount = in.FloatTexture("amount");
  return material;
}

PluginClass Describe() {
  return {
      .name = "BsdfMix",
      .description =
          "Two materials side by side, with their opacity and emission. Both use the normal of the first; "
          "where one refracts, sheen and varnish are on the outside only. Mixtures of mixtures hold up to "
          "eight lobes.",
      .categories = CategoryBit(Category::kBsdf) | CategoryBit(Category::kMaterial),
      .properties =
          {
              {"bsdfA", Type::kPlugin, PluginRef{}, "The first material; none is black."},
              {"bsdfB", Type::kPlugin, PluginRef{}, "The second material; none is black."},
              {"amount", Type::kTextureFloat, 0.5f, "How much of the second there is.", {0, 1}},
          },
      .evaluation = {.material = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
