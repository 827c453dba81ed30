// The Color class, and the conversions that the SDK computes: black bodies and colour spaces.
#include "module/module.h"
#include "module/sdk_library.h"
#include "values/value_classes.h"
#include "values/value_members.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {
namespace {

constexpr char kNeedsColor[] = "Argument 0 (Color) should be passed";
constexpr char kNoSuchSpace[] = "rgbColorSpace value out of range";
constexpr int32_t kSpaceSRGB = 1;  // the default of every colour space argument

void Construct(const Arguments& info) {
  if (!IsConstructing<Color>(info)) return;
  std::array<double, 3> components;
  const Triple read = ReadComponents(info, &components);
  if (read == Triple::kFailed) return;
  auto value = std::bit_cast<Color>(components);
  AColor with_alpha;
  if (read == Triple::kOther && !ReadArgument(info, 0, &value) && ReadArgument(info, 0, &with_alpha)) {
    value = {with_alpha.r, with_alpha.g, with_alpha.b};
  }
  SaveValue(info.This(), value);
}

void ToText(const Arguments& info) {
  const auto c = LoadValue<Color>(info.This());
  ReturnFormatted(info, "Color(%g, %g, %g)", c.r, c.g, c.b);
}

template <auto kByColor, auto kByNumber>
void ByColorOrNumber(const Arguments& info) {
  const auto self = LoadValue<Color>(info.This());
  Color color;
  if (ReadArgument(info, 0, &color)) return Return(info, kByColor(self, color));
  if (info[0]->IsNumber()) return Return(info, kByNumber(self, info[0].As<v8::Number>()->Value()));
  ThrowError(info.GetIsolate(), "Argument 0 (Color or Number) should be passed");
}

// An optional colour space; false after throwing.
bool ReadSpace(const Arguments& info, int index, const char* message, int32_t* space) {
  *space = kSpaceSRGB;
  if (info.Length() <= index) return true;
  if (!info[index]->IsInt32()) {
    ThrowError(info.GetIsolate(), message);
    return false;
  }
  *space = info[index].As<v8::Int32>()->Value();
  return true;
}

Color Widen(const float* rgb) {
  return {rgb[0], rgb[1], rgb[2]};
}

void FromTemperature(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info.Length() == 0) {
    return ThrowError(
        isolate,
        "Argument 0 (double - temperature in Kelvin) and Argument 1 (rgbColorSpace - constant) should be "
        "passed");
  }
  if (!info[0]->IsNumber()) return ThrowError(isolate, "Argument 0 should be a number.");
  int32_t space = kSpaceSRGB;
  if (!ReadSpace(info, 1, "Argument 1 should be an integer.", &space)) return;
  float rgb[3] = {};
  const auto kelvin = static_cast<float>(info[0].As<v8::Number>()->Value());
  if (sdk.Kiln_getBlackBodyColorRGB(rgb, kelvin, space) == 0) return ThrowError(isolate, kNoSuchSpace);
  Return(info, Widen(rgb));
}

// With the closest colour when there is room for it; false after throwing.
bool ClosestTemperature(const Arguments& info, float* kelvin, float* closest) {
  v8::Isolate* isolate = info.GetIsolate();
  int32_t space = kSpaceSRGB;
  if (!EnsureBound(isolate) || !ReadSpace(info, 0, "Argument 0 should be an integer.", &space)) return false;
  const auto color = LoadValue<Color>(info.This());
  const float rgb[3] = {static_cast<float>(color.r), static_cast<float>(color.g),
                        static_cast<float>(color.b)};
  *kelvin = sdk.Kiln_getBlackBodyClosestTemperature(rgb, closest, space);
  // Only what is negative is a failure; what is no number is the answer for a colour that is none.
  if (*kelvin < 0) ThrowError(isolate, kNoSuchSpace);
  return !(*kelvin < 0);
}

