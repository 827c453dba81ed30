// The SDK's entry points as a table of typed pointers, and the sweep that fills it by name.
#pragma once

#include <cstddef>
#include <cstring>

#include "elements.h"
#include "framebuffer.h"
#include "image.h"
#include "proxy.h"
#include "renderer.h"
#include "server.h"
#include "utilities.h"
#include "values.h"

namespace KilnNodeWrapper {

// What a slot without an entry point is bound to: takes anything and answers 0, or a null pointer, without
// doing anything.
template <class Result, class... Parameters>
Result sdkMissingStub(Parameters...) {
  return Result();
}

namespace table_detail {
template <class Result, class... Parameters>
using Slot = Result (*)(Parameters...);

// The stub of whichever signature is asked for.
struct AnyStub {
  template <class Result, class... Parameters>
  constexpr operator Slot<Result, Parameters...>() const {
    return sdkMissingStub<Result, Parameters...>;
  }
};
}  // namespace table_detail

// One slot per entry point, in sweep order. SdkEnsureBound keeps handlers from calling while no library is
// loaded; what an object of a library that is gone calls none the less is a stub.
struct SdkTable {
#define KILN_ENTRY(family, result, name, parameters) result(*name) parameters = table_detail::AnyStub();
#include "entry_points.def"
};

struct EntryPoint {
  const char* name;
  size_t offset;                 // of its slot in the SdkTable
  void (*bind_stub)(SdkTable&);  // puts the stub of its own signature into the slot
};

inline constexpr EntryPoint kEntryPoints[] = {
#define KILN_ENTRY(family, result, name, parameters) \
  {#name, offsetof(SdkTable, name), [](SdkTable& table) { table.name = table_detail::AnyStub(); }},
#include "entry_points.def"
};
inline constexpr size_t kEntryPointCount = sizeof(kEntryPoints) / sizeof(kEntryPoints[0]);
static_assert(sizeof(SdkTable) == kEntryPointCount * sizeof(void*));
static_assert(kEntryPointCount == 341);

// Fills every slot. lookup(name) answers an address or null; missing(name) is told of each name without one,
// in order. Returns their count.
template <class Lookup, class Missing>
int Sweep(SdkTable& table, Lookup&& lookup, Missing&& missing) {
  int count = 0;
  for (const EntryPoint& entry : kEntryPoints) {
    if (void* address = lookup(entry.name)) {
      std::memcpy(reinterpret_cast<char*>(&table) + entry.offset, &address, sizeof(address));
    } else {
      entry.bind_stub(table);
      count++;
      missing(entry.name);
    }
  }
  return count;
}

// The one table of the process; filled by SdkLoad, all stubs when the library is released.
extern SdkTable sdk;

}  // namespace KilnNodeWrapper
