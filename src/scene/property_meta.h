// The descriptions of properties: what getMeta of a Plugin or a Class answers.
#pragma once

#include "binding/environment.h"
#include "binding/members.h"
#include "values.h"

namespace KilnNodeWrapper {

inline constexpr char kMetaArgumentError[] =
    "Argument 0 (propertyName) should be a string or no arguments should be passed";

// Whose properties are described: those of an instance, or as its class declares them. The renderer is open.
struct PropertyOwner {
  KilnRendererHandle renderer;
  const char* class_name;
  KilnPluginId id = 0;  // 0: the class itself
};

// Fills an object with what a definition says. False when a text could not be made; the object then stays as
// far as it is.
bool fillPropertyMeta(Environment& environment, v8::Local<v8::Object> target, KilnRendererHandle renderer,
                      const char* class_name, KilnPropertyDefinition definition);

// A new object that describes one property; empty for an unknown one.
v8::MaybeLocal<v8::Object> NewPropertyMeta(Environment& environment, const PropertyOwner& owner,
                                           const char* name);

// getMeta([propertyName]): the description of one property, or of all by name.
void ReturnMeta(const Arguments& info, const PropertyOwner& owner);

}  // namespace KilnNodeWrapper
