// Entry points of the library as a whole: versions, files, windows, error texts.
#include <embree3/rtcore_config.h>
#include <tbb/version.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <system_error>

#include "engine/api/errors.h"
#include "engine/api/guard.h"
#include "engine/api/version.h"
#include "entry_points.h"

namespace kiln::engine::api {
namespace {

constexpr char kVersionDetails[] = "Kiln engine " KILN_VERSION_TEXT ", Embree " RTC_VERSION_STRING
                                   ", oneTBB " TBB_VERSION_STRING ", compiled by " KILN_COMPILER;

std::atomic<int32_t> module_references{0};

}  // namespace

extern "C" {

int32_t Kiln_incrementModuleReferenceCounter(void) {
  return ++module_references;
}

// The boundary and the engine are versioned together.
uint32_t Kiln_getSDKVersion(void) {
  return kPackedVersion;
}
uint32_t Kiln_getKilnVersion(void) {
  return kPackedVersion;
}
const char* Kiln_getKilnVersionDetails(void) {
  return kVersionDetails;
}

// The engine comes without a library of materials.
const char* Kiln_getMaterialLibraryPath(void) {
  return nullptr;
}

int32_t Kiln_isDR2(void) {
  return 0;
}

const char* Kiln_getErrorTextStringFromErrorCode(int32_t code) {
  return ErrorText(code);
}

int32_t Kiln_isFileAvailable(const char* file) {
  return Guarded<int32_t>(0, [&] {
    std::error_code error;
    return file && std::filesystem::is_regular_file(file, error) && access(file, R_OK) == 0;
  });
}

// No windows are open, so there is nothing to serve.
int32_t Kiln_GUI_shouldPumpMessages(void) {
  return 0;
}
void Kiln_GUI_pumpMessages(void) {}

}  // extern "C"
}  // namespace kiln::engine::api
