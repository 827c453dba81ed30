// The material of glTF 2.0: metallic-roughness with the clearcoat, sheen, transmission, ior, specular, volume
// and emissive strength extensions, mixed as the format's appendix on BRDFs describes.
#include "engine/render/bsdf.h"
#include "engine/render/bsdf_albedo.h"
#include "engine/render/fresnel.h"
#include "engine/render/inputs.h"
#include "engine/render/shading_normal.h"

namespace kiln::engine::scene {
namespace {

using render::Bsdf;
using render::ColorInput;
using render::FloatInput;
using render::ShadingPoint;
using render::Texture;

enum class AlphaMode { kOpaque, kMask, kBlend };

constexpr Color kWhite{1, 1, 1};

// Textures may hold anything; closures take numbers from 0 to 1 only. What is not a number is 0, and what has
// no upper limit is bounded so that a product of two stays finite.
float Unit(float x) {
  return x > 0 ? std::min(x, 1.0f) : 0.0f;
}
Color Unit(Color c) {
  return {Unit(c.r), Unit(c.g), Unit(c.b)};
}
float NotNegative(float x) {
  return x > 0 && std::isfinite(x) ? std::min(x, 1e18f) : 0.0f;
}
Color NotNegative(Color c) {
  return {NotNegative(c.r), NotNegative(c.g), NotNegative(c.b)};
}

class PrincipledMaterial : public render::Material {
 public:
  ColorInput base_color, emission, sheen_color, specular_color;
  FloatInput opacity, metallic, roughness, transmission, clearcoat, clearcoat_roughness, sheen_roughness,
      specular;
  const Texture* metallic_roughness = nullptr;
  const Texture* normal_map = nullptr;
  const Texture* clearcoat_normal_map = nullptr;
  float normal_scale = 1;
  float emission_strength = 1;
  float f0 = 0.04f;  // of the index of refraction
  // Set for a body that refracts: it has a thickness and an index that lets light through.
  std::shared_ptr<const render::DielectricTable> glass;
  Color attenuation_color = kWhite;
  float attenuation_distance = 0;
  AlphaMode alpha_mode = AlphaMode::kOpaque;
  float alpha_cutoff = 0.5f;
  bool double_sided = true;
  bool transmits = false;

  // To be called when all the fields are set.
  void Finish() {
    const bool constant = base_color.IsConstant() && metallic.IsConstant() && roughness.IsConstant() &&
                          transmission.IsConstant() && specular.IsConstant() && specular_color.IsConstant() &&
                          sheen_color.IsConstant() && sheen_roughness.IsConstant() && !metallic_roughness;
    if (!constant) return;
    even_body_ = std::make_unique<Bsdf>();
    even_body_->Begin(Frame(Vec3{0, 0, 1}), {0, 0, 1});
    AddBody({}, even_body_.get());
  }

  void Evaluate(const ShadingPoint& point, Bsdf* bsdf) const override {
    // A body that refracts is seen from both sides as it is; anything else turns its front to the viewer.
    const bool turned = point.backfacing && !(glass && transmits);
    const Vec3 geometric = turned ? -point.geometric_normal : point.geometric_normal;
    const Vec3 normal = render::ShadingNormal(point, normal_map, normal_scale);
    const Vec3 front = turned ? -normal : normal;
    if (even_body_ && point.vertex_color == kWhite) {
      bsdf->Begin(Frame(front), geometric, *even_body_);
    } else {
      bsdf->Begin(Frame(front), geometric);
      AddBody(point, bsdf);
    }
    AddCoat(point, turned, normal, bsdf);
  }

  float Opacity(const ShadingPoint& point) const override {
    if (alpha_mode == AlphaMode::kOpaque) return 1;
    const float alpha = Unit(opacity.Evaluate(point) * point.vertex_alpha);
    if (alpha_mode == AlphaMode::kMask) return alpha >= alpha_cutoff ? 1 : 0;
    return alpha;
  }
  bool IsOpaque() const override { return alpha_mode == AlphaMode::kOpaque; }
  bool ReadsTangent() const override { return normal_map != nullptr || clearcoat_normal_map != nullptr; }

  Color Emission(const ShadingPoint& point) const override {
    if (!IsEmissive() || (point.backfacing && !double_sided)) return {};
    const Color radiance = NotNegative(emission.Evaluate(point)) * emission_strength;
    const float coat = Unit(clearcoat.Evaluate(point));
    if (coat == 0) return radiance;
    const float fresnel = 0.04f + 0.96f * render::SchlickWeight(std::abs(Dot(point.normal, point.wo)));
    return radiance * (1 - coat * fresnel);
  }
  bool IsEmissive() const override {
    return emission_strength > 0 && !(emission.IsConstant() && MaxComponent(emission.constant) <= 0);
  }

