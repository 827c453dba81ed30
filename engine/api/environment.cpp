// Entry points of the engine's environment: the process's variables under those that the host sets here.
// Setting them in the process itself would race with every other reader in it.
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "engine/api/guard.h"
#include "entry_points.h"

namespace kiln::engine::api {
namespace {

struct Environment {
  std::mutex mutex;
  std::map<std::string, std::optional<std::string>, std::less<>> variables;  // nothing: removed
  std::set<std::string> texts;  // what was handed out, good as long as the library
};

Environment& TheEnvironment() {
  static Environment environment;
  return environment;
}

bool IsName(const char* name) {
  return name && *name && std::string_view(name).find('=') == std::string_view::npos;
}

}  // namespace

extern "C" {

int32_t Kiln_setEnvironmentVariable(const char* name, const char* value) {
  return Guarded<int32_t>(1, [&] {
    if (!IsName(name)) return 1;
    Environment& environment = TheEnvironment();
    const std::lock_guard lock(environment.mutex);
    environment.variables.insert_or_assign(name, value ? std::optional<std::string>(value) : std::nullopt);
    return 0;
  });
}

const char* Kiln_getEnvironmentVariable(const char* name) {
  return Guarded<const char*>(nullptr, [&]() -> const char* {
    if (!IsName(name)) return nullptr;
    Environment& environment = TheEnvironment();
    const std::lock_guard lock(environment.mutex);
    const auto set = environment.variables.find(name);
    if (set == environment.variables.end()) return std::getenv(name);
    return set->second ? environment.texts.insert(*set->second).first->c_str() : nullptr;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
