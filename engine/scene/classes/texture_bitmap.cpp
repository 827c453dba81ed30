// An image file, or one that came embedded, as a texture.
#include <bit>
#include <span>

#include "engine/render/inputs.h"
#include "engine/render/shading.h"
#include "engine/render/texture_cache.h"

namespace kiln::engine::scene {
namespace {

static_assert(std::endian::native == std::endian::little, "embedded bytes are read as the list holds them");

enum Channel : uint32_t { kMain, kAlpha, kRed, kGreen, kBlue };

class BitmapTexture : public render::Texture {
 public:
  std::shared_ptr<const render::MipMap> map;  // null: could not be read
  render::MipMap::Address address;
  const render::UvwGen* uvw = nullptr;
  int uv_set = 0;
  Vec2 offset;
  Vec2 scale{1, 1};
  float sine = 0;
  float cosine = 1;
  Color multiply{1, 1, 1};
  Color add;
  float multiply_alpha = 1;

  Color EvaluateColor(const render::ShadingPoint& point, uint32_t output) const override {
    const AColor texel = Look(point);
    if (output == kMain) return {texel.r, texel.g, texel.b};
    const float value = ChannelOf(texel, output);
    return {value, value, value};
  }

  float EvaluateFloat(const render::ShadingPoint& point, uint32_t output) const override {
    return ChannelOf(Look(point), output);
  }

 private:
  static float ChannelOf(const AColor& texel, uint32_t output) {
    switch (output) {
      case kAlpha:
        return texel.a;
      case kRed:
        return texel.r;
      case kGreen:
        return texel.g;
      case kBlue:
        return texel.b;
      default:
        return Luminance({texel.r, texel.g, texel.b});
    }
  }