  bool EmitsEvenly(Color* front, Color* back) const override {
    *front = NotNegative(emission.constant) * emission_strength;
    *back = double_sided ? *front : Color{};
    return emission.IsConstant() && clearcoat.IsConstant() && Unit(clearcoat.constant) == 0;
  }

  Color Attenuation(float distance) const override {
    if (!glass || !(attenuation_distance > 0) || !(distance > 0)) return kWhite;
    const float depth = distance / attenuation_distance;
    return {std::pow(attenuation_color.r, depth), std::pow(attenuation_color.g, depth),
            std::pow(attenuation_color.b, depth)};
  }

 private:
  // All but the coat.
  void AddBody(const ShadingPoint& point, Bsdf* bsdf) const {
    AddBase(point, bsdf);
    bsdf->AddSheen(Unit(sheen_color.Evaluate(point)), Unit(sheen_roughness.Evaluate(point)));
  }

  // mix(dielectric, metal), the dielectric itself a mix of a diffuse and a transmissive body below its
  // reflection.
  void AddBase(const ShadingPoint& point, Bsdf* bsdf) const {
    const Color base = Unit(base_color.Evaluate(point) * point.vertex_color);
    float metal = metallic.Evaluate(point);
    float rough = roughness.Evaluate(point);
    if (metallic_roughness) {
      const Color packed = metallic_roughness->EvaluateColor(point, 0);
      rough *= packed.g;
      metal *= packed.b;
    }
    metal = Unit(metal);
    rough = Unit(rough);
    const float alpha = rough * rough;
    const float through = transmits ? Unit(transmission.Evaluate(point)) : 0;
    const float dielectric = 1 - metal;
    const float level = Unit(specular.Evaluate(point));
    const Color tint = NotNegative(specular_color.Evaluate(point));
    const Color reflectance = Unit(tint * f0) * level;
    const Color grazing{level, level, level};

    const float solid = dielectric * (1 - through);
    bsdf->AddDiffuse(base * solid);
    bsdf->AddSpecularLayer(reflectance, grazing, alpha, solid);
    if (glass) {
      bsdf->AddDielectric(Unit(tint * level), base, *glass, alpha, dielectric * through);
    } else {
      bsdf->AddThinDielectric(reflectance, grazing, base, alpha, dielectric * through);
    }
    bsdf->AddMetal(base, kWhite, alpha, metal);
  }

  // `body` is the normal of what lies below.
  void AddCoat(const ShadingPoint& point, bool turned, Vec3 body, Bsdf* bsdf) const {
    const float coat = Unit(clearcoat.Evaluate(point));
    if (coat == 0) return;
    const bool same = clearcoat_normal_map == normal_map && (normal_map == nullptr || normal_scale == 1);
    const Vec3 normal = same ? body : render::ShadingNormal(point, clearcoat_normal_map, 1);
    const float rough = Unit(clearcoat_roughness.Evaluate(point));
    bsdf->AddClearcoat(coat, rough * rough, turned ? -normal : normal);
  }

