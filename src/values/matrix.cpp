// The Matrix class: three columns, whose Vector objects are made when somebody asks for them.
#include "values/matrix.h"

#include "values/value_classes.h"
#include "values/value_members.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {
namespace {

constexpr char kNeedsMatrix[] = "Argument 0 (Matrix) should be passed";
constexpr char kNeedsVector[] = "Argument 0 (Vector) should be passed";
constexpr char kNeedsAxis[] = "Argument 0 (axis: Vector) should be passed";
constexpr char kNeedsDiagonal[] = "Argument 0 (diag: Vector) should be passed";
constexpr char kNeedsTranspose[] = "Argument 0 (transpose: Matrix) should be passed";

Matrix Diagonal(double x, double y, double z) {
  return {{x, 0, 0, 0, y, 0, 0, 0, z}};
}

void CopyColumnObjects(v8::Local<v8::Object> source, v8::Local<v8::Object> target) {
  for (int i = 0; i < 3; i++) SetObjectField(target, i, GetObjectField(source, i));
}

// Below three arguments: a number or a vector for the diagonal, or another matrix with its columns' objects.
void ConstructFromOne(const Arguments& info) {
  Vector vector;
  Matrix matrix;
  if (IsNumberLike(info[0])) {
    const double n = NumberOf(info.GetIsolate()->GetCurrentContext(), info[0]);
    matrix = Diagonal(n, n, n);
  } else if (ReadArgument(info, 0, &vector)) {
    matrix = Diagonal(vector.x, vector.y, vector.z);
  } else if (ReadArgument(info, 0, &matrix)) {
    CopyColumnObjects(info[0].As<v8::Object>(), info.This());
  }
  SaveValue(info.This(), matrix);
}

void ConstructFromColumns(const Arguments& info) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  Matrix matrix;
  for (int i = 0; i < 3; i++) {
    Vector column;
    if (!ReadTriple(context, info[i], false, &column)) return;
    matrix.SetColumn(i, column);
    if (IsValue<Vector>(info[i])) SetObjectField(info.This(), i, info[i]);
  }
  SaveValue(info.This(), matrix);
}

void Construct(const Arguments& info) {
  if (!IsConstructing<Matrix>(info)) return;
  // An object that some getter sees before its constructor is through is a zero matrix.
  SaveValue(info.This(), Matrix{});
  if (info.Length() < 3) return ConstructFromOne(info);
  if (info.Length() < 9) return ConstructFromColumns(info);
  Matrix matrix;
  for (int i = 0; i < 9; i++) matrix.m[i] = NumberOf(info.GetIsolate()->GetCurrentContext(), info[i]);
  SaveValue(info.This(), matrix);
}

template <int kColumn>
void GetColumn(v8::Local<v8::Name>, const GetterInfo& info) {
  v8::Local<v8::Object> column;
  if (ColumnOf(EnvironmentOf(info), compat::Holder(info), kColumn).ToLocal(&column)) {
    info.GetReturnValue().Set(column);
  }
}

compat::Intercepted GetColumnByIndex(uint32_t index, const compat::InterceptorCall& call,
                                     v8::Local<v8::Value>* result) {
  v8::Local<v8::Object> column;
  if (index > 2) {
    ThrowError(call.isolate, "Index out of range");
  } else if (ColumnOf(Environment::Of(call.data), call.holder, static_cast<int>(index)).ToLocal(&column)) {
    *result = column;
  }
  return compat::Intercepted::kYes;
}

void ToText(const Arguments& info) {
  const auto m = std::bit_cast<std::array<double, 9>>(LoadValue<Matrix>(info.This()));
  ReturnFormatted(info, "Matrix(Vector(%g, %g, %g), Vector(%g, %g, %g), Vector(%g, %g, %g))", m[0], m[1],
                  m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
}

void MulAny(const Arguments& info) {
  const auto self = LoadValue<Matrix>(info.This());
  Matrix matrix;
  if (ReadArgument(info, 0, &matrix)) return Return(info, Mul(self, matrix));
  if (!IsNumberLike(info[0]))
    return ThrowError(info.GetIsolate(), "Argument 0 (Matrix or Number) should be passed");
  Return(info, Mul(self, NumberOf(info.GetIsolate()->GetCurrentContext(), info[0])));
}

void DivByNumber(const Arguments& info) {
  if (!IsNumberLike(info[0])) return ThrowError(info.GetIsolate(), "Argument 0 (Number) should be passed");
  Return(info,
         Div(LoadValue<Matrix>(info.This()), NumberOf(info.GetIsolate()->GetCurrentContext(), info[0])));
}

// Both arguments of replaceRow and replaceColumn; the index is truncated toward zero. False after throwing.
bool ReadReplacement(const Arguments& info, const char* message, int* index, Vector* vector) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!IsNumberLike(info[0]) || !ReadArgument(info, 1, vector)) {
    ThrowError(isolate, message);
    return false;
  }
  const double number = NumberOf(isolate->GetCurrentContext(), info[0]);
  // Written so that NaN is out of range.
  if (!(number > -1 && number < 3)) {
    ThrowError(isolate, "Index out of range");
    return false;
  }
  *index = static_cast<int>(number);
  return true;
}

