// The node hierarchy of a glTF document, multiplied out.
#include "engine/formats/gltf_nodes.h"

#include <fmt/format.h>

#include <cmath>

#include "engine/formats/model_import_failure.h"

namespace kiln::engine::formats {
namespace {

Affine FromMatrix(const std::vector<double>& m, size_t node) {
  constexpr double kTolerance = 1e-4;
  if (std::abs(m[3]) > kTolerance || std::abs(m[7]) > kTolerance || std::abs(m[11]) > kTolerance ||
      std::abs(m[15] - 1) > kTolerance) {
    throw ImportFailure(fmt::format("nodes[{}].matrix is not affine", node));
  }
  return {{{{m[0], m[1], m[2]}, {m[4], m[5], m[6]}, {m[8], m[9], m[10]}, {m[12], m[13], m[14]}}}};
}

Affine Local(const tinygltf::Node& node, size_t index) {
  if (node.matrix.size() == 16) return FromMatrix(node.matrix, index);
  std::array<double, 4> q{0, 0, 0, 1};
  if (node.rotation.size() == 4) {
    const auto& r = node.rotation;
    const double length = std::sqrt(r[0] * r[0] + r[1] * r[1] + r[2] * r[2] + r[3] * r[3]);
    if (!(length > 0)) throw ImportFailure(fmt::format("nodes[{}].rotation has no length", index));
    q = {r[0] / length, r[1] / length, r[2] / length, r[3] / length};
  }
  const auto vector = [](const std::vector<double>& v, double otherwise) {
    return v.size() == 3 ? Vec3d{v[0], v[1], v[2]} : Vec3d{otherwise, otherwise, otherwise};
  };
  return FromTrs(vector(node.translation, 0), q, vector(node.scale, 1));
}

std::vector<int> Parents(const tinygltf::Model& model) {
  std::vector<int> parents(model.nodes.size(), -1);
  for (size_t i = 0; i < model.nodes.size(); ++i) {
    for (const int child : model.nodes[i].children) {
      if (parents[child] >= 0) {
        throw ImportFailure(
            fmt::format("nodes[{}] is a child of nodes[{}] and of nodes[{}]", child, parents[child], i));
      }
      parents[child] = static_cast<int>(i);
    }
  }
  return parents;
}

// Calls visit(node) for the roots and everything below them, parents first, each node once; chains may be as
// long as the document.
template <class Visit>
void Walk(const tinygltf::Model& model, const std::vector<int>& roots, const Visit& visit) {
  std::vector<bool> seen(model.nodes.size());
  std::vector<int> pending(roots.rbegin(), roots.rend());
  while (!pending.empty()) {
    const int node = pending.back();
    pending.pop_back();
    if (seen[node]) continue;
    seen[node] = true;
    visit(node);
    const auto& children = model.nodes[node].children;
    pending.insert(pending.end(), children.rbegin(), children.rend());
  }
}

}  // namespace

GltfNodes FlattenNodes(const tinygltf::Model& model) {
  const std::vector<int> parents = Parents(model);
  std::vector<int> roots;
  for (size_t i = 0; i < parents.size(); ++i) {
    if (parents[i] < 0) roots.push_back(static_cast<int>(i));
  }
  GltfNodes nodes;
  nodes.world.resize(model.nodes.size());
  std::vector<bool> reached(model.nodes.size());
  Walk(model, roots, [&](int node) {
    reached[node] = true;
    const Affine local = Local(model.nodes[node], node);
    nodes.world[node] = parents[node] < 0 ? local : Multiply(nodes.world[parents[node]], local);
    if (!FitsTransform(nodes.world[node]))
      throw ImportFailure(fmt::format("the place of nodes[{}] is out of range", node));
  });
  // With one parent each, nodes that no root leads to form a circle.
  for (size_t i = 0; i < reached.size(); ++i) {
    if (!reached[i]) throw ImportFailure(fmt::format("nodes[{}] is its own ancestor", i));
  }
  const bool has_scene = !model.scenes.empty();
  const int scene = model.defaultScene < 0 ? 0 : model.defaultScene;
  Walk(model, has_scene ? model.scenes[scene].nodes : roots,
       [&](int node) { nodes.visible.push_back(node); });
  return nodes;
}

}  // namespace kiln::engine::formats
