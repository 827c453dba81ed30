// The mesh of a mesh file, hair and particles with it.
#pragma once

#include <filesystem>
#include <memory>

#include "engine/render/mesh.h"

namespace kiln::engine::render {

class Inputs;

// What a GeomMeshFile shows at the frozen time. Null, with a warning for the instance, when the file can't be
// read or holds nothing to see. Files are read once for all that show them the same way, as long as one does.
std::unique_ptr<GeometrySource> MeshFileGeometry(const Inputs& in, const std::filesystem::path& file);

}  // namespace kiln::engine::render
