// The namespace Proxy: mesh files.
#pragma once

#include "binding/members.h"

namespace KilnNodeWrapper {

void RegisterProxy(v8::Isolate* isolate, v8::Local<v8::External> external, v8::Local<v8::Object> exports);

void ReadPreviewGeometry(const Arguments& info);  // mesh_preview.cpp
void ReadPreviewHair(const Arguments& info);
void ReadPreviewParticles(const Arguments& info);
void ReadPreviewData(const Arguments& info);  // mesh_reading.cpp
void ReadFullData(const Arguments& info);
void ReadFullDataSync(const Arguments& info);
void CreateMeshFile(const Arguments& info);  // mesh_writing.cpp
void CreateCombinedMeshFile(const Arguments& info);

}  // namespace KilnNodeWrapper
