// A rectangle as seen from a point: its solid angle, and directions uniform in it
// (Urena, Fajardo and King 2013, "An Area-Preserving Parametrization for Spherical Rectangles").
#pragma once

#include "engine/utilities/math.h"

namespace kiln::engine::render {

class SphericalRectangle {
 public:
  // `x` and `y` are unit and perpendicular, z their cross product.
  SphericalRectangle(Vec3 corner, Vec3 x, Vec3 y, Vec3 z, float width, float height, Vec3 origin);

  float solid_angle() const { return solid_angle_; }
  // A point on the rectangle, relative to the origin.
  Vec3 Sample(Vec2 u) const;

 private:
  Vec3 x_, y_, z_;
  float x0_, x1_, y0_, y1_, z0_;
  float b0_, b1_, k_;
  float solid_angle_;
};

inline SphericalRectangle::SphericalRectangle(Vec3 corner, Vec3 x, Vec3 y, Vec3 z, float width, float height,
                                              Vec3 origin)
    : x_(x), y_(y), z_(z) {
  const Vec3 d = corner - origin;
  z0_ = Dot(d, z_);
  if (z0_ > 0) {
    z_ = -z_;
    z0_ = -z0_;
  }
  x0_ = Dot(d, x_);
  y0_ = Dot(d, y_);
  x1_ = x0_ + width;
  y1_ = y0_ + height;
  // The normals of the four side planes have no x or no y, so only two parts of each matter.
  const auto plane = [this](float edge, float sign) {
    return sign * edge / std::sqrt(edge * edge + z0_ * z0_);
  };
  const float n0z = plane(y0_, -1);
  const float n1z = plane(x1_, 1);
  const float n2z = plane(y1_, 1);
  const float n3z = plane(x0_, -1);
  const auto angle = [](float a, float b) { return std::acos(std::clamp(-a * b, -1.0f, 1.0f)); };
  const float g0 = angle(n0z, n1z);
  const float g1 = angle(n1z, n2z);
  const float g2 = angle(n2z, n3z);
  const float g3 = angle(n3z, n0z);
  b0_ = n0z;
  b1_ = n2z;
  k_ = 2 * kPi - g2 - g3;
  solid_angle_ = g0 + g1 - k_;
}

inline Vec3 SphericalRectangle::Sample(Vec2 u) const {
  const float au = u.x * solid_angle_ + k_;
  const float fu = (std::cos(au) * b0_ - b1_) / std::sin(au);
  const float cu = std::clamp(std::copysign(1.0f, fu) / std::sqrt(fu * fu + b0_ * b0_), -1.0f, 1.0f);
  const float xu = std::clamp(-(cu * z0_) / std::sqrt(std::max(1e-12f, 1 - cu * cu)), x0_, x1_);
  const float d2 = xu * xu + z0_ * z0_;
  const float h0 = y0_ / std::sqrt(d2 + y0_ * y0_);
  const float h1 = y1_ / std::sqrt(d2 + y1_ * y1_);
  const float hv = h0 + u.y * (h1 - h0);
  const float hv2 = hv * hv;
  const float yv = hv2 < 1 - 1e-6f ? std::clamp(hv * std::sqrt(d2 / (1 - hv2)), y0_, y1_) : y1_;
  return x_ * xu + y_ * yv + z_ * z0_;
}

}  // namespace kiln::engine::render
