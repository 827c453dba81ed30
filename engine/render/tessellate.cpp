// Tessellation of balls and tubes.
#include "engine/render/tessellate.h"

#include <map>

#include "engine/render/inputs.h"

namespace kiln::engine::render {

std::unique_ptr<GeometrySource> FinishGeometry(const Inputs& in, MeshArrays arrays) {
  std::string error;
  std::vector<std::string> warnings;
  std::unique_ptr<Mesh> mesh = Mesh::Create(std::move(arrays), &error, &warnings);
  for (const std::string& warning : warnings) in.Warn(warning);
  if (mesh == nullptr) {
    in.Warn(error + ", so it is left out");
    return nullptr;
  }
  return std::make_unique<GeometrySource>(std::move(mesh));
}

BallMesh MakeIcosphere(int subdivisions) {
  constexpr float kGolden = 1.61803398875f;
  BallMesh ball;
  ball.normals = {{-1, kGolden, 0}, {1, kGolden, 0}, {-1, -kGolden, 0}, {1, -kGolden, 0},
                  {0, -1, kGolden}, {0, 1, kGolden}, {0, -1, -kGolden}, {0, 1, -kGolden},
                  {kGolden, 0, -1}, {kGolden, 0, 1}, {-kGolden, 0, -1}, {-kGolden, 0, 1}};
  for (Vec3& n : ball.normals) n = Normalize(n);
  ball.faces = {0, 11, 5,  0, 5,  1, 0, 1, 7, 0, 7,  10, 0, 10, 11, 1, 5, 9, 5, 11,
                4, 11, 10, 2, 10, 7, 6, 7, 1, 8, 3,  9,  4, 3,  4,  2, 3, 2, 6, 3,
                6, 8,  3,  8, 9,  4, 9, 5, 2, 4, 11, 6,  2, 10, 8,  6, 7, 9, 8, 1};
  for (int i = 0; i < subdivisions; ++i) {
    std::map<std::pair<int32_t, int32_t>, int32_t> middles;
    const auto middle = [&](int32_t a, int32_t b) {
      const auto [entry, added] =
          middles.try_emplace(std::minmax(a, b), static_cast<int32_t>(ball.normals.size()));
      if (added) ball.normals.push_back(Normalize(ball.normals[a] + ball.normals[b]));
      return entry->second;
    };
    std::vector<int32_t> finer;
    for (size_t f = 0; f < ball.faces.size(); f += 3) {
      const int32_t a = ball.faces[f];
      const int32_t b = ball.faces[f + 1];
      const int32_t c = ball.faces[f + 2];
      const int32_t ab = middle(a, b);
      const int32_t bc = middle(b, c);
      const int32_t ca = middle(c, a);
      finer.insert(finer.end(), {a, ab, ca, b, bc, ab, c, ca, bc, ab, bc, ca});
    }
    ball.faces = std::move(finer);
  }
  return ball;
}

void TubeBuilder::Add(std::span<const Vec3> points, const float* widths, float common_width,
                      const Color* colors) {
  if (points.size() < 2) return;
  // The direction at a point is the chord of its neighbours, or the last one that had a length.
  const auto chord = [&](size_t i) {
    return points[std::min(i + 1, points.size() - 1)] - points[i > 0 ? i - 1 : 0];
  };
  Vec3 direction{};
  for (size_t i = 0; i < points.size() && !(Length(direction) > 0); ++i) direction = Normalize(chord(i));
  if (!(Length(direction) > 0)) return;

  Vec3 side = Frame(direction).t;
  const auto first = static_cast<int32_t>(vertices_.size());
  const int ring = sides_ + 1;  // the seam has two values of u
  for (size_t i = 0; i < points.size(); ++i) {
    const Vec3 along = Normalize(chord(i));
    if (Length(along) > 0) direction = along;
    // The side is carried along, so that the tube does not twist.
    const Vec3 carried = side - direction * Dot(side, direction);
    side = Length(carried) > 1e-4f ? Normalize(carried) : Frame(direction).t;
    const Vec3 other = Cross(direction, side);
    const float radius = 0.5f * (widths != nullptr ? widths[i] : common_width);
    for (int k = 0; k < ring; ++k) {
      const float u = static_cast<float>(k) / static_cast<float>(sides_);
      const float angle = 2 * kPi * static_cast<float>(k % sides_) / static_cast<float>(sides_);
      const Vec3 n = side * std::cos(angle) + other * std::sin(angle);
      normals_.push_back(n);
      vertices_.push_back(points[i] + n * radius);
      uv_.push_back({u, static_cast<float>(i) / static_cast<float>(points.size() - 1), 0});
      if (colors != nullptr) colors_.push_back(colors[i]);
    }
  }
  for (int32_t i = 0; i + 1 < static_cast<int32_t>(points.size()); ++i) {
    for (int32_t k = 0; k < sides_; ++k) {
      const int32_t a = first + i * ring + k;
      const int32_t b = a + ring;
      faces_.insert(faces_.end(), {a, a + 1, b + 1, a, b + 1, b});
    }
  }
}

MeshArrays TubeBuilder::Take() {
  MeshArrays arrays;
  arrays.vertices = scene::VectorArray(std::move(vertices_));
  arrays.normals = scene::VectorArray(std::move(normals_));
  arrays.uv[0] = scene::VectorArray(std::move(uv_));
  arrays.colors = scene::ColorArray(std::move(colors_));
  arrays.faces = scene::IntArray(std::move(faces_));
  return arrays;
}

}  // namespace kiln::engine::render
