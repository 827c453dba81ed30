// Reading of transforms from their parts.
#include "engine/formats/scene_text_transform.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "engine/formats/scene_text_values.h"

namespace kiln::engine::formats {
namespace {

const std::vector<std::string_view> kParts = {"translate", "rotate", "scale", "matrix", "from", "to", "up"};

template <size_t n>
std::optional<std::array<double, n>> NumbersOf(const toml::node& node) {
  const toml::array* array = node.as_array();
  if (array == nullptr || array->size() != n) return {};
  std::array<double, n> numbers{};
  for (size_t i = 0; i < n; ++i) {
    const std::optional<double> number = (*array)[i].value<double>();
    if (!number || (*array)[i].is_boolean()) return {};
    numbers[i] = *number;
  }
  return numbers;
}

template <size_t n>
std::array<double, n> Part(const toml::table& table, std::string_view key,
                           const std::array<double, n>& missing) {
  const toml::node* node = table.get(key);
  if (node == nullptr) return missing;
  if (const auto numbers = NumbersOf<n>(*node)) return *numbers;
  throw SceneTextError(node->source().begin.line,
                       "\"" + std::string(key) + "\" takes " + std::to_string(n) + " numbers");
}

using Triple = std::array<double, 3>;

// Quarter turns come out exact, so that a light that points straight down has no stray digits.
std::pair<double, double> SineCosine(double degrees) {
  const double turn = std::remainder(degrees, 360.0);
  if (turn == 0) return {0, 1};
  if (turn == 90) return {1, 0};
  if (turn == -90) return {-1, 0};
  if (std::abs(turn) == 180) return {0, -1};
  const double radians = turn * 3.14159265358979323846 / 180;
  return {std::sin(radians), std::cos(radians)};
}

// Adding zero takes the sign from a negative one, which products leave behind and nobody wants to read.
Vec3 ToVec3(const Triple& t) {
  return {static_cast<float>(t[0]) + 0.0F, static_cast<float>(t[1]) + 0.0F, static_cast<float>(t[2]) + 0.0F};
}

// Turns about X, then Y, then Z.
Matrix Rotation(const Triple& degrees) {
  const auto [sx, cx] = SineCosine(degrees[0]);
  const auto [sy, cy] = SineCosine(degrees[1]);
  const auto [sz, cz] = SineCosine(degrees[2]);
  return {ToVec3({cy * cz, cy * sz, -sy}), ToVec3({sx * sy * cz - cx * sz, sx * sy * sz + cx * cz, sx * cy}),
          ToVec3({cx * sy * cz + sx * sz, cx * sy * sz - sx * cz, cx * cy})};
}

Triple Scale(const toml::table& table) {
  const toml::node* node = table.get("scale");
  if (node != nullptr && node->is_number()) {
    const double scale = *node->value<double>();
    return {scale, scale, scale};
  }
  return Part<3>(table, "scale", {1, 1, 1});
}

Transform LookAt(const toml::table& table) {
  const Triple from = Part<3>(table, "from", {0, 0, 0});
  const Triple to = Part<3>(table, "to", {from[0], from[1], from[2] - 1});
  const Triple up = Part<3>(table, "up", {0, 1, 0});
  const Vec3 back = Normalize(ToVec3({from[0] - to[0], from[1] - to[1], from[2] - to[2]}));
  Vec3 right = Cross(ToVec3(up), back);
  // Looking along `up`: any direction across will do.
  if (Length(right) < 1e-6F) right = Frame(back).t;
  right = Normalize(right);
  if (!(Length(back) > 0) || !std::isfinite(Length(back))) {
    throw SceneTextError(table.source().begin.line, "\"from\" and \"to\" of a transform are the same point");
  }
  return {{right, Cross(back, right), back}, {from[0], from[1], from[2]}};
}

void CheckParts(const toml::table& table) {
  bool look = false;
  bool place = false;
  for (const auto& [key, node] : table) {
    if (std::ranges::find(kParts, key.str()) == kParts.end()) {
      throw SceneTextError(key.source().begin.line, "a transform has no part \"" + std::string(key.str()) +
                                                        "\"" + Suggestion(key.str(), kParts));
    }
    const bool of_look = key.str() == "from" || key.str() == "to" || key.str() == "up";
    (of_look ? look : place) = true;
  }
  const uint32_t line = table.source().begin.line;
  if (look && place) throw SceneTextError(line, "a transform is placed or looks at a point, not both");
  if (table.contains("matrix") && (table.contains("rotate") || table.contains("scale"))) {
    throw SceneTextError(line, "a transform has a matrix or is rotated and scaled, not both");
  }
}

}  // namespace

Transform ReadTransform(const toml::table& table) {
  CheckParts(table);
  if (table.contains("from") || table.contains("to") || table.contains("up")) return LookAt(table);
  const Triple offset = Part<3>(table, "translate", {0, 0, 0});
  const auto m = Part<9>(table, "matrix", {1, 0, 0, 0, 1, 0, 0, 0, 1});
  Matrix matrix{ToVec3({m[0], m[1], m[2]}), ToVec3({m[3], m[4], m[5]}), ToVec3({m[6], m[7], m[8]})};
  if (!table.contains("matrix")) {
    const Matrix rotation = Rotation(Part<3>(table, "rotate", {0, 0, 0}));
    const Vec3 scale = ToVec3(Scale(table));
    const Vec3 zero;
    matrix = {rotation.c0 * scale.x + zero, rotation.c1 * scale.y + zero, rotation.c2 * scale.z + zero};
  }
  return {matrix, {offset[0], offset[1], offset[2]}};
}

}  // namespace kiln::engine::formats
