// Affine maps in double precision: node hierarchies are multiplied out before they become single precision.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>

#include "engine/utilities/math.h"

namespace kiln::engine::formats {

// Columns 0..2 are the images of the axes, column 3 the offset.
struct Affine {
  std::array<Vec3d, 4> c{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}};
};

inline Vec3d Sum(Vec3d a, Vec3d b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3d Scale(Vec3d a, double s) {
  return {a.x * s, a.y * s, a.z * s};
}
inline double Dot(Vec3d a, Vec3d b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3d Cross(Vec3d a, Vec3d b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline bool IsFinite(Vec3d v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

inline Vec3d Direction(const Affine& a, Vec3d v) {
  return Sum(Sum(Scale(a.c[0], v.x), Scale(a.c[1], v.y)), Scale(a.c[2], v.z));
}
inline Vec3d Point(const Affine& a, Vec3d p) {
  return Sum(Direction(a, p), a.c[3]);
}
// a after b.
inline Affine Multiply(const Affine& a, const Affine& b) {
  return {{Direction(a, b.c[0]), Direction(a, b.c[1]), Direction(a, b.c[2]), Point(a, b.c[3])}};
}

// A unit quaternion's rotation, then the scale before it and the translation after it.
inline Affine FromTrs(Vec3d translation, const std::array<double, 4>& q, Vec3d scale) {
  const auto [x, y, z, w] = q;
  return {{Scale({1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)}, scale.x),
           Scale({2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)}, scale.y),
           Scale({2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)}, scale.z), translation}};
}

// The nearest map without scale and shear that keeps the third axis: cameras and lights have no size.
// Mirrored or flat axes are completed to a right-handed frame.
inline Affine Rigid(const Affine& a) {
  const auto normalize = [](Vec3d v, Vec3d otherwise) {
    const double length = std::sqrt(Dot(v, v));
    return length > 0 && std::isfinite(length) ? Scale(v, 1 / length) : otherwise;
  };
  const Vec3d z = normalize(a.c[2], {0, 0, 1});
  Vec3d x = normalize(Cross(a.c[1], z), {0, 0, 0});
  if (Dot(x, x) == 0)
    x = normalize(Cross(std::abs(z.y) < 0.9 ? Vec3d{0, 1, 0} : Vec3d{1, 0, 0}, z), {1, 0, 0});
  return {{x, Cross(z, x), z, a.c[3]}};
}

// False for a map that single precision can't hold.
inline bool FitsTransform(const Affine& a) {
  constexpr double kLargest = 3e38;
  const auto fits = [](Vec3d v) {
    return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)}) < kLargest && IsFinite(v);
  };
  return fits(a.c[0]) && fits(a.c[1]) && fits(a.c[2]) && fits(a.c[3]);
}

inline Vec3 ToVec3(Vec3d v) {
  return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}
inline Vec3d ToVec3d(Vec3 v) {
  return {v.x, v.y, v.z};
}
inline Transform ToTransform(const Affine& a) {
  return {{ToVec3(a.c[0]), ToVec3(a.c[1]), ToVec3(a.c[2])}, a.c[3]};
}

}  // namespace kiln::engine::formats