void GetClosestTemperature(const Arguments& info) {
  float kelvin = 0;
  if (ClosestTemperature(info, &kelvin, nullptr)) Return(info, static_cast<double>(kelvin));
}

void GetClosestTemperatureAndColor(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  float kelvin = 0;
  float rgb[3] = {};
  v8::Local<v8::Object> color;
  if (!ClosestTemperature(info, &kelvin, rgb)) return;
  if (!NewValue(EnvironmentOf(info), Widen(rgb)).ToLocal(&color)) return;
  v8::Local<v8::Object> result = v8::Object::New(isolate);
  if (defineValue(isolate, result, "temperature", v8::Number::New(isolate, kelvin), v8::None) &&
      defineValue(isolate, result, "color", color, v8::None)) {
    info.GetReturnValue().Set(result);
  }
}

void GetRGBToRGBMatrix(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info.Length() == 0) {
    return ThrowError(
        isolate,
        "Argument 0 (srcRgbColorSpace - constant) and Argument 1 (dstRgbColorSpace - constant) should be "
        "passed");
  }
  if (!info[0]->IsInt32()) return ThrowError(isolate, "Argument 0 should be an integer.");
  if (!info[1]->IsInt32()) return ThrowError(isolate, "Argument 1 should be an integer.");
  float elements[9] = {};
  sdk.Kiln_getRGBtoRGBMatrix(info[0].As<v8::Int32>()->Value(), info[1].As<v8::Int32>()->Value(), elements);
  Matrix matrix;
  for (int i = 0; i < 9; i++) matrix.m[i] = elements[i];
  Return(info, matrix);
}

constexpr Accessor kAccessors[] = {
    {"r", GetComponent<Color, 0>}, {"g", GetComponent<Color, 1>}, {"b", GetComponent<Color, 2>}};

constexpr Method kMethods[] = {
    {"add", Binary<[](const Color& a, const Color& b) { return Add(a, b); }, kNeedsColor>},
    {"sub", Binary<[](const Color& a, const Color& b) { return Sub(a, b); }, kNeedsColor>},
    {"mul", ByColorOrNumber<[](const Color& a, const Color& b) { return Mul(a, b); },
                            [](const Color& a, double n) { return Mul(a, n); }>},
    {"div", ByColorOrNumber<[](const Color& a, const Color& b) { return Div(a, b); },
                            [](const Color& a, double n) { return Div(a, n); }>},
    {"getClosestTemperature", GetClosestTemperature},
    {"getClosestTemperatureAndColor", GetClosestTemperatureAndColor},
    {"toSRGB", Unary<[](const Color& c) { return ToSRGB(c); }>},
    {"fromSRGB", Unary<[](const Color& c) { return FromSRGB(c); }>},
};

constexpr struct {
  const char* name;
  int32_t space;
} kSpaces[] = {{"COLOR_SPACE_CIE", 0}, {"COLOR_SPACE_SRGB", kSpaceSRGB}, {"COLOR_SPACE_ACEScg", 2}};

}  // namespace

template <>
v8::Local<v8::FunctionTemplate> BuildValueClass<Color>(v8::Isolate* isolate,
                                                       v8::Local<v8::External> external) {
  v8::Local<v8::FunctionTemplate> color = NewValueClass(
      isolate, external,
      {"Color", Construct, kAccessors, IndexedBy<GetByIndex<Color>>(external), ToText, kMethods},
      ValueClass<Color>::kFields);
  for (const auto& row : kSpaces) {
    v8::Local<v8::String> name;
    if (NewName(isolate, row.name).ToLocal(&name))
      color->Set(name, v8::Integer::New(isolate, row.space), kReadOnly);
  }
  defineStaticFunction(isolate, external, color, {"fromTemperature", FromTemperature});
  defineStaticFunction(isolate, external, color, {"getRGBToRGBMatrix", GetRGBToRGBMatrix});
  return color;
}

void RegisterColor(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports) {
  ExportValueClass<Color>(isolate, external, exports, "Color");
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
