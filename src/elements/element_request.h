// What the members of a RenderElement have in common: the fields of the object, and the element's own part of
// every question to the SDK.
#pragma once

#include "binding/environment.h"
#include "binding/members.h"
#include "elements.h"

namespace KilnNodeWrapper {

// Filled once, and read as they stand by the accessors of the same names.
enum ElementField : int {
  kOwner,
  kName,
  kType,
  kBinaryFormat,
  kDefaultPixelFormat,
  kPlugin,
  kElementFieldCount
};

inline constexpr char kNoPixels[] =
    "Error retrieving render element data. A possible cause might be out of range coordinates";
inline constexpr char kRegionKeys[4][7] = {"x", "y", "width", "height"};

struct ElementRequest {
  explicit ElementRequest(const Arguments& info);
  // False for an object that the collection did not make, which answers nothing.
  explicit operator bool() const;
  // To be asked for behind all conversions, one of which may close the renderer.
  KilnRendererHandle renderer() const;

  v8::Isolate* isolate;
  v8::Local<v8::Context> context;
  Environment& environment;
  v8::Local<v8::Object> object;
  v8::Local<v8::Value> owner;
  KilnPluginId plugin;
  int32_t type = -1;
};

// From a place and a size to two corners. Sums wrap.
RenderElementRegion RegionOf(const int32_t (&v)[4]);

// The handlers.
void GetElementData(const Arguments& info);   // element_data.cpp
void GetElementImage(const Arguments& info);  // element_image.cpp

}  // namespace KilnNodeWrapper
