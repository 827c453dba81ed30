// The Vector class.
#include "values/value_classes.h"
#include "values/value_members.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {
namespace {

constexpr char kNeedsVector[] = "Argument 0 (Vector) should be passed";
constexpr char kNeedsV[] = "Argument 0 (v: Vector) should be passed";
constexpr char kNeedsM[] = "Argument 0 (m: Matrix) should be passed";

void Construct(const Arguments& info) {
  if (!IsConstructing<Vector>(info)) return;
  std::array<double, 3> components;
  const Triple read = ReadComponents(info, &components);
  if (read == Triple::kFailed) return;
  auto value = std::bit_cast<Vector>(components);
  if (read == Triple::kOther) ReadArgument(info, 0, &value);
  SaveValue(info.This(), value);
}

void ToText(const Arguments& info) {
  const auto v = LoadValue<Vector>(info.This());
  ReturnFormatted(info, "Vector(%g, %g, %g)", v.x, v.y, v.z);
}

// Adds the offset before it applies the matrix, which is not what Transform.mulVector does; kept for what
// relies on it.
Vector MulByTransform(const Vector& v, const Transform& t) {
  std::fputs(
      "The Vector.mul(Transform) function is deprecated. It doesn't do what you want. Please use "
      "Transform.mulVector(Vector) instead.\n",
      stderr);
  return MulTransposed(Add(v, t.offset), t.matrix);
}

void MulAny(const Arguments& info) {
  const auto v = LoadValue<Vector>(info.This());
  Vector vector;
  Matrix matrix;
  Transform transform;
  if (ReadArgument(info, 0, &vector)) return Return(info, Mul(v, vector));
  if (ReadArgument(info, 0, &matrix)) return Return(info, MulTransposed(v, matrix));
  if (ReadArgument(info, 0, &transform)) return Return(info, MulByTransform(v, transform));
  if (info[0]->IsNumber()) return Return(info, Mul(v, info[0].As<v8::Number>()->Value()));
  ThrowError(info.GetIsolate(), "Argument 0 (Vector or Matrix or Transform or Number) should be passed");
}

void DivAny(const Arguments& info) {
  const auto v = LoadValue<Vector>(info.This());
  Vector vector;
  if (ReadArgument(info, 0, &vector)) return Return(info, Div(v, vector));
  if (info[0]->IsNumber()) return Return(info, Div(v, info[0].As<v8::Number>()->Value()));
  ThrowError(info.GetIsolate(), "Argument 0 (Number or Vector) should be passed");
}

void MixedOf(const Arguments& info) {
  Vector v[3];
  if (!ReadArgument(info, 0, &v[0]) || !ReadArgument(info, 1, &v[1]) || !ReadArgument(info, 2, &v[2])) {
    return ThrowError(
        info.GetIsolate(),
        "Argument 0 (v0: Vector), Argument 1 (v1: Vector) and Argument 2 (v2: Vector) should be passed");
  }
  Return(info, Mixed(v[0], v[1], v[2]));
}

constexpr Accessor kAccessors[] = {
    {"x", GetComponent<Vector, 0>}, {"y", GetComponent<Vector, 1>}, {"z", GetComponent<Vector, 2>}};

constexpr Method kMethods[] = {
    {"add", Binary<[](const Vector& a, const Vector& b) { return Add(a, b); }, kNeedsVector>},
    {"sub", Binary<[](const Vector& a, const Vector& b) { return Sub(a, b); }, kNeedsVector>},
    {"mul", MulAny},
    {"div", DivAny},
    {"dot", Binary<[](const Vector& a, const Vector& b) { return Dot(a, b); }, kNeedsV>},
    {"cross", Binary<[](const Vector& a, const Vector& b) { return Cross(a, b); }, kNeedsV>},
    {"crossMatrix", Binary<[](const Vector& a, const Matrix& m) { return CrossMatrix(a, m); }, kNeedsM>},
    {"length", Unary<[](const Vector& a) { return Length(a); }>},
    {"lengthSqr", Unary<[](const Vector& a) { return LengthSqr(a); }>},
    {"normalize", Unary<[](const Vector& a) { return Normalize(a); }>},
    {"rotate", Binary<[](const Vector& a, const Vector& axis) { return Rotate(a, axis); }, kNeedsV>},
    {"negative", Unary<[](const Vector& a) { return Negative(a); }>},
};

}  // namespace

template <>
v8::Local<v8::FunctionTemplate> BuildValueClass<Vector>(v8::Isolate* isolate,
                                                        v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> vector = NewValueClass(
      isolate, external,
      {"Vector", Construct, kAccessors, IndexedBy<GetByIndex<Vector>>(external), ToText, kMethods},
      ValueClass<Vector>::kFields);
  defineStaticFunction(isolate, external, vector, {"mixed", MixedOf});
  return vector;
}

void RegisterVector(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports) {
  ExportValueClass<Vector>(isolate, external, exports, "Vector");
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
