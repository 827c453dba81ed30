// What the loaders with dlopen share.
#pragma once

#include <string>

#include "module/loader.h"

namespace KilnNodeWrapper::loader {

// What LastFailure tells on this thread.
extern thread_local std::string last_failure;
// Keeps what dlerror says.
void KeepFailure();

}  // namespace KilnNodeWrapper::loader
