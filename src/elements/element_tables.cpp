#include "elements/element_tables.h"

#include "binding/text.h"

namespace KilnNodeWrapper {
namespace {

constexpr ElementCode kTypes[] = {
    {100, "atmosphere"},
    {101, "diffuse"},
    {102, "reflection"},
    {103, "refraction"},
    {104, "self_illumination"},
    {105, "shadow"},
    {106, "specular"},
    {107, "lighting"},
    {108, "gi"},
    {109, "caustics"},
    {110, "raw_gi"},
    {111, "raw_light"},
    {112, "raw_shadow"},
    {113, "velocity"},
    {114, "render_id"},
    {115, "material_id"},
    {116, "node_id"},
    {117, "z_depth"},
    {118, "reflection_filter"},
    {119, "raw_reflection"},
    {120, "refraction_filter"},
    {121, "raw_refraction"},
    {122, "real_color"},
    {123, "normals"},
    {124, "background"},
    {125, "alpha"},
    {126, "color"},
    {127, "write_color"},
    {128, "matte_shadow"},
    {129, "total_light"},
    {130, "raw_total_light"},
    {131, "bump_normals"},
    {132, "sample_rate"},
    {133, "sss"},
    {134, "dr_bucket"},
    {135, "reflection_glossiness"},
    {136, "reflection_hilight_glossiness"},
    {137, "refraction_glossiness"},
    {138, "shademap_export"},
    {139, "reflection_alpha"},
    {140, "reflection_ior"},
    {141, "material_render_id"},
    {142, "noise_level"},
    {143, "world_position"},
    {144, "denoised"},
    {145, "world_bump_normals"},
    {146, "defocus_amount"},
    {153, "effects_result"},
    {154, "toon"},
    {157, "rendertime"},
    {158, "cryptomatte"},
    {160, "lighting_analysis"},
    {163, "light_select"},
    {183, "sheen_color"},
    {184, "raw_sheen_reflection"},
    {185, "sheen_filter"},
    {186, "sheen_glossiness"},
    {187, "sheen_reflection_alpha"},
    {188, "coat_reflection_alpha"},
    {189, "coat_color"},
    {190, "raw_coat_reflection"},
    {191, "coat_filter"},
    {192, "coat_glossiness"},
    {6001, "coverage"},
    {6003, "material_select"},
    {6004, "multimatte"},
    {6005, "multimatte_id"},
    {6006, "object_select"},
    {6007, "extra_tex"},
    {6008, "extra_tex_int"},
    {6009, "extra_tex_float"},
};
static_assert(std::size(kTypes) == 71);

constexpr ElementCode kBinary[] = {
    {1, "single_float"},   {2, "3_floats"},        {3, "2_signed_floats"},
    {4, "single_integer"}, {5, "3_signed_floats"}, {6, "4_floats"},
};

constexpr ElementCode kPixel[] = {
    {100, "1_byte_int_grayscale"},   {101, "2_byte_int_grayscale"}, {102, "4_byte_int_grayscale"},
    {104, "4_byte_float_grayscale"}, {200, "3x1_bytes_int_RGB"},    {201, "3x2_bytes_int_RGB"},
    {203, "3x4_bytes_float_RGB"},    {300, "4x1_bytes_int_RGBA"},   {301, "4x2_bytes_int_RGBA"},
    {303, "4x4_bytes_float_RGBA"},
};

}  // namespace

const std::span<const ElementCode> kElementTypes = kTypes;
const std::span<const ElementCode> kBinaryFormats = kBinary;
const std::span<const ElementCode> kPixelFormats = kPixel;

const char* TextOf(std::span<const ElementCode> table, uint32_t code) {
  for (const ElementCode& row : table) {
    if (static_cast<uint32_t>(row.code) == code) return row.text;
  }
  return "other";
}

int32_t CodeOf(std::span<const ElementCode> table, std::string_view text) {
  for (const ElementCode& row : table) {
    if (EqualsIgnoringCase(row.text, text)) return row.code;
  }
  return 0;
}

const char* DefaultPixelFormat(uint32_t binary_format) {
  switch (binary_format) {
    case 1:
      return TextOf(kPixelFormats, 104);
    case 2:
    case 3:
    case 5:
      return TextOf(kPixelFormats, 203);
    case 4:
      return TextOf(kPixelFormats, 102);
    default:
      return TextOf(kPixelFormats, 303);
  }
}

}  // namespace KilnNodeWrapper
