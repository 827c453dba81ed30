// A room with a red and a green wall, two boxes and a lamp, in code.
#pragma once

#include "test/engine/render/scene_kit.h"

namespace kiln::engine::render::test {

struct Cornell {
  PluginId white, red, green, lamp;
};

inline void AddBox(SceneKit& kit, Vec3 center, Vec3 half, float turn, PluginId material) {
  std::vector<Vec3> vertices;
  for (int i = 0; i < 8; ++i) {
    const Vec3 p{(i & 1) != 0 ? half.x : -half.x, (i & 2) != 0 ? half.y : -half.y,
                 (i & 4) != 0 ? half.z : -half.z};
    vertices.push_back(center + Vec3{p.x * std::cos(turn) + p.z * std::sin(turn), p.y,
                                     p.z * std::cos(turn) - p.x * std::sin(turn)});
  }
  kit.Put(kit.Mesh(std::move(vertices), {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 4, 6, 0, 6, 2,
                                         1, 3, 7, 1, 7, 5, 0, 1, 5, 0, 5, 4, 2, 6, 7, 2, 7, 3}),
          material);
}

// The room spans -1..1 in x and z and 0..2 in y, open to +Z where the camera is.
inline Cornell MakeCornell(SceneKit& kit, int side, int samples) {
  kit.Settings(side, side, samples);
  kit.Camera({0, 1, 3.9f}, {0, 1, 0}, 40);
  Cornell room{};
  room.white = kit.Diffuse({0.73f, 0.73f, 0.73f});
  room.red = kit.Diffuse({0.65f, 0.05f, 0.05f});
  room.green = kit.Diffuse({0.12f, 0.45f, 0.15f});
  kit.Quad({-1, 0, 1}, {1, 0, 1}, {1, 0, -1}, {-1, 0, -1}, room.white);
  kit.Quad({-1, 2, -1}, {1, 2, -1}, {1, 2, 1}, {-1, 2, 1}, room.white);
  kit.Quad({-1, 0, -1}, {1, 0, -1}, {1, 2, -1}, {-1, 2, -1}, room.white);
  kit.Quad({-1, 0, 1}, {-1, 0, -1}, {-1, 2, -1}, {-1, 2, 1}, room.red);
  kit.Quad({1, 0, -1}, {1, 0, 1}, {1, 2, 1}, {1, 2, -1}, room.green);
  AddBox(kit, {0.35f, 0.3f, 0.35f}, {0.3f, 0.3f, 0.3f}, -0.3f, room.white);
  AddBox(kit, {-0.35f, 0.6f, -0.3f}, {0.3f, 0.6f, 0.3f}, 0.35f, room.white);
  room.lamp = kit.Make("LightRectangle", {{"transform", LookAt({0, 1.98f, 0}, {0, 0, 0})},
                                          {"width", 0.5f},
                                          {"height", 0.5f},
                                          {"color", Color{1, 0.7f, 0.25f}},
                                          {"intensity", 17.0f}});
  return room;
}

}  // namespace kiln::engine::render::test
