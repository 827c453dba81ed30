// Refers to every entry point, so that one that nobody defines is a link error and not a missing name at run
// time.
#include "entry_points.h"

namespace kiln::engine::api {

using Address = void (*)();

#define KILN_ENTRY(family, result, name, parameters) reinterpret_cast<Address>(&(name)),
[[gnu::used]] static const Address kEntryPoints[] = {
#include "entry_points.def"
};

}  // namespace kiln::engine::api
