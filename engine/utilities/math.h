// Small vector types of the engine: geometry and linear RGB, single precision, plain and trivially copyable.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kiln::engine {

constexpr float kPi = 3.14159265358979323846f;

struct Vec2 {
  float x = 0, y = 0;
  friend bool operator==(const Vec2&, const Vec2&) = default;
};
constexpr Vec2 operator+(Vec2 a, Vec2 b) {
  return {a.x + b.x, a.y + b.y};
}
constexpr Vec2 operator-(Vec2 a, Vec2 b) {
  return {a.x - b.x, a.y - b.y};
}
constexpr Vec2 operator*(Vec2 a, float s) {
  return {a.x * s, a.y * s};
}

struct Vec3 {
  float x = 0, y = 0, z = 0;
  friend bool operator==(const Vec3&, const Vec3&) = default;
};
constexpr Vec3 operator+(Vec3 a, Vec3 b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr Vec3 operator-(Vec3 a, Vec3 b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr Vec3 operator-(Vec3 a) {
  return {-a.x, -a.y, -a.z};
}
constexpr Vec3 operator*(Vec3 a, float s) {
  return {a.x * s, a.y * s, a.z * s};
}
constexpr Vec3 operator*(float s, Vec3 a) {
  return a * s;
}
constexpr Vec3 operator/(Vec3 a, float s) {
  return a * (1.0f / s);
}
constexpr Vec3& operator+=(Vec3& a, Vec3 b) {
  return a = a + b;
}
constexpr Vec3& operator*=(Vec3& a, float s) {
  return a = a * s;
}
constexpr float Dot(Vec3 a, Vec3 b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
constexpr Vec3 Cross(Vec3 a, Vec3 b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline float Length(Vec3 a) {
  return std::sqrt(Dot(a, a));
}
// A vector too short to have a direction comes back as it is.
inline Vec3 Normalize(Vec3 a) {
  const float length = Length(a);
  return length > 0 ? a / length : a;
}
constexpr Vec3 Lerp(Vec3 a, Vec3 b, float t) {
  return a * (1 - t) + b * t;
}

struct Vec3d {
  double x = 0, y = 0, z = 0;
  friend bool operator==(const Vec3d&, const Vec3d&) = default;
};

// Linear RGB: reflectance, transmittance or radiance.
struct Color {
  float r = 0, g = 0, b = 0;
  friend bool operator==(const Color&, const Color&) = default;
};
constexpr Color operator+(Color a, Color b) {
  return {a.r + b.r, a.g + b.g, a.b + b.b};
}
constexpr Color operator-(Color a, Color b) {
  return {a.r - b.r, a.g - b.g, a.b - b.b};
}
constexpr Color operator*(Color a, Color b) {
  return {a.r * b.r, a.g * b.g, a.b * b.b};
}
constexpr Color operator*(Color a, float s) {
  return {a.r * s, a.g * s, a.b * s};
}
constexpr Color operator*(float s, Color a) {
  return a * s;
}
constexpr Color operator/(Color a, float s) {
  return a * (1.0f / s);
}
constexpr Color& operator+=(Color& a, Color b) {
  return a = a + b;
}
constexpr Color& operator*=(Color& a, Color b) {
  return a = a * b;
}
constexpr Color& operator*=(Color& a, float s) {
  return a = a * s;
}
constexpr float MaxComponent(Color c) {
  return std::max(c.r, std::max(c.g, c.b));
}
constexpr bool IsBlack(Color c) {
  return c.r == 0 && c.g == 0 && c.b == 0;
}
// Rec. 709 luminance of linear sRGB.
constexpr float Luminance(Color c) {
  return 0.2126f * c.r + 0.7152f * c.g + 0.0722f * c.b;
}
constexpr Color Lerp(Color a, Color b, float t) {
  return a * (1 - t) + b * t;
}
inline bool IsFinite(Color c) {
  return std::isfinite(c.r) && std::isfinite(c.g) && std::isfinite(c.b);
}

struct AColor {
  float r = 0, g = 0, b = 0, a = 1;
  friend bool operator==(const AColor&, const AColor&) = default;
};

// Three columns; vectors are columns, so M * v is v.x * c0 + v.y * c1 + v.z * c2.
struct Matrix {
  Vec3 c0{1, 0, 0}, c1{0, 1, 0}, c2{0, 0, 1};
  friend bool operator==(const Matrix&, const Matrix&) = default;
};
constexpr Vec3 operator*(const Matrix& m, Vec3 v) {
  return m.c0 * v.x + m.c1 * v.y + m.c2 * v.z;
}
constexpr Matrix operator*(const Matrix& a, const Matrix& b) {
  return {a * b.c0, a * b.c1, a * b.c2};
}
constexpr Matrix Transpose(const Matrix& m) {
  return {{m.c0.x, m.c1.x, m.c2.x}, {m.c0.y, m.c1.y, m.c2.y}, {m.c0.z, m.c1.z, m.c2.z}};
}
constexpr float Determinant(const Matrix& m) {
  return Dot(m.c0, Cross(m.c1, m.c2));
}
// The inverse; the zero matrix when m is singular.
constexpr Matrix Inverse(const Matrix& m) {
  const float det = Determinant(m);
  if (det == 0) return {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
  const Matrix rows{Cross(m.c1, m.c2) * (1 / det), Cross(m.c2, m.c0) * (1 / det),
                    Cross(m.c0, m.c1) * (1 / det)};
  return Transpose(rows);
}

// An affine map of points: matrix * p + offset. The offset is double, for scenes far from the origin.
struct Transform {
  Matrix matrix;
  Vec3d offset;
  friend bool operator==(const Transform&, const Transform&) = default;
};
constexpr Vec3 Offset(const Transform& t) {
  return {static_cast<float>(t.offset.x), static_cast<float>(t.offset.y), static_cast<float>(t.offset.z)};
}
constexpr Vec3 TransformPoint(const Transform& t, Vec3 p) {
  return t.matrix * p + Offset(t);
}
constexpr Vec3 TransformDirection(const Transform& t, Vec3 d) {
  return t.matrix * d;
}
// a after b.
constexpr Transform operator*(const Transform& a, const Transform& b) {
  const Matrix& m = a.matrix;
  return {m * b.matrix,
          {m.c0.x * b.offset.x + m.c1.x * b.offset.y + m.c2.x * b.offset.z + a.offset.x,
           m.c0.y * b.offset.x + m.c1.y * b.offset.y + m.c2.y * b.offset.z + a.offset.y,
           m.c0.z * b.offset.x + m.c1.z * b.offset.y + m.c2.z * b.offset.z + a.offset.z}};
}

// An orthonormal frame around a normal (Duff et al. 2017, "Building an Orthonormal Basis, Revisited").
struct Frame {
  Vec3 t, b, n;
  explicit Frame(Vec3 normal) : n(normal) {
    const float sign = std::copysign(1.0f, n.z);
    const float a = -1.0f / (sign + n.z);
    const float c = n.x * n.y * a;
    t = {1.0f + sign * n.x * n.x * a, sign * c, -sign * n.x};
    b = {c, sign + n.y * n.y * a, -n.y};
  }
  Frame(Vec3 tangent, Vec3 bitangent, Vec3 normal) : t(tangent), b(bitangent), n(normal) {}
  Vec3 ToLocal(Vec3 v) const { return {Dot(v, t), Dot(v, b), Dot(v, n)}; }
  Vec3 ToWorld(Vec3 v) const { return t * v.x + b * v.y + n * v.z; }
};

struct Bounds3 {
  Vec3 lower{INFINITY, INFINITY, INFINITY};
  Vec3 upper{-INFINITY, -INFINITY, -INFINITY};
  bool Empty() const { return lower.x > upper.x; }
  void Add(Vec3 p) {
    lower = {std::min(lower.x, p.x), std::min(lower.y, p.y), std::min(lower.z, p.z)};
    upper = {std::max(upper.x, p.x), std::max(upper.y, p.y), std::max(upper.z, p.z)};
  }
  Vec3 Center() const { return (lower + upper) * 0.5f; }
  float Radius() const { return Empty() ? 0 : Length(upper - lower) * 0.5f; }
};

}  // namespace kiln::engine