void ReplaceRow(const Arguments& info) {
  int index = 0;
  Vector row;
  if (!ReadReplacement(info, "Argument 0 (index: Number) and Argument 1 (row: Vector) should be passed",
                       &index, &row)) {
    return;
  }
  auto matrix = LoadValue<Matrix>(info.This());
  matrix.m[index] = row.x;
  matrix.m[index + 3] = row.y;
  matrix.m[index + 6] = row.z;
  Return(info, matrix);
}

// The kept columns' objects and the given one go along.
void ReplaceColumn(const Arguments& info) {
  int index = 0;
  Vector column;
  if (!ReadReplacement(info, "Argument 0 (index: Number) and Argument 1 (column: Vector) should be passed",
                       &index, &column)) {
    return;
  }
  auto matrix = LoadValue<Matrix>(info.This());
  matrix.SetColumn(index, column);
  v8::Local<v8::Object> result;
  if (!NewValue(EnvironmentOf(info), matrix).ToLocal(&result)) return;
  CopyColumnObjects(info.This(), result);
  SetObjectField(result, index, info[1]);
  info.GetReturnValue().Set(result);
}

void OuterProductOf(const Arguments& info) {
  Vector a;
  Vector b;
  if (!ReadArgument(info, 0, &a) || !ReadArgument(info, 1, &b)) {
    return ThrowError(info.GetIsolate(), "Argument 0 (Vector) and Argument 1 (Vector) should be passed");
  }
  Return(info, OuterProduct(a, b));
}

template <Matrix (*kRotation)(double)>
void MakeRotation(const Arguments& info) {
  if (!IsNumberLike(info[0]))
    return ThrowError(info.GetIsolate(), "Argument 0 (angle: Number) should be passed");
  Return(info, kRotation(NumberOf(info.GetIsolate()->GetCurrentContext(), info[0])));
}

constexpr Accessor kAccessors[] = {
    {"column0", GetColumn<0>}, {"column1", GetColumn<1>}, {"column2", GetColumn<2>}};

constexpr Method kMethods[] = {
    {"mul", MulAny},
    {"mulVector", Binary<[](const Matrix& m, const Vector& v) { return Mul(m, v); }, kNeedsVector>},
    {"div", DivByNumber},
    {"sub", Binary<[](const Matrix& a, const Matrix& b) { return Sub(a, b); }, kNeedsMatrix>},
    {"add", Binary<[](const Matrix& a, const Matrix& b) { return Add(a, b); }, kNeedsMatrix>},
    {"cross", Binary<[](const Matrix& m, const Vector& v) { return Cross(m, v); }, kNeedsVector>},
    {"negative", Unary<[](const Matrix& m) { return Negative(m); }>},
    {"orthogonal", Unary<[](const Matrix& m) { return Orthogonal(m); }>},
    {"orthonormal", Unary<[](const Matrix& m) { return Orthonormal(m); }>},
    {"transpose", Unary<[](const Matrix& m) { return Transpose(m); }>},
    {"inverse", Unary<[](const Matrix& m) { return Inverse(m); }>},
    {"withoutScale", Unary<[](const Matrix& m) { return WithoutScale(m); }>},
    {"rotate", Binary<[](const Matrix& m, const Vector& axis) { return Rotate(m, axis); }, kNeedsAxis>},
    {"replaceRow", ReplaceRow},
    {"replaceColumn", ReplaceColumn},
    {"addDiagonal",
     Binary<[](const Matrix& m, const Vector& d) { return AddDiagonal(m, d); }, kNeedsDiagonal>},
    {"addTranspose",
     Binary<[](const Matrix& a, const Matrix& b) { return Add(a, Transpose(b)); }, kNeedsTranspose>},
};

constexpr Method kStatics[] = {
    {"outerProduct", OuterProductOf},
    {"makeRotationMatrixX", MakeRotation<RotationX>},
    {"makeRotationMatrixY", MakeRotation<RotationY>},
    {"makeRotationMatrixZ", MakeRotation<RotationZ>},
};

}  // namespace

v8::MaybeLocal<v8::Object> ColumnOf(Environment& environment, v8::Local<v8::Object> matrix, int column) {
  v8::Local<v8::Value> kept = GetObjectField(matrix, column);
  if (kept->IsObject()) return kept.As<v8::Object>();
  v8::Local<v8::Object> made;
  if (!NewValue(environment, LoadValue<Matrix>(matrix).Column(column)).ToLocal(&made)) return {};
  SetObjectField(matrix, column, made);
  return made;
}

bool ReadTriple(v8::Local<v8::Context> context, v8::Local<v8::Value> value, bool as_far, Vector* result) {
  if (!value->IsArray()) {
    ReadValue(value, result);
    return true;
  }
  const uint32_t length = as_far ? value.As<v8::Array>()->Length() : 3;
  double* components[] = {&result->x, &result->y, &result->z};
  for (uint32_t i = 0; i < 3 && i < length; i++) {
    if (!ElementOf(context, value, i, components[i])) return false;
  }
  return true;
}

template <>
v8::Local<v8::FunctionTemplate> BuildValueClass<Matrix>(v8::Isolate* isolate,
                                                        v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> matrix = NewValueClass(
      isolate, external,
      {"Matrix", Construct, kAccessors, IndexedBy<GetColumnByIndex>(external), ToText, kMethods, kReadOnly},
      ValueClass<Matrix>::kFields);
  for (const Method& method : kStatics) defineStaticFunction(isolate, external, matrix, method);
  return matrix;
}

void RegisterMatrix(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports) {
  ExportValueClass<Matrix>(isolate, external, exports, "Matrix");
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
