// Geometry that stays in its file until it is rendered.
#include "engine/render/inputs.h"
#include "engine/render/mesh_file_geometry.h"

namespace kiln::engine::scene {
namespace {

std::unique_ptr<render::GeometrySource> Make(const render::Inputs& in) {
  return render::MeshFileGeometry(in, in.File("file"));
}

PluginClass Describe() {
  return {
      .name = "GeomMeshFile",
      .description =
          "The geometry, hair and particles of a mesh file, or of a model in any format that scenes are "
          "loaded "
          "from. Strands are tubes and particles balls, as GeomMayaHair and GeomParticleSystem make them.",
      .categories = CategoryBit(Category::kGeometrySource),
      .properties =
          {
              {.name = "file",
               .type = Type::kString,
               .default_value = std::string(),
               .description = "The mesh file or model.",
               .is_file = true},
              {"object_path", Type::kString, std::string(),
               "The one object that is shown; empty: all of them."},
              {"use_full_names", Type::kBoolean, false,
               "Whether object_path is a whole name; else the part of a name behind its last / or | will "
               "do."},
              {"compute_normals",
               Type::kInt,
               1,
               "Normals: 0 those of the file, 1 computed where it has none, 2 always computed.",
               {0, 2}},
              {"smooth_angle",
               Type::kFloat,
               30.0f,
               "Faces that meet at a larger angle have an edge between them.",
               {0, 180},
               "deg"},
              {"flip_axis",
               Type::kInt,
               0,
               "Which way is up: 0 as in the file, 1 a file with y up shown with z up, 2 the other way "
               "round.",
               {0, 2}},
              {"anim_type",
               Type::kInt,
               0,
               "Frames outside the file's: 0 begin again, 1 hold the first or last, 2 go back and forth; 3 "
               "shows "
               "one frame at all times.",
               {0, 3}},
              {"anim_speed", Type::kFloat, 1.0f, "Frames of the file in a frame of the render."},
              {"anim_offset", Type::kFloat, 0.0f, "Frames added to that."},
              {"num_preview_faces", Type::kInt, 10000, "The most faces that a preview is read with.", {0}},
              {"hair_width_multiplier", Type::kFloat, 1.0f, "Multiplies the widths of the file's hair.", {0}},
              {"particle_width_multiplier",
               Type::kFloat,
               1.0f,
               "Multiplies the widths of the file's particles.",
               {0}},
          },
      .evaluation = {.geometry = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
