// What the calculation of light left behind, saved to files for a later render.
#pragma once

#include "binding/members.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

struct CacheFile {
  int32_t (*SdkTable::*save)(KilnRendererHandle, const char*);  // blocks; non-zero on success
  const char* error;
};
inline constexpr CacheFile kIrradianceMap = {&SdkTable::Kiln_KilnRenderer_saveIrradianceMapFile,
                                             "Error saving irradiance map to file"};
inline constexpr CacheFile kLightCache = {&SdkTable::Kiln_KilnRenderer_saveLightCacheFile,
                                          "Error saving light cache to file"};
inline constexpr CacheFile kPhotonMap = {&SdkTable::Kiln_KilnRenderer_savePhotonMapFile,
                                         "Error saving photon map to file"};
inline constexpr CacheFile kCaustics = {&SdkTable::Kiln_KilnRenderer_saveCausticsFile,
                                        "Error saving caustics to file"};

void SaveOnPool(const Arguments& info, const CacheFile& file);
void SaveAtOnce(const Arguments& info, const CacheFile& file);

template <const CacheFile& kFile>
void SaveCacheFile(const Arguments& info) {
  SaveOnPool(info, kFile);
}
template <const CacheFile& kFile>
void SaveCacheFileSync(const Arguments& info) {
  SaveAtOnce(info, kFile);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
