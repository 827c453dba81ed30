#include "values/value_types.h"

#include <cmath>

namespace KilnNodeWrapper::KilnValuesNodeWrapper {
namespace {

double LinearToSRGB(double c) {
  return c > 0.0031308 ? std::pow(c, 0.4166666666666667) * 1.055 - 0.055 : c * 12.92;
}
double SRGBToLinear(double c) {
  return c >= 0.04045 ? std::pow(c * 0.9478672985781991 + 0.05213270142180095, 2.4) : c * 0.07739938080495357;
}

Matrix FromColumns(const Vector& c0, const Vector& c1, const Vector& c2) {
  return {{c0.x, c0.y, c0.z, c1.x, c1.y, c1.z, c2.x, c2.y, c2.z}};
}

template <class Function>
Matrix EachColumn(const Matrix& a, Function f) {
  return FromColumns(f(a.Column(0)), f(a.Column(1)), f(a.Column(2)));
}

}  // namespace

void Matrix::SetColumn(int index, const Vector& v) {
  m[3 * index] = v.x;
  m[3 * index + 1] = v.y;
  m[3 * index + 2] = v.z;
}

double Dot(const Vector& a, const Vector& b) {
  return a.y * b.y + a.x * b.x + a.z * b.z;
}

Vector Cross(const Vector& a, const Vector& b) {
  return {a.y * b.z - a.z * b.y, b.x * a.z - a.x * b.z, a.x * b.y - b.x * a.y};
}

double LengthSqr(const Vector& a) {
  return a.x * a.x + a.y * a.y + a.z * a.z;
}
double Length(const Vector& a) {
  return std::sqrt(LengthSqr(a));
}

Vector Normalize(const Vector& a) {
  const double length = Length(a);
  return length > kTolerance ? Mul(a, 1.0 / length) : a;
}

Vector Rotate(const Vector& a, const Vector& axis) {
  const Vector r = Add(Cross(axis, a), a);
  const double q = LengthSqr(r);
  return q >= kTolerance ? Mul(r, std::sqrt(LengthSqr(a) / q)) : a;
}

double Mixed(const Vector& a, const Vector& b, const Vector& c) {
  return (a.z * b.x - a.x * b.z) * c.y + (a.y * b.z - a.z * b.y) * c.x + (a.x * b.y - a.y * b.x) * c.z;
}

Vector MulTransposed(const Vector& v, const Matrix& matrix) {
  const double* m = matrix.m;
  return {m[0] * v.x + m[1] * v.y + m[2] * v.z, m[3] * v.x + m[4] * v.y + m[5] * v.z,
          m[6] * v.x + m[7] * v.y + m[8] * v.z};
}

Matrix CrossMatrix(const Vector& v, const Matrix& m) {
  return EachColumn(m, [&v](const Vector& column) { return Cross(v, column); });
}

Vector Mul(const Matrix& a, const Vector& v) {
  return Add(Add(Mul(a.Column(0), v.x), Mul(a.Column(1), v.y)), Mul(a.Column(2), v.z));
}

Matrix Mul(const Matrix& a, const Matrix& b) {
  return EachColumn(b, [&a](const Vector& column) { return Mul(a, column); });
}

Matrix Cross(const Matrix& a, const Vector& v) {
  return EachColumn(a, [&v](const Vector& column) { return Cross(column, v); });
}

Matrix Transpose(const Matrix& a) {
  const double* m = a.m;
  return {{m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]}};
}

Matrix Inverse(const Matrix& a) {
  const double* m = a.m;
  const double d = (m[2] * m[3] - m[0] * m[5]) * m[7] + (m[1] * m[5] - m[2] * m[4]) * m[6] +
                   (m[0] * m[4] - m[1] * m[3]) * m[8];
  if (!(d < 0) && !(d > 0)) return {};
  const double k = 1.0 / d;
  return {{(m[8] * m[4] - m[7] * m[5]) * k, (m[2] * m[7] - m[1] * m[8]) * k, (m[1] * m[5] - m[2] * m[4]) * k,
           (m[6] * m[5] - m[8] * m[3]) * k, (m[0] * m[8] - m[2] * m[6]) * k, (m[2] * m[3] - m[0] * m[5]) * k,
           (m[7] * m[3] - m[6] * m[4]) * k, (m[1] * m[6] - m[0] * m[7]) * k,
           (m[0] * m[4] - m[1] * m[3]) * k}};
}

Matrix WithoutScale(const Matrix& a) {
  return EachColumn(a, Normalize);
}

Matrix Orthonormal(const Matrix& a) {
  const Vector n0 = Normalize(a.Column(0));
  const Vector w = Normalize(Cross(a.Column(2), a.Column(0)));
  return FromColumns(n0, w, Cross(n0, w));
}

Matrix Orthogonal(const Matrix& a) {
  const Matrix frame = Orthonormal(a);
  return FromColumns(Mul(frame.Column(0), Length(a.Column(0))), Mul(frame.Column(1), Length(a.Column(1))),
                     Mul(frame.Column(2), Length(a.Column(2))));
}

Matrix Rotate(const Matrix& a, const Vector& axis) {
  return EachColumn(a, [&axis](const Vector& column) { return Rotate(column, axis); });
}

Matrix AddDiagonal(const Matrix& a, const Vector& diagonal) {
  Matrix result = a;
  result.m[0] += diagonal.x;
  result.m[4] += diagonal.y;
  result.m[8] += diagonal.z;
  return result;
}

Matrix OuterProduct(const Vector& a, const Vector& b) {
  return FromColumns(Mul(b, a.x), Mul(b, a.y), Mul(b, a.z));
}

Matrix RotationX(double radians) {
  const double c = std::cos(radians);
  const double s = std::sin(radians);
  return {{1, 0, 0, 0, c, s, 0, -s, c}};
}

Matrix RotationY(double radians) {
  const double c = std::cos(radians);
  const double s = std::sin(radians);
  return {{c, 0, -s, 0, 1, 0, s, 0, c}};
}

Matrix RotationZ(double radians) {
  const double c = std::cos(radians);
  const double s = std::sin(radians);
  return {{c, s, 0, -s, c, 0, 0, 0, 1}};
}

Transform Mul(const Transform& a, const Transform& b) {
  return {Mul(a.matrix, b.matrix), Add(Mul(a.matrix, b.offset), a.offset)};
}

Vector TransformPoint(const Transform& t, const Vector& v) {
  return Add(Mul(t.matrix, v), t.offset);
}

Transform Inverse(const Transform& t) {
  const Matrix inverse = Inverse(t.matrix);
  return {inverse, Negative(Mul(inverse, t.offset))};
}

Color ToSRGB(const Color& c) {
  return {LinearToSRGB(c.r), LinearToSRGB(c.g), LinearToSRGB(c.b)};
}
Color FromSRGB(const Color& c) {
  return {SRGBToLinear(c.r), SRGBToLinear(c.g), SRGBToLinear(c.b)};
}
AColor ToSRGB(const AColor& c) {
  return {LinearToSRGB(c.r), LinearToSRGB(c.g), LinearToSRGB(c.b), c.a};
}
AColor FromSRGB(const AColor& c) {
  return {SRGBToLinear(c.r), SRGBToLinear(c.g), SRGBToLinear(c.b), c.a};
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
