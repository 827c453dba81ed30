// The timer that serves the SDK's windows while renderers want it.
#pragma once

#include "binding/environment.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

// One more renderer; the first one starts the timer, which keeps the loop alive.
void JoinGuiPump(Environment& environment);
// One fewer; the last one stops it.
void LeaveGuiPump(Environment& environment);

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
