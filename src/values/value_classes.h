// The registrations of the value classes.
#pragma once

#include <v8.h>

namespace KilnNodeWrapper::KilnValuesNodeWrapper {

void RegisterMatrix(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports);
void RegisterColor(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports);
void RegisterAColor(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports);
void RegisterVector(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports);
void RegisterTransform(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports);

}  // namespace KilnNodeWrapper::KilnValuesNodeWrapper
