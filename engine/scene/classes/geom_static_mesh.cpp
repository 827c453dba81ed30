// A triangle mesh that does not deform.
#include "engine/render/inputs.h"
#include "engine/render/mesh.h"

namespace kiln::engine::scene {
namespace {

template <class T>
T List(const render::Inputs& in, std::string_view property) {
  const Value value = in.Get(property);
  const T* list = value.As<T>();
  return list != nullptr ? *list : T{};
}

std::unique_ptr<render::GeometrySource> Make(const render::Inputs& in) {
  render::MeshArrays arrays;
  arrays.vertices = List<VectorArray>(in, "vertices");
  arrays.faces = List<IntArray>(in, "faces");
  arrays.normals = List<VectorArray>(in, "normals");
  arrays.face_normals = List<IntArray>(in, "faceNormals");
  arrays.uv[0] = List<VectorArray>(in, "uv");
  arrays.face_uv[0] = List<IntArray>(in, "faceUv");
  arrays.uv[1] = List<VectorArray>(in, "uv2");
  arrays.face_uv[1] = List<IntArray>(in, "faceUv2");
  arrays.tangents = List<VectorArray>(in, "tangents");
  arrays.tangent_signs = List<FloatArray>(in, "tangentSigns");
  arrays.colors = List<ColorArray>(in, "colors");
  arrays.color_alphas = List<FloatArray>(in, "colorAlphas");
  arrays.smooth_normals = in.Bool("smoothNormals");
  arrays.double_sided = in.Bool("doubleSided");
  std::string error;
  std::vector<std::string> warnings;
  std::unique_ptr<render::Mesh> mesh = render::Mesh::Create(std::move(arrays), &error, &warnings);
  for (const std::string& warning : warnings) in.Warn(warning);
  if (mesh == nullptr) {
    in.Warn(error + ", so it is left out");
    return nullptr;
  }
  return std::make_unique<render::GeometrySource>(std::move(mesh));
}

PluginClass Describe() {
  return {
      .name = "GeomStaticMesh",
      .description = "A triangle mesh. GeomInstance puts it into the scene, as often as wanted.",
      .categories = CategoryBit(Category::kGeometrySource),
      .properties =
          {
              {"vertices", Type::kVectorList, VectorArray{}, "Positions.", {}, "m"},
              {"faces", Type::kIntList, IntArray{},
               "Three vertex indices per triangle, counter-clockwise from its front."},
              {"normals", Type::kVectorList, VectorArray{}, "Normals; without them the mesh is faceted."},
              {"faceNormals", Type::kIntList, IntArray{},
               "An index into normals per corner; empty: as faces."},
              {"uv", Type::kVectorList, VectorArray{},
               "Texture coordinates, x and y used, y down the image."},
              {"faceUv", Type::kIntList, IntArray{}, "An index into uv per corner; empty: as faces."},
              {"uv2", Type::kVectorList, VectorArray{}, "A second set of texture coordinates."},
              {"faceUv2", Type::kIntList, IntArray{}, "An index into uv2 per corner; empty: as faces."},
              {"tangents", Type::kVectorList, VectorArray{},
               "Tangents per vertex; without them they follow from uv."},
              {"tangentSigns", Type::kFloatList, FloatArray{}, "Side of the bitangent per vertex, 1 or -1."},
              {"colors", Type::kColorList, ColorArray{},
               "Colours per vertex, which multiply the material's."},
              {"colorAlphas", Type::kFloatList, FloatArray{},
               "Opacities per vertex, which multiply the material's."},
              {"smoothNormals", Type::kBoolean, false, "Compute normals per vertex where none are given."},
              {"doubleSided", Type::kBoolean, true,
               "Whether the back emits light as well, where the material does."},
          },
      .evaluation = {.geometry = Make},
  };
}

const RegisterClass kRegistration(Describe);

}  // namespace
}  // namespace kiln::engine::scene
