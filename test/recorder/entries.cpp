// The 341 entry points of a recording library: each packs its arguments, asks the recorder and unpacks the
// answer.
#include <dlfcn.h>

#include <cstring>
#include <type_traits>
#include <utility>

#include "boundary.h"
#include "entry_points.h"

namespace {

template <class T>
uint64_t Pack(T value) {
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof(value));
  return bits;
}

template <class T>
T Unpack(uint64_t bits) {
  T value;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

template <int Row, class Signature>
struct Entry;

template <int Row, class Result, class... Arguments>
struct Entry<Row, Result(Arguments...)> {
  static Result Call(Arguments... arguments) {
    const uint64_t raw[] = {Pack(arguments)..., 0};
    const uint64_t bits = recorder_dispatch(Row, raw);
    if constexpr (!std::is_void_v<Result>) return Unpack<Result>(bits);
  }
};

template <class Result, class... Arguments, size_t... I>
uint64_t InvokeWith(Result (*function)(Arguments...), const uint64_t* raw, std::index_sequence<I...>) {
  if constexpr (std::is_void_v<Result>) {
    function(Unpack<Arguments>(raw[I])...);
    return 0;
  } else {
    return Pack(function(Unpack<Arguments>(raw[I])...));
  }
}

template <class Result, class... Arguments>
uint64_t Invoke(Result (*function)(Arguments...), const uint64_t* raw) {
  return InvokeWith(function, raw, std::index_sequence_for<Arguments...>{});
}

enum Row {
#define KILN_ENTRY(family, result, name, parameters) kRow_##name,
#include "entry_points.def"
};

const char* OwnPath() {
  Dl_info info{};
  return dladdr(reinterpret_cast<const void*>(&OwnPath), &info) != 0 ? info.dli_fname : "";
}

__attribute__((constructor)) void Loaded() {
  recorder_library_loaded(OwnPath());
}
__attribute__((destructor)) void Unloading() {
  recorder_library_unloading(OwnPath());
}

}  // namespace

// A row gives a name to a C function but not to its parameters, which a body would need. An indirect function
// needs no body: its address is that of the template's instance. The resolver runs while the library is being
// relocated, before a sanitizer's own start, and must therefore be left alone by it.
#define KILN_ENTRY(family, result, name, parameters)                                                         \
  extern "C" {                                                                                               \
  __attribute__((used, no_sanitize("address", "thread", "undefined"))) static auto recorder_resolve_##name() \
      -> decltype(&Entry<kRow_##name, result parameters>::Call) {                                            \
    return &Entry<kRow_##name, result parameters>::Call;                                                     \
  }                                                                                                          \
  RECORDER_EXPORT __attribute__((ifunc("recorder_resolve_" #name))) result name parameters;                  \
  }
#include "entry_points.def"

extern "C" RECORDER_EXPORT uint64_t recorder_invoke(int32_t row, const uint64_t* arguments) {
  switch (row) {
#define KILN_ENTRY(family, result, name, parameters) \
  case kRow_##name:                                  \
    return Invoke(&Entry<kRow_##name, result parameters>::Call, arguments);
#include "entry_points.def"
    default:
      return 0;
  }
}