  std::unique_ptr<Bsdf>
      even_body_;  // where no texture has a say: the lobes below the coat, without vertex colours
};

std::unique_ptr<render::Material> Make(const render::Inputs& in) {
  auto material = std::make_unique<PrincipledMaterial>();
  material->base_color = in.ColorTexture("baseColor");
  material->opacity = in.FloatTexture("opacity");
  material->metallic = in.FloatTexture("metallic");
  material->roughness = in.FloatTexture("roughness");
  material->metallic_roughness = in.TextureOf("metallicRoughness");
  material->normal_map = in.TextureOf("normalMap");
  material->normal_scale = in.Float("normalScale");
  material->emission = in.ColorTexture("emission");
  material->emission_strength = NotNegative(in.Float("emissionStrength"));
  material->transmission = in.FloatTexture("transmission");
  material->clearcoat = in.FloatTexture("clearcoat");
  material->clearcoat_roughness = in.FloatTexture("clearcoatRoughness");
  material->clearcoat_normal_map = in.TextureOf("clearcoatNormalMap");
  material->sheen_color = in.ColorTexture("sheenColor");
  material->sheen_roughness = in.FloatTexture("sheenRoughness");
  material->specular = in.FloatTexture("specular");
  material->specular_color = in.ColorTexture("specularColor");
  material->attenuation_color = Unit(in.Color("attenuationColor"));
  material->attenuation_distance = NotNegative(in.Float("attenuationDistance"));
  material->alpha_mode = static_cast<AlphaMode>(std::clamp(in.Int("alphaMode"), 0, 2));
  material->alpha_cutoff = in.Float("alphaCutoff");
  material->double_sided = in.Bool("doubleSided");

  // An index of 0 stands for one without end: everything is reflected and nothing gets through.
  const float ior = NotNegative(in.Float("ior"));
  const float ratio = (ior - 1) / (ior + 1);
  material->f0 = ratio * ratio;
  material->transmits =
      ior > 0 && !(material->transmission.IsConstant() && Unit(material->transmission.constant) == 0);
  if (material->transmits && in.Float("thickness") > 0) {
    material->glass = render::DielectricTable::For(std::clamp(ior, 0.1f, 10.0f));
  }
  material->Finish();
  return material;
}

PluginClass Describe() {
  return {
      .name = "MaterialPrincipled",
      .description = "The material of glTF 2.0: metals, plastics, glass, cloth and varnish by a few numbers.",
      .categories = CategoryBit(Category::kMaterial),
      .properties =
          {
              {"baseColor",
               Type::kTexture,
               kWhite,
               "Reflectance of the body, F0 of a metal, tint of what is transmitted; times the vertex "
               "colour.",
               {0, 1}},
              {"opacity",
               Type::kTextureFloat,
               1.0f,
               "Coverage, times the vertex alpha; see alphaMode.",
               {0, 1}},
              {"metallic", Type::kTextureFloat, 0.0f, "From dielectric to metal.", {0, 1}},
              {"roughness", Type::kTextureFloat, 0.5f, "From mirror to matt.", {0, 1}},
              {"metallicRoughness", Type::kTexture, PluginRef{},
               "Its green multiplies roughness, its blue metallic."},
              {"normalMap", Type::kTexture, PluginRef{},
               "Normals in tangent space, 0..1 for -1..1, green up."},
              {"normalScale", Type::kFloat, 1.0f, "Factor on the slopes of normalMap."},
              {"emission", Type::kTexture, Color{0, 0, 0}, "Emitted radiance.", {0}, "W/(m^2 sr)"},
              {"emissionStrength", Type::kFloat, 1.0f, "Factor on emission.", {0}},
              {"transmission",
               Type::kTextureFloat,
               0.0f,
               "How much of the body is clear instead of diffuse.",
               {0, 1}},
              {"ior", Type::kFloat, 1.5f, "Index of refraction; 0 reflects everything.", {0, 10}},
              {"thickness",
               Type::kFloat,
               0.0f,
               "0 makes the surface a thin sheet, anything else a body's boundary.",
               {0},
               "m"},
              {"attenuationColor",
               Type::kColor,
               kWhite,
               "What is left of white light after attenuationDistance.",
               {0, 1}},
              {"attenuationDistance", Type::kFloat, 0.0f, "0 for a body that absorbs nothing.", {0}, "m"},
              {"clearcoat", Type::kTextureFloat, 0.0f, "Strength of a varnish over everything.", {0, 1}},
              {"clearcoatRoughness", Type::kTextureFloat, 0.0f, "Roughness of the varnish.", {0, 1}},
              {"clearcoatNormalMap", Type::kTexture, PluginRef{}, "Normals of the varnish in tangent space."},
              {"sheenColor",
               Type::kTexture,
               Color{0, 0, 0},
               "Reflectance of fibres at grazing angles.",
               {0, 1}},
              {"sheenRoughness", Type::kTextureFloat, 0.0f, "Spread of the fibres.", {0, 1}},
              {"specular", Type::kTextureFloat, 1.0f, "Strength of a dielectric's reflection.", {0, 1}},
              {"specularColor",
               Type::kTexture,
               kWhite,
               "Tint of a dielectric's reflection seen head-on.",
               {0}},
              {"alphaMode", Type::kInt, 0, "0 ignores opacity, 1 cuts at alphaCutoff, 2 blends.", {0, 2}},
              {"alphaCutoff", Type::kFloat, 0.5f, "Opacity from which a cut-out is solid.", {0}},
              {"doubleSided", Type::kBoolean, true,
               "Whether the back emits as the front does. It reflects in any case."},
          },
      .evaluation = {.material = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
