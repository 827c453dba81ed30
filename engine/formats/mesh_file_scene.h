// Objects of a scene as objects of a mesh file.
#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

#include "engine/formats/mesh_file_build.h"
#include "engine/formats/mesh_file_read.h"
#include "engine/scene/scene.h"

namespace kiln::engine::formats {

// What a GeomStaticMesh, GeomMayaHair or GeomParticleSystem holds at the time, in its own space. The caller
// holds the scene's lock. Throws MeshFileFailure when the plugin is none of them.
MeshObject ObjectOfPlugin(const scene::Scene& scene, scene::PluginId id, double time);
// Whether any of the plugin's values changes over time.
bool IsAnimated(const scene::Scene& scene, scene::PluginId id);

// What the properties of a GeomMeshFile ask for; the file and the time are the caller's.
MeshReadOptions OptionsOfProperties(const std::function<scene::Value(std::string_view)>& get);

// Every object of a file that a scene can be loaded from, where it stands, one mesh object for each, with the
// material's name as its shader. Without previews. Throws MeshFileFailure.
MeshContent ReadModel(const std::filesystem::path& file);

}  // namespace kiln::engine::formats
