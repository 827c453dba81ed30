// Functions of the module that make an object on the pool: create([options,] callback).
#pragma once

#include "binding/async_job.h"

namespace KilnNodeWrapper {

// The two arguments, which may come in either order; the options may be any value. False after throwing.
bool ReadFactoryArguments(const Arguments& info, v8::Local<v8::Value>* options,
                          v8::Local<v8::Function>* callback);

// The callback's arguments of a creation that failed: an Error with the text, and undefined.
int FinishWithoutObject(Environment& environment, const char* error_text, v8::Local<v8::Value>* arguments);
// Those of one that succeeded: null, and the instance of the class that its constructor makes of the
// External. kNoCall when it makes none.
int FinishWithObject(Environment& environment, v8::Local<v8::FunctionTemplate> target,
                     v8::Local<v8::Value> external, v8::Local<v8::Value>* arguments);

}  // namespace KilnNodeWrapper
