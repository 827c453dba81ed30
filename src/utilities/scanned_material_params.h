// encodeScannedMaterialParams: packs the parameters of a scanned material into the integers that a plugin's
// property holds.
#pragma once

#include "binding/members.h"

namespace KilnNodeWrapper {

void EncodeScannedMaterialParams(const Arguments& info);

}  // namespace KilnNodeWrapper
