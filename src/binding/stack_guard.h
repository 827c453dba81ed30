// Keeps recursion over a caller's data from running over the thread's stack: V8 guards calls of JavaScript,
// not ours.
#pragma once

#include <v8.h>

namespace KilnNodeWrapper {

// Whether the current thread has stack for another level.
bool HasStackRoom();
// The same, throwing a RangeError as V8 does when there is none.
bool CheckStack(v8::Isolate* isolate);

}  // namespace KilnNodeWrapper
