// getOSLParameters and its twin: the parameters that a shader declares.
#pragma once

#include "binding/members.h"

namespace KilnNodeWrapper {

void GetOSLParameters(const Arguments& info);
void GetOSLParametersSync(const Arguments& info);

}  // namespace KilnNodeWrapper
