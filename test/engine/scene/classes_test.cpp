// Every class's table, and the object that each class makes of its defaults.
#include <gtest/gtest.h>

#include <set>

#include "engine/render/bsdf.h"
#include "engine/render/camera.h"
#include "engine/render/light.h"
#include "engine/render/mesh.h"
#include "engine/render/texture_cache.h"
#include "test/engine/render/fake_inputs.h"

namespace kiln::engine::scene {
namespace {

constexpr uint64_t kTextures = CategoryBit(Category::kTexture) | CategoryBit(Category::kTextureFloat) |
                               CategoryBit(Category::kTextureInt) | CategoryBit(Category::kTextureVector) |
                               CategoryBit(Category::kTextureMatrix) |
                               CategoryBit(Category::kTextureTransform);

// Without the classes that tests of this program add.
std::vector<const PluginClass*> Classes() {
  std::vector<const PluginClass*> classes;
  for (const PluginClass* type : AllClasses()) {
    if (!type->name.starts_with("Test")) classes.push_back(type);
  }
  return classes;
}

TEST(Classes, ThereAreThirtyAndMoreInEveryCategory) {
  EXPECT_GE(Classes().size(), 30U);
  for (int category = 0; category < kCategoryCount; ++category) {
    int count = 0;
    for (const PluginClass* type : Classes()) count += static_cast<int>(type->categories >> category & 1);
    EXPECT_GE(count, 1) << "category " << category;
  }
}

TEST(Classes, NamesAndDescriptionsSayWhatTheyAre) {
  for (const PluginClass* type : Classes()) {
    SCOPED_TRACE(type->name);
    EXPECT_FALSE(type->description.empty());
    EXPECT_NE(type->categories, 0U);
    EXPECT_EQ(type->categories >> kCategoryCount, 0U);
    std::set<std::string_view> names;
    for (const Property& property : type->properties) {
      SCOPED_TRACE(property.name);
      EXPECT_TRUE(names.insert(property.name).second) << "twice";
      EXPECT_TRUE(property.description.ends_with('.'));
      EXPECT_LE(property.range.min, property.range.max);
      EXPECT_EQ(type->FindProperty(property.name), &property);
      EXPECT_NE(property.type, Type::kUnspecified);
    }
    for (const Output& output : type->outputs) {
      EXPECT_FALSE(output.description.empty()) << output.name;
      EXPECT_FALSE(names.contains(output.name)) << output.name;
    }
  }
}

TEST(Classes, DefaultsAreOfTheDeclaredTypeAndInRange) {
  for (const PluginClass* type : Classes()) {
    for (const Property& property : type->properties) {
      SCOPED_TRACE(testing::Message() << type->name << "." << property.name);
      const auto coerced = Coerce(property.default_value, property.type);
      ASSERT_TRUE(coerced.has_value());
      EXPECT_EQ(*coerced, property.default_value);
      double number = 0;
      if (const auto* f = property.default_value.As<float>()) {
        number = *f;
      } else if (const auto* i = property.default_value.As<int32_t>()) {
        number = *i;
      } else {
        continue;
      }
      constexpr double kRounding = 1e-6;
      EXPECT_GE(number, property.range.min - kRounding);
      EXPECT_LE(number, property.range.max + kRounding);
    }
  }
}

TEST(Classes, ACategoryHasTheEvaluationItNeeds) {
  for (const PluginClass* type : Classes()) {
    SCOPED_TRACE(type->name);
    const auto is = [&](Category category) { return (type->categories & CategoryBit(category)) != 0; };
    const Evaluation& e = type->evaluation;
    EXPECT_EQ((type->categories & kTextures) != 0, e.texture != nullptr);
    EXPECT_EQ(is(Category::kBitmap), e.bitmap != nullptr);
    EXPECT_EQ(is(Category::kUvwGen), e.uvw_gen != nullptr);
    EXPECT_EQ(is(Category::kVolumetric), e.volume != nullptr);
    EXPECT_EQ(is(Category::kGeometrySource), e.geometry != nullptr);
    EXPECT_EQ(is(Category::kRenderView), e.camera != nullptr);
    EXPECT_EQ(is(Category::kRenderChannel), e.channel != nullptr || type->element != 0);
    EXPECT_EQ(is(Category::kGeometricObject), type->is_object);
    EXPECT_EQ(is(Category::kLight), e.light != nullptr || (type->is_object && e.material != nullptr));
    EXPECT_TRUE(e.material != nullptr || !(is(Category::kMaterial) || is(Category::kBsdf)));
    EXPECT_TRUE(is(Category::kMaterial) || !is(Category::kBsdf));
    if (!type->is_object) continue;
    for (const char* name : {"geometry", "transform", "visible", "visibleToCamera"}) {
      EXPECT_NE(type->FindProperty(name), nullptr) << name;
    }
  }
}

TEST(Classes, EachMakesItsObjectOfDefaults) {
  render::ShadingPoint point;
  point.geometric_normal = point.normal = {0, 0, 1};
  point.wo = Normalize({0.3f, 0.2f, 1});
  int made = 0;
  for (const PluginClass* type : Classes()) {
    SCOPED_TRACE(type->name);
    const render::FakeInputs in(type->name);
    const Evaluation& e = type->evaluation;
    if (e.texture != nullptr) {
      const auto texture = e.texture(in);
      ASSERT_NE(texture, nullptr);
      EXPECT_TRUE(IsFinite(texture->EvaluateColor(point, 0)));
      EXPECT_TRUE(std::isfinite(texture->EvaluateFloat(point, 0)));
      EXPECT_TRUE(std::isfinite(Length(texture->EvaluateVector(point, 0))));
      EXPECT_TRUE(std::isfinite(Determinant(texture->EvaluateMatrix(point, 0))));
      EXPECT_TRUE(std::isfinite(Determinant(texture->EvaluateTransform(point, 0).matrix)));
      texture->EvaluateInt(point, 0);
      ++made;
    }
    if (e.material != nullptr && !type->is_object) {
      const auto material = e.material(in);
      ASSERT_NE(material, nullptr);
      render::Bsdf bsdf;
      material->Evaluate(point, &bsdf);
      EXPECT_TRUE(IsFinite(bsdf.Evaluate(point.wo, Normalize({-0.3f, 0.1f, 1}))));
      ++made;
    }
    if (e.uvw_gen != nullptr) {
      const auto generator = e.uvw_gen(in);
      ASSERT_NE(generator, nullptr);
      EXPECT_TRUE(std::isfinite(Length(generator->Evaluate(point).at)));
      ++made;
    }
    if (e.volume != nullptr) {
      const auto volume = e.volume(in);
      ASSERT_NE(volume, nullptr);
      EXPECT_LE(MaxComponent(volume->Transmittance(1)), 1);
      ++made;
    }
    if (e.camera != nullptr) {
      EXPECT_NE(e.camera(in), nullptr);
      ++made;
    }
    // Those that need lists or files to be something are nothing without them.
    if (e.light != nullptr) made += e.light(in) != nullptr ? 1 : 0;
    if (e.geometry != nullptr) made += e.geometry(in) != nullptr ? 1 : 0;
    if (e.bitmap != nullptr) {
      EXPECT_EQ(e.bitmap(in), nullptr);
      EXPECT_EQ(in.warnings().size(), 1U);
    }
  }
  EXPECT_GE(made, 30);
}

}  // namespace
}  // namespace kiln::engine::scene
