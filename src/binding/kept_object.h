// JavaScript objects whose memory the SDK holds on to after a call: kept alive until the SDK calls the
// release function, on whatever thread it likes.
#pragma once

#include <v8.h>

#include <memory>

#include "binding/environment.h"

namespace KilnNodeWrapper {

// JavaScript thread. The cookie to hand to the SDK along with ReleaseKeptObject.
void* KeepObject(Environment& environment, v8::Local<v8::Object> object);

// A KilnReleaseFunction: lets the cookie's object go, on the JavaScript thread of its environment. A null
// cookie is allowed, and so is a call after the environment has ended. Any thread.
void ReleaseKeptObject(void* memory, uint64_t size, void* cookie);

// The environment's end: every object goes now; cookies that are still out stay valid.
void CloseReleaseQueue(Environment& environment);

}  // namespace KilnNodeWrapper
