// The Category class: the plugin classes of one of the fixed categories, by name.
#pragma once

#include <string_view>

#include "binding/environment.h"

namespace KilnNodeWrapper {

void RegisterCategory(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports);

// A new object for the category of a number, of which there are 17; empty for any other number and for a
// closed renderer.
v8::MaybeLocal<v8::Object> makeCategory(Environment& environment, v8::Local<v8::Object> renderer_object,
                                        uint32_t number);

// The category's bit in a mask over their numbers, by its name without regard to case; 0 for an unknown one.
uint64_t CategoryBit(std::string_view name);

inline constexpr uint64_t kAllCategories = UINT64_MAX;
// An object with new categories by name, one per set bit of a mask over their numbers, in their order.
v8::Local<v8::Object> NewCategories(Environment& environment, v8::Local<v8::Object> renderer_object,
                                    uint64_t mask);

}  // namespace KilnNodeWrapper
