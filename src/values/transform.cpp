// The Transform class: a matrix and an offset, whose objects are made when somebody asks for them.
#include "values/matrix.h"
#include "values/value_classes.h"
#include "values/value_members.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {
namespace {

constexpr char kNeedsTransform[] = "Argument 0 (Transform) should be passed";
constexpr char kNeedsVector[] = "Argument 0 (Vector) should be passed";
enum { kMatrixField, kOffsetField };

void ConstructFromNumbers(const Arguments& info) {
  std::array<double, 12> numbers;
  for (int i = 0; i < 12; i++) numbers[i] = NumberOf(info.GetIsolate()->GetCurrentContext(), info[i]);
  SaveValue(info.This(), std::bit_cast<Transform>(numbers));
}

// Three columns and an offset, each a vector or an array as far as it reaches.
void ConstructFromColumns(const Arguments& info) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  Transform transform;
  for (int i = 0; i < 3; i++) {
    Vector column;
    if (!ReadTriple(context, info[i], true, &column)) return;
    transform.matrix.SetColumn(i, column);
  }
  if (ReadTriple(context, info[3], true, &transform.offset)) SaveValue(info.This(), transform);
}

// The matrix object is kept, and so is an offset that is a Vector.
void ConstructFromMatrix(const Arguments& info) {
  Transform transform;
  ReadArgument(info, 0, &transform.matrix);
  if (!ReadTriple(info.GetIsolate()->GetCurrentContext(), info[1], true, &transform.offset)) return;
  SetObjectField(info.This(), kMatrixField, info[0]);
  if (IsValue<Vector>(info[1])) SetObjectField(info.This(), kOffsetField, info[1]);
  SaveValue(info.This(), transform);
}

void CopyObjects(v8::Local<v8::Object> source, v8::Local<v8::Object> target) {
  SetObjectField(target, kMatrixField, GetObjectField(source, kMatrixField));
  SetObjectField(target, kOffsetField, GetObjectField(source, kOffsetField));
}

void Construct(const Arguments& info) {
  if (!IsConstructing<Transform>(info)) return;
  SaveValue(info.This(), Transform{});
  if (info.Length() >= 12) return ConstructFromNumbers(info);
  if (info.Length() >= 4) return ConstructFromColumns(info);
  if (info.Length() >= 2 && IsValue<Matrix>(info[0])) return ConstructFromMatrix(info);
  Transform transform;
  if (!ReadArgument(info, 0, &transform)) return;
  SaveValue(info.This(), transform);
  CopyObjects(info[0].As<v8::Object>(), info.This());
}

template <int kField, class Part>
v8::MaybeLocal<v8::Object> PartOf(Environment& environment, v8::Local<v8::Object> transform, Part part) {
  v8::Local<v8::Value> kept = GetObjectField(transform, kField);
  if (kept->IsObject()) return kept.As<v8::Object>();
  v8::Local<v8::Object> made;
  if (!NewValue(environment, part(LoadValue<Transform>(transform))).ToLocal(&made)) return {};
  SetObjectField(transform, kField, made);
  return made;
}

v8::MaybeLocal<v8::Object> MatrixOf(Environment& environment, v8::Local<v8::Object> transform) {
  return PartOf<kMatrixField>(environment, transform, [](const Transform& t) { return t.matrix; });
}
v8::MaybeLocal<v8::Object> OffsetOf(Environment& environment, v8::Local<v8::Object> transform) {
  return PartOf<kOffsetField>(environment, transform, [](const Transform& t) { return t.offset; });
}

template <v8::MaybeLocal<v8::Object> (*kPart)(Environment&, v8::Local<v8::Object>)>
void GetPart(v8::Local<v8::Name>, const GetterInfo& info) {
  v8::Local<v8::Object> part;
  if (kPart(EnvironmentOf(info), compat::Holder(info)).ToLocal(&part)) info.GetReturnValue().Set(part);
}

