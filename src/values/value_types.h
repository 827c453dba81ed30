// The five value types as plain structs with their arithmetic: every component a double, no V8. Equal operations give
// equal results to the last bit, so the order of the operations is part of each function.
#pragma once

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

struct Vector {
  double x = 0, y = 0, z = 0;
};

// Three columns: m[0..2] is column 0. Element (row r, column c) is m[3c + r]. A new one is all zero.
struct Matrix {
  double m[9] = {};
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

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
