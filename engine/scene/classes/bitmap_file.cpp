// An image file that several textures share.
#include "engine/render/inputs.h"
#include "engine/render/texture_cache.h"

namespace kiln::engine::scene {
namespace {

std::unique_ptr<render::Bitmap> Make(const render::Inputs& in) {
  std::string error = "no file is set";
  const std::filesystem::path file = in.File("file");
  auto bitmap = std::make_unique<render::Bitmap>();
  if (!file.empty()) bitmap->map = render::LoadTexture(file, in.Int("colorSpace") == 1, &error);
  if (bitmap->map != nullptr) return bitmap;
  in.Warn(error + ", so it is left out");
  return nullptr;
}

PluginClass Describe() {
  return {
      .name = "BitmapFile",
      .description = "An image file for TextureBitmap: PNG, JPEG, BMP, TIFF, EXR, Radiance HDR or TGA.",
      .categories = CategoryBit(Category::kBitmap),
      .properties =
          {
              {.name = "file",
               .type = Type::kString,
               .default_value = "",
               .description = "The image file, relative to the scene's folder.",
               .is_file = true},
              {"colorSpace",
               Type::kInt,
               0,
               "0 takes numbers as they are, 1 decodes the sRGB curve of colours.",
               {0, 1}},
          },
      .evaluation = {.bitmap = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
