// Meshes that geometry classes make: balls, tubes, and the last step of all of them.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "engine/render/mesh.h"

namespace kiln::engine::render {

class Inputs;

// The geometry of a class's arrays. Null, with a warning for the instance, when they make no mesh.
std::unique_ptr<GeometrySource> FinishGeometry(const Inputs& in, MeshArrays arrays);

struct BallMesh {
  std::vector<Vec3> normals;  // and vertices, of radius 1
  std::vector<int32_t> faces;
};
// An icosahedron, each triangle split into four as often as said.
BallMesh MakeIcosphere(int subdivisions);

// Polylines as open tubes with smooth normals, and u around, v along them.
class TubeBuilder {
 public:
  explicit TubeBuilder(int sides) : sides_(sides) {}
  // `widths` (diameters) and `colors` are per point or null. A line without length adds nothing.
  void Add(std::span<const Vec3> points, const float* widths, float common_width, const Color* colors);
  bool empty() const { return faces_.empty(); }
  MeshArrays Take();

 private:
  int sides_;
  std::vector<Vec3> vertices_, normals_, uv_;
  std::vector<Color> colors_;
  std::vector<int32_t> faces_;
};

}  // namespace kiln::engine::render
