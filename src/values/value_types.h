// The five value types as plain structs with their arithmetic: every component a double, no V8. Equal
// operations give equal results to the last bit, so the order of the operations is part of each function.
#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

// Below this length, or squared length, a vector has no direction.
inline constexpr double kTolerance = 1e-15;

struct Vector {
  double x = 0, y = 0, z = 0;
};

// Three columns: m[0..2] is column 0. Element (row r, column c) is m[3c + r]. A new one is all zero.
struct Matrix {
  double m[9] = {};
  Vector Column(int index) const { return {m[3 * index], m[3 * index + 1], m[3 * index + 2]}; }
  void SetColumn(int index, const Vector& v);
};

// A matrix and an offset; a new one is all zero, so it is not the identity.
struct Transform {
  Matrix matrix;
  Vector offset;
};

// Linear RGB.
struct Color {
  double r = 0, g = 0, b = 0;
};

struct AColor {
  double r = 0, g = 0, b = 0, a = 1;
};

// --- By components.

namespace detail {
template <class T, class Function>
T Each(const T& a, const T& b, Function f) {
  using Components = std::array<double, sizeof(T) / sizeof(double)>;
  auto result = std::bit_cast<Components>(a);
  const auto others = std::bit_cast<Components>(b);
  for (size_t i = 0; i < result.size(); i++) result[i] = f(result[i], others[i]);
  return std::bit_cast<T>(result);
}
}  // namespace detail

template <class T>
concept TupleType = std::same_as<T, Vector> || std::same_as<T, Color> || std::same_as<T, AColor>;
template <class T>
concept ValueType = TupleType<T> || std::same_as<T, Matrix> || std::same_as<T, Transform>;

template <ValueType T>
T Add(const T& a, const T& b) {
  return detail::Each(a, b, [](double x, double y) { return x + y; });
}
template <ValueType T>
T Sub(const T& a, const T& b) {
  return detail::Each(a, b, [](double x, double y) { return x - y; });
}
template <TupleType T>
T Mul(const T& a, const T& b) {
  return detail::Each(a, b, [](double x, double y) { return x * y; });
}
template <TupleType T>
T Div(const T& a, const T& b) {
  return detail::Each(a, b, [](double x, double y) { return x / y; });
}
template <ValueType T>
T Mul(const T& a, double n) {
  return detail::Each(a, a, [n](double x, double) { return x * n; });
}
// By the reciprocal.
template <ValueType T>
T Div(const T& a, double n) {
  return Mul(a, 1.0 / n);
}
template <ValueType T>
T Negative(const T& a) {
  return detail::Each(a, a, [](double x, double) { return -x; });
}
// A Color has no alpha: it leaves the alpha of the AColor as it is.
inline AColor Add(const AColor& a, const Color& b) {
  return Add(a, AColor{b.r, b.g, b.b, 0});
}
inline AColor Sub(const AColor& a, const Color& b) {
  return Sub(a, AColor{b.r, b.g, b.b, 0});
}

// --- Vectors.

double Dot(const Vector& a, const Vector& b);
Vector Cross(const Vector& a, const Vector& b);
double LengthSqr(const Vector& a);
double Length(const Vector& a);
// A copy when there is no direction.
Vector Normalize(const Vector& a);
// A small-angle step around `axis` that keeps the length.
Vector Rotate(const Vector& a, const Vector& axis);
// (a x b) . c.
double Mixed(const Vector& a, const Vector& b, const Vector& c);
// The rows of the transposed product: each element triple of m with v.
Vector MulTransposed(const Vector& v, const Matrix& m);
// v with each element triple of m, the vector on the left.
Matrix CrossMatrix(const Vector& v, const Matrix& m);

// --- Matrices.

Vector Mul(const Matrix& a, const Vector& v);
Matrix Mul(const Matrix& a, const Matrix& b);
Matrix Cross(const Matrix& a, const Vector& v);  // each column with v, the column on the left
Matrix Transpose(const Matrix& a);
// The zero matrix when the determinant is 0 or NaN.
Matrix Inverse(const Matrix& a);
Matrix WithoutScale(const Matrix& a);
Matrix Orthonormal(const Matrix& a);
Matrix Orthogonal(const Matrix& a);  // the same frame with the columns' lengths
Matrix Rotate(const Matrix& a, const Vector& axis);
Matrix AddDiagonal(const Matrix& a, const Vector& diagonal);
Matrix OuterProduct(const Vector& a, const Vector& b);  // column i is a[i] b
Matrix RotationX(double radians);
Matrix RotationY(double radians);
Matrix RotationZ(double radians);

// --- Transforms.

Transform Mul(const Transform& a, const Transform& b);  // a after b
Vector TransformPoint(const Transform& t, const Vector& v);
Transform Inverse(const Transform& t);

// --- Colours. The alpha is copied; nothing is clamped. The curve is that of IEC 61966-2-1.

Color ToSRGB(const Color& c);
Color FromSRGB(const Color& c);
AColor ToSRGB(const AColor& c);
AColor FromSRGB(const AColor& c);

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