// The matrix's columns, then the offset.
compat::Intercepted GetPartByIndex(uint32_t index, const compat::InterceptorCall& call,
                                   v8::Local<v8::Value>* result) {
  Environment& environment = Environment::Of(call.data);
  v8::Local<v8::Object> part;
  bool made = false;
  if (index > 3) {
    ThrowError(call.isolate, "Index out of range");
  } else if (index == 3) {
    made = OffsetOf(environment, call.holder).ToLocal(&part);
  } else if (MatrixOf(environment, call.holder).ToLocal(&part)) {
    made = ColumnOf(environment, part, static_cast<int>(index)).ToLocal(&part);
  }
  if (made) *result = part;
  return compat::Intercepted::kYes;
}

void ToText(const Arguments& info) {
  const auto t = std::bit_cast<std::array<double, 12>>(LoadValue<Transform>(info.This()));
  ReturnFormatted(
      info,
      "Transform(Matrix(Vector(%g, %g, %g), Vector(%g, %g, %g), Vector(%g, %g, %g)), Vector(%g, %g, %g))",
      t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7], t[8], t[9], t[10], t[11]);
}

void MulAny(const Arguments& info) {
  const auto self = LoadValue<Transform>(info.This());
  Transform transform;
  if (ReadArgument(info, 0, &transform)) return Return(info, Mul(self, transform));
  if (!IsNumberLike(info[0])) {
    return ThrowError(info.GetIsolate(), "Argument 0 (Transform or Number) should be passed");
  }
  Return(info, Mul(self, NumberOf(info.GetIsolate()->GetCurrentContext(), info[0])));
}

void DivByNumber(const Arguments& info) {
  if (!IsNumberLike(info[0])) return ThrowError(info.GetIsolate(), "Argument 0 (Number) should be passed");
  Return(info,
         Div(LoadValue<Transform>(info.This()), NumberOf(info.GetIsolate()->GetCurrentContext(), info[0])));
}

// A copy with one part replaced, whose object is the given one; the other part's object goes along.
template <class Part, int kField>
void ReplacePart(const Arguments& info, const char* message, Part Transform::*part) {
  auto transform = LoadValue<Transform>(info.This());
  if (!ReadArgument(info, 0, &(transform.*part))) return ThrowError(info.GetIsolate(), message);
  v8::Local<v8::Object> result;
  if (!NewValue(EnvironmentOf(info), transform).ToLocal(&result)) return;
  CopyObjects(info.This(), result);
  SetObjectField(result, kField, info[0]);
  info.GetReturnValue().Set(result);
}

void ReplaceMatrix(const Arguments& info) {
  ReplacePart<Matrix, kMatrixField>(info, "Argument 0 (Matrix) should be passed", &Transform::matrix);
}
void ReplaceOffset(const Arguments& info) {
  ReplacePart<Vector, kOffsetField>(info, kNeedsVector, &Transform::offset);
}

constexpr Accessor kAccessors[] = {{"matrix", GetPart<MatrixOf>}, {"offset", GetPart<OffsetOf>}};

constexpr Method kMethods[] = {
    {"add", Binary<[](const Transform& a, const Transform& b) { return Add(a, b); }, kNeedsTransform>},
    {"sub", Binary<[](const Transform& a, const Transform& b) { return Sub(a, b); }, kNeedsTransform>},
    {"div", DivByNumber},
    {"mul", MulAny},
    {"mulVector",
     Binary<[](const Transform& t, const Vector& v) { return TransformPoint(t, v); }, kNeedsVector>},
    {"negative", Unary<[](const Transform& t) { return Negative(t); }>},
    {"inverse", Unary<[](const Transform& t) { return Inverse(t); }>},
    {"transformVector",
     Binary<[](const Transform& t, const Vector& v) { return Mul(t.matrix, v); }, kNeedsVector>},
    {"replaceMatrix", ReplaceMatrix},
    {"replaceOffset", ReplaceOffset},
};

}  // namespace

template <>
v8::Local<v8::FunctionTemplate> BuildValueClass<Transform>(v8::Isolate* isolate,
                                                           v8::Local<v8::External> external) {
  return NewValueClass(
      isolate, external,
      {"Transform", Construct, kAccessors, IndexedBy<GetPartByIndex>(external), ToText, kMethods},
      ValueClass<Transform>::kFields);
}

void RegisterTransform(v8::Isolate* isolate, v8::Local<v8::External> external,
                       v8::Local<v8::Object> exports) {
  ExportValueClass<Transform>(isolate, external, exports, "Transform");
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
