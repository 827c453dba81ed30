// The AColor class: a colour with alpha, which is no subclass of Color.
#include "values/value_classes.h"
#include "values/value_members.h"

namespace KilnNodeWrapper::KilnValuesNodeWrapper {
namespace {

// A Color is what add and sub take, whatever their message says; hosts rely on both.
constexpr char kNeedsAColor[] = "Argument 0 (AColor) should be passed";

// What can't be converted to an alpha is opaque.
double AlphaOf(v8::Local<v8::Context> context, v8::Local<v8::Value> value) {
  return value->NumberValue(context).FromMaybe(1);
}

// What stands for the alpha behind three components, if anything does. False with an exception pending.
bool ReadAlpha(const Arguments& info, AColor* value) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  v8::Local<v8::Value> alpha = info[3];
  if (info.Length() < 3) {
    v8::Local<v8::Array> array = info[0].As<v8::Array>();
    if (array->Length() < 4) return true;
    if (!array->Get(context, 3).ToLocal(&alpha)) return false;
  } else if (info.Length() < 4) {
    return true;
  }
  value->a = AlphaOf(context, alpha);
  return true;
}

void Construct(const Arguments& info) {
  if (!IsConstructing<AColor>(info)) return;
  std::array<double, 3> components;
  const Triple read = ReadComponents(info, &components);
  AColor value{components[0], components[1], components[2]};
  Color color;
  if (read == Triple::kFailed || (read == Triple::kRead && !ReadAlpha(info, &value))) return;
  if (read == Triple::kOther && !ReadArgument(info, 0, &value) && ReadArgument(info, 0, &color)) {
    v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
    value = {color.r, color.g, color.b, info.Length() >= 2 ? AlphaOf(context, info[1]) : 1};
  }
  SaveValue(info.This(), value);
}

void ToText(const Arguments& info) {
  const auto c = LoadValue<AColor>(info.This());
  ReturnFormatted(info, "AColor(%g, %g, %g, %g)", c.r, c.g, c.b, c.a);
}

template <auto kByColor, auto kByNumber>
void ByAColorOrNumber(const Arguments& info) {
  const auto self = LoadValue<AColor>(info.This());
  AColor color;
  if (ReadArgument(info, 0, &color)) return Return(info, kByColor(self, color));
  if (info[0]->IsNumber()) return Return(info, kByNumber(self, info[0].As<v8::Number>()->Value()));
  ThrowError(info.GetIsolate(), "Argument 0 (AColor or Number) should be passed");
}

constexpr Accessor kAccessors[] = {{"r", GetComponent<AColor, 0>},
                                   {"g", GetComponent<AColor, 1>},
                                   {"b", GetComponent<AColor, 2>},
                                   {"a", GetComponent<AColor, 3>}};

constexpr Method kMethods[] = {
    {"add", Binary<[](const AColor& a, const Color& b) { return Add(a, b); }, kNeedsAColor>},
    {"sub", Binary<[](const AColor& a, const Color& b) { return Sub(a, b); }, kNeedsAColor>},
    {"mul", ByAColorOrNumber<[](const AColor& a, const AColor& b) { return Mul(a, b); },
                             [](const AColor& a, double n) { return Mul(a, n); }>},
    {"div", ByAColorOrNumber<[](const AColor& a, const AColor& b) { return Div(a, b); },
                             [](const AColor& a, double n) { return Div(a, n); }>},
    {"toSRGB", Unary<[](const AColor& c) { return ToSRGB(c); }>},
    {"fromSRGB", Unary<[](const AColor& c) { return FromSRGB(c); }>},
};

}  // namespace

template <>
v8::Local<v8::FunctionTemplate> BuildValueClass<AColor>(v8::Isolate* isolate,
                                                        v8::Local<v8::External> external) {
  return NewValueClass(
      isolate, external,
      {"AColor", Construct, kAccessors, IndexedBy<GetByIndex<AColor>>(external), ToText, kMethods},
      ValueClass<AColor>::kFields);
}

void RegisterAColor(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports) {
  ExportValueClass<AColor>(isolate, external, exports, "AColor");
}

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
