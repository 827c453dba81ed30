// The one throwing place, and what happens to exceptions of listeners and callbacks.
#pragma once

#include <v8.h>

namespace KilnNodeWrapper {

// Throw and return; the caller returns at once. JavaScript thread.
void ThrowError(v8::Isolate* isolate, const char* text);
void ThrowTypeError(v8::Isolate* isolate, const char* text);

// An Error with the text; empty when V8 can't make the string.
v8::MaybeLocal<v8::Value> MakeError(v8::Isolate* isolate, const char* text);

// Hands what the TryCatch caught to the host as an uncaught exception; a terminated execution is left alone,
// because the host would abort over it.
void ReportCaught(v8::Isolate* isolate, v8::TryCatch& try_catch);

}  // namespace KilnNodeWrapper
