// Keeps recursion over a caller's data from running over the stack: V8 guards calls of JavaScript, not ours,
// and from V8 14 on it ends the process over an exception that is thrown below its own limit.
#pragma once

#include "binding/environment.h"

namespace KilnNodeWrapper {

// Whether there is stack for another level, by V8's own measure: false leaves its RangeError pending.
bool CheckStack(Environment& environment);
// The same without an exception.
bool HasStackRoom(Environment& environment);

}  // namespace KilnNodeWrapper
