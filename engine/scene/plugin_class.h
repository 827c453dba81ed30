// What a plugin class is: a table of properties and outputs, and the functions that make its part of a
// render. One class is one file below engine/scene/classes; it registers itself with a RegisterClass at
// namespace scope.
#pragma once

#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include "engine/scene/value.h"

namespace kiln::engine::render {
struct Bitmap;
class Camera;
class Channel;
class GeometrySource;
class Inputs;
class Light;
class Material;
class Texture;
class UvwGen;
class Volume;
}  // namespace kiln::engine::render

namespace kiln::engine::scene {

// The numbers are those that cross the boundary, and bit numbers of a category mask.
enum class Category : int32_t {
  kBitmap,
  kBsdf,
  kGeometricObject,
  kGeometrySource,
  kLight,
  kMaterial,
  kRenderChannel,
  kRenderView,
  kSettings,
  kTexture,
  kTextureFloat,
  kTextureInt,
  kTextureMatrix,
  kTextureTransform,
  kTextureVector,
  kUvwGen,
  kVolumetric,
};
inline constexpr int kCategoryCount = 17;

constexpr uint64_t CategoryBit(Category category) {
  return uint64_t{1} << static_cast<int>(category);
}

// Classes know four grades, properties three; each enum has the numbers of its own boundary table.
enum class ClassGpuSupport : int32_t { kFull, kPartial, kBake, kNone };
enum class PropertyGpuSupport : int32_t { kFull, kPartial, kNone };

struct Range {
  double min = -std::numeric_limits<double>::infinity();
  double max = std::numeric_limits<double>::infinity();
};

struct Property {
  std::string_view name;
  Type type = Type::kUnspecified;
  Value default_value;
  std::string_view description;
  Range range{};
  std::string_view unit{};         // "m", "W", "cd/m^2", "deg"; empty when there is none
  std::string_view aliases{};      // comma-separated
  std::string_view deprecation{};  // empty: not deprecated
  PropertyGpuSupport gpu = PropertyGpuSupport::kNone;
  int32_t elements = -1;  // fixed number of elements of a list; -1: any number, or no list
  bool is_file = false;   // a text that names a file, relative to the instance's folder
};

struct Output {
  std::string_view name;
  Type type = Type::kOutputTexture;
  std::string_view description{};
};

// Makes the render-time object of an instance at the frozen time; null where the class has no such role.
struct Evaluation {
  std::unique_ptr<render::Camera> (*camera)(const render::Inputs&) = nullptr;
  std::unique_ptr<render::GeometrySource> (*geometry)(const render::Inputs&) = nullptr;
  std::unique_ptr<render::Light> (*light)(const render::Inputs&) = nullptr;
  std::unique_ptr<render::Material> (*material)(const render::Inputs&) = nullptr;
  std::unique_ptr<render::Texture> (*texture)(const render::Inputs&) = nullptr;
  std::unique_ptr<render::UvwGen> (*uvw_gen)(const render::Inputs&) = nullptr;
  std::unique_ptr<render::Bitmap> (*bitmap)(const render::Inputs&) = nullptr;
  std::unique_ptr<render::Volume> (*volume)(const render::Inputs&) = nullptr;
  std::unique_ptr<render::Channel> (*channel)(const render::Inputs&) = nullptr;
};

struct PluginClass {
  std::string_view name;
  std::string_view description;
  uint64_t categories = 0;
  std::vector<Property> properties;
  std::vector<Output> outputs{};
  Evaluation evaluation{};
  std::string_view deprecation{};
  ClassGpuSupport gpu = ClassGpuSupport::kNone;
  // Whether each instance is an object in the scene: such a class declares `geometry`, `transform`, `visible`
  // and `visibleToCamera` (as names or aliases), and evaluates to the object's material itself or declares
  // `material` and `volume`.
  bool is_object = false;
  // The type of the render element that an instance asks for, as it crosses the boundary; 0: none.
  int32_t element = 0;

  // By name or alias; null when there is none.
  const Property* FindProperty(std::string_view property) const;
  // The number of an output as PluginRef::output has it: its place in `outputs` plus 1, and 0 for an empty
  // name, the plugin itself. Negative when there is no such output.
  int32_t OutputIndex(std::string_view output) const;
  // Empty for 0 and for a number that no output has.
  std::string_view OutputName(uint32_t index) const;
};

// At namespace scope in a class file: `const RegisterClass kRegistration(Describe);`
// Only remembers the function; it is called at the first AllClasses or FindClass. There a default value takes
// its property's declared type, and a property without a default gets the type's zero: 0, empty, identity, no
// plugin.
class RegisterClass {
 public:
  explicit RegisterClass(PluginClass (*describe)());
};

// All classes, sorted by name; the addresses are stable while the library is loaded.
const std::vector<const PluginClass*>& AllClasses();
// Exact name; null when there is none.
const PluginClass* FindClass(std::string_view name);

}  // namespace kiln::engine::scene
