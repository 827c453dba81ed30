// The host's arrays as objects of a mesh file.
#pragma once

#include <optional>
#include <set>

#include "engine/formats/mesh_file_build.h"
#include "proxy.h"

namespace kiln::engine::api {

// What the record holds at a frame: of each list the last entry not after it, or the first. Throws
// MeshFileFailure for counts that are negative and arrays that are missing.
formats::MeshObject ObjectOfData(const ProxyMeshData& data, int32_t frame);
// Adds the frames at which a list changes.
void AddFrames(const ProxyMeshData& data, std::set<int32_t>* frames);

// Where an object stands at a frame: between its key frames when it has any, or where the transform says.
std::optional<Transform> PlaceAt(const ProxyTransform* transform, const AnimatedTransforms* animation,
                                 int32_t frame);

}  // namespace kiln::engine::api
