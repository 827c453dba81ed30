// What the recorder answers by itself.
#include "defaults.h"

#include <cstring>
#include <unordered_map>

#include "allocator.h"
#include "callbacks.h"
#include "memory.h"
#include "rows.h"
#include "state.h"

namespace recorder {
namespace {

using Behaviour = uint64_t (*)(const uint64_t* arguments);

// Packed as the boundary packs versions: 1.2.3 and 4.5.6.
constexpr uint64_t kSdkVersion = 0x10203;
constexpr uint64_t kKilnVersion = 0x40506;

uint64_t Bits(const void* pointer) {
  return reinterpret_cast<uint64_t>(pointer);
}

int32_t Int(uint64_t bits) {
  return static_cast<int32_t>(bits);
}

float Float(uint64_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

template <class T>
void Write(uint64_t pointer, T value) {
  if (pointer != 0) std::memcpy(reinterpret_cast<void*>(pointer), &value, sizeof(value));
}

uint64_t Image(int32_t width, int32_t height, const char* origin) {
  return Bits(NewImage(width, height, origin));
}

// The functions of images that make another one of the size in their last two arguments.
template <int WidthArgument>
uint64_t ResizedImage(const uint64_t* arguments) {
  if (AsImage(arguments[0]) == nullptr) return 0;
  return Image(Int(arguments[WidthArgument]), Int(arguments[WidthArgument + 1]), "image operation");
}

uint64_t CloneImage(const uint64_t* arguments) {
  const FakeImage* const source = AsImage(arguments[0]);
  if (source == nullptr) return 0;
  void* const copy = NewImage(source->width, source->height, "KilnImage_clone");
  std::memcpy(copy, source, ImageBytes(*source));
  return Bits(copy);
}

uint64_t ImageSize(const uint64_t* arguments) {
  const FakeImage* const image = AsImage(arguments[0]);
  Write<int32_t>(arguments[1], image == nullptr ? 0 : image->width);
  Write<int32_t>(arguments[2], image == nullptr ? 0 : image->height);
  return 0;
}

uint64_t ImageMemorySize(const uint64_t* arguments) {
  const FakeImage* const image = AsImage(arguments[0]);
  return image == nullptr ? 0 : ImageBytes(*image);
}

uint64_t ImagePixels(const uint64_t* arguments) {
  FakeImage* const image = AsImage(arguments[0]);
  if (image == nullptr) {
    Write<uint64_t>(arguments[1], 0);
    return 0;
  }
  Write<uint64_t>(arguments[1], static_cast<uint64_t>(image->width) * static_cast<uint64_t>(image->height));
  return Bits(image + 1);
}

uint64_t SetGamma(const uint64_t* arguments) {
  FakeImage* const image = AsImage(arguments[0]);
  if (image == nullptr) return 0;
  image->gamma = Float(arguments[1]);
  return 1;
}

uint64_t GetGamma(const uint64_t* arguments) {
  const FakeImage* const image = AsImage(arguments[0]);
  uint64_t bits = 0;
  if (image != nullptr) std::memcpy(&bits, &image->gamma, sizeof(image->gamma));
  return bits;
}

template <char First>
const char* HandleKind() {
  return First == 'r' ? "renderer" : First == 's' ? "server" : "scan";
}

template <char Kind>
uint64_t Create(const uint64_t*) {
  return NewHandle(HandleKind<Kind>());
}

template <char Kind>
uint64_t Release(const uint64_t* arguments) {
  if (ReleaseHandle(arguments[0], HandleKind<Kind>())) CloseCallbacks(arguments[0]);
  return 0;
}

uint64_t Retain(const uint64_t* arguments) {
  RetainHandle(arguments[0], HandleKind<'r'>());
  return 0;
}

const std::unordered_map<std::string, Behaviour>& Behaviours() {
  static const auto* const behaviours = new std::unordered_map<std::string, Behaviour>{
      {"Kiln_getSDKVersion", [](const uint64_t*) { return kSdkVersion; }},
      {"Kiln_getKilnVersion", [](const uint64_t*) { return kKilnVersion; }},
      {"Kiln_getKilnVersionDetails", [](const uint64_t*) { return Bits(Intern("the recorder")); }},
      {"C_memory_alloc",
       [](const uint64_t* a) { return TakeFailure() ? 0 : Bits(Allocate(a[0], "C_memory_alloc")); }},
      {"C_memory_realloc",
       [](const uint64_t* a) {
         return TakeFailure() ? 0 : Bits(Reallocate(reinterpret_cast<void*>(a[0]), a[1]));
       }},
      {"C_memory_free",
       [](const uint64_t* a) {
         Free(reinterpret_cast<void*>(a[0]));
         return uint64_t{0};
       }},
      {"getVectorSize", [](const uint64_t* a) { return static_cast<uint64_t>(VectorSize(a[0])); }},
      {"getVectorElement", [](const uint64_t* a) { return Bits(VectorElement(a[0], Int(a[1]))); }},
      {"releaseVector",
       [](const uint64_t* a) {
         ReleaseVector(a[0]);
         return uint64_t{0};
       }},
      {"Kiln_KilnRenderer_create", Create<'r'>},
      {"Kiln_KilnRenderer_incRef", Retain},
      {"Kiln_KilnRenderer_release", Release<'r'>},
      {"Kiln_KilnServer_create", Create<'s'>},
      {"Kiln_KilnServer_release", Release<'s'>},
      {"Kiln_KiScanInfo_create", Create<'i'>},
      {"Kiln_KiScanInfo_delete", Release<'i'>},
      {"KilnImage_create", [](const uint64_t* a) { return Image(Int(a[0]), Int(a[1]), "KilnImage_create"); }},
      {"KilnImage_clone", CloneImage},
      {"KilnImage_crop", ResizedImage<3>},
      {"KilnImage_downscale", ResizedImage<1>},
      {"KilnImage_crop_downscale", ResizedImage<5>},
      {"KilnImage_fitIn", ResizedImage<1>},
      {"KilnImage_fitOut", ResizedImage<1>},
      {"KilnImage_cutIn", ResizedImage<1>},
      {"KilnImage_getSize", ImageSize},
      {"KilnImage_getMemorySize", ImageMemorySize},
      {"KilnImage_getPixelDataPointerAndPixelCount", ImagePixels},
      {"KilnImage_setGamma", SetGamma},
      {"KilnImage_getGamma", GetGamma},
  };
  return *behaviours;
}

// Looked up once for each row: the log is on the path of every call.
std::vector<Behaviour> MakeTable() {
  std::vector<Behaviour> table;
  for (const Row& row : Rows()) {
    const auto found = Behaviours().find(row.name);
    table.push_back(found == Behaviours().end() ? nullptr : found->second);
  }
  return table;
}

}  // namespace

uint64_t DefaultAnswer(int row, const uint64_t* arguments) {
  static const auto* const table = new std::vector<Behaviour>(MakeTable());
  const Behaviour behaviour = (*table)[row];
  return behaviour == nullptr ? 0 : behaviour(arguments);
}

}  // namespace recorder
