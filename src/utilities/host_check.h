// checkDRHost and its twin: ask a render host whether it is there and what it is.
#pragma once

#include "binding/members.h"

namespace KilnNodeWrapper {

void CheckDRHost(const Arguments& info);
void CheckDRHostSync(const Arguments& info);

}  // namespace KilnNodeWrapper