  AColor Look(const render::ShadingPoint& point) const {
    AColor texel{0.5f, 0.5f, 0.5f, 1};
    if (map) {
      const render::Uvw place = render::UvwAt(point, uvw, uv_set);
      const Vec2 uv{place.at.x * scale.x, place.at.y * scale.y};
      // Counter-clockwise where v points down.
      const Vec2 turned{cosine * uv.x + sine * uv.y + offset.x, cosine * uv.y - sine * uv.x + offset.y};
      const Vec2 footprint{place.per_pixel * std::abs(scale.x), place.per_pixel * std::abs(scale.y)};
      texel = map->Sample(turned, footprint, address);
    }
    return {texel.r * multiply.r + add.r, texel.g * multiply.g + add.g, texel.b * multiply.b + add.b,
            texel.a * multiply_alpha};
  }
};

std::shared_ptr<const render::MipMap> LoadEmbedded(const render::Inputs& in, bool srgb, std::string* error) {
  const Value value = in.Get("bytes");
  const auto* words = value.As<IntArray>();
  if (!words || words->empty()) {
    *error = "neither a file nor bytes are set";
    return nullptr;
  }
  const auto bytes = std::as_bytes(std::span(words->data(), words->size()));
  const int64_t count = in.Int("byteCount");
  if (count < 0 || count > static_cast<int64_t>(bytes.size())) {
    *error = "byteCount is outside the bytes";
    return nullptr;
  }
  return render::LoadTexture(count == 0 ? bytes : bytes.first(static_cast<size_t>(count)), srgb, error);
}

std::shared_ptr<const render::MipMap> FindMap(const render::Inputs& in) {
  if (const render::Bitmap* bitmap = in.BitmapOf("bitmap")) return bitmap->map;
  const bool srgb = in.Int("colorSpace") == 1;
  const std::filesystem::path file = in.File("file");
  std::string error;
  auto map = file.empty() ? LoadEmbedded(in, srgb, &error) : render::LoadTexture(file, srgb, &error);
  if (!map) in.Warn(error + ", so the texture is grey");
  return map;
}

std::unique_ptr<render::Texture> Make(const render::Inputs& in) {
  auto texture = std::make_unique<BitmapTexture>();
  texture->map = FindMap(in);
  texture->uvw = in.UvwGenOf("uvwgen");
  const auto wrap = [&](std::string_view property) {
    return static_cast<render::Wrap>(std::clamp(in.Int(property), 0, 2));
  };
  texture->address = {
      wrap("wrapU"), wrap("wrapV"),
      in.Int("filter") == 0 ? render::TextureFilter::kNearest : render::TextureFilter::kTrilinear};
  texture->uv_set = std::clamp(in.Int("uvSet"), 0, render::kMaxUvSets - 1);
  const Vec3 offset = in.Vector("uvOffset");
  const Vec3 scale = in.Vector("uvScale");
  texture->offset = {offset.x, offset.y};
  texture->scale = {scale.x, scale.y};
  texture->sine = std::sin(in.Float("uvRotation"));
  texture->cosine = std::cos(in.Float("uvRotation"));
  texture->multiply = in.Color("multiply");
  texture->add = in.Color("add");
  texture->multiply_alpha = in.Float("multiplyAlpha");
  return texture;
}

PluginClass Describe() {
  return {
      .name = "TextureBitmap",
      .description = "An image: PNG, JPEG, BMP, TIFF, EXR, Radiance HDR or TGA. v = 0 is its top row.",
      .categories = CategoryBit(Category::kTexture) | CategoryBit(Category::kTextureFloat),
      .properties =
          {
              {.name = "file",
               .type = Type::kString,
               .default_value = "",
               .description = "The image file, relative to the scene's folder.",
               .is_file = true},
              {"bitmap", Type::kPlugin, PluginRef{},
               "A BitmapFile to show in place of file and bytes; it has a colour space of its own."},
              {"bytes", Type::kIntList, IntArray{},
               "An encoded image file, four bytes to an element, the first lowest; used without a file."},
              {"byteCount", Type::kInt, 0, "How many of the bytes count; 0 for all.", {0}},
              {"colorSpace",
               Type::kInt,
               0,
               "0 takes numbers as they are, 1 decodes the sRGB curve of colours. Float images are linear "
               "always.",
               {0, 1}},
              {"uvwgen", Type::kPlugin, PluginRef{},
               "Where the texture coordinates come from; none: from uvSet."},
              {"uvSet",
               Type::kInt,
               0,
               "Which set of texture coordinates is used.",
               {0, render::kMaxUvSets - 1}},
              {"wrapU",
               Type::kInt,
               0,
               "Beyond the left and right edges: 0 repeats, 1 mirrors, 2 clamps.",
               {0, 2}},
              {"wrapV",
               Type::kInt,
               0,
               "Beyond the top and bottom edges: 0 repeats, 1 mirrors, 2 clamps.",
               {0, 2}},
              {"filter",
               Type::kInt,
               1,
               "0 shows texels as squares, 1 blends them and averages in the distance.",
               {0, 1}},
              {"uvOffset",
               Type::kVector,
               Vec3{0, 0, 0},
               "Added to the coordinates, after rotation.",
               {},
               "uv"},
              {"uvRotation",
               Type::kFloat,
               0.0f,
               "Turns the coordinates counter-clockwise, after scaling.",
               {},
               "rad"},
              {"uvScale", Type::kVector, Vec3{1, 1, 1}, "Factor on the coordinates."},
              {"multiply", Type::kColor, Color{1, 1, 1}, "Factor on the linear colour."},
              {"add", Type::kColor, Color{0, 0, 0}, "Added to the colour after the factor."},
              {"multiplyAlpha", Type::kFloat, 1.0f, "Factor on alpha."},
          },
      .outputs =
          {
              {"alpha", Type::kOutputTextureFloat, "Opacity of the image."},
              {"red", Type::kOutputTextureFloat, "The red channel."},
              {"green", Type::kOutputTextureFloat, "The green channel."},
              {"blue", Type::kOutputTextureFloat, "The blue channel."},
          },
      .evaluation = {.texture = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
