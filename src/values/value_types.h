// The five value types as plain structs with their arithmetic: every component a double, no V8. Equal
// operations give equal results to the last bit, so the order of the operations is part of each function.
#pragma once

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

Vector Add(const Vector& a, const Vector& b);
Vector Sub(const Vector& a, const Vector& b);
Vector Mul(const Vector& a, const Vector& b);
Vector Mul(const Vector& a, double n);
Vector Div(const Vector& a, const Vector& b);
Vector Div(const Vector& a, double n);  // by the reciprocal
Vector Negative(const Vector& a);
Color Add(const Color& a, const Color& b);
Color Sub(const Color& a, const Color& b);
Color Mul(const Color& a, const Color& b);
Color Mul(const Color& a, double n);
Color Div(const Color& a, const Color& b);
Color Div(const Color& a, double n);
AColor Mul(const AColor& a, const AColor& b);
AColor Mul(const AColor& a, double n);
AColor Div(const AColor& a, const AColor& b);
AColor Div(const AColor& a, double n);
// A Color has no alpha: it leaves the alpha of the AColor as it is.
AColor Add(const AColor& a, const Color& b);
AColor Sub(const AColor& a, const Color& b);
Matrix Add(const Matrix& a, const Matrix& b);
Matrix Sub(const Matrix& a, const Matrix& b);
Matrix Mul(const Matrix& a, double n);
Matrix Div(const Matrix& a, double n);
Matrix Negative(const Matrix& a);
Transform Add(const Transform& a, const Transform& b);
Transform Sub(const Transform& a, const Transform& b);
Transform Mul(const Transform& a, double n);
Transform Div(const Transform& a, double n);
Transform Negative(const Transform& a);

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
