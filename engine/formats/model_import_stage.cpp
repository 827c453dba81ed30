// What every importer builds: meshes, their instances, and the camera and light that a file without them
// gets.
#include "engine/formats/model_import_stage.h"

#include <algorithm>
#include <cmath>

#include "engine/formats/model_import_failure.h"

namespace kiln::engine::formats {
namespace {

constexpr size_t kNoteLimit = 50;
constexpr double kDefaultFov = 45;

double Determinant(const Affine& a) {
  return Dot(a.c[0], Cross(a.c[1], a.c[2]));
}

// Relative to the lengths of the axes, so that small models are not mistaken for flat ones.
bool IsFlat(const Affine& a) {
  const double lengths =
      std::sqrt(Dot(a.c[0], a.c[0])) * std::sqrt(Dot(a.c[1], a.c[1])) * std::sqrt(Dot(a.c[2], a.c[2]));
  const double determinant = std::abs(Determinant(a));
  // Single precision, in which the inverse is made, ends near 1e-38.
  return !(determinant > 1e-7 * lengths) || !(determinant > 1e-35);
}

bool HasArea(const MeshData& mesh) {
  for (size_t i = 0; i + 2 < mesh.faces.size(); i += 3) {
    const Vec3d a = ToVec3d(mesh.vertices[mesh.faces[i]]);
    const Vec3d b = ToVec3d(mesh.vertices[mesh.faces[i + 1]]);
    const Vec3d c = ToVec3d(mesh.vertices[mesh.faces[i + 2]]);
    const Vec3d n = Cross(Sum(b, Scale(a, -1)), Sum(c, Scale(a, -1)));
    if (Dot(n, n) > 0) return true;
  }
  return false;
}

MeshData Baked(const MeshData& mesh, const Affine& world) {
  MeshData baked = mesh;
  std::vector<Vec3> vertices;
  vertices.reserve(mesh.vertices.size());
  for (const Vec3 v : mesh.vertices) vertices.push_back(ToVec3(Point(world, ToVec3d(v))));
  baked.vertices = scene::VectorArray(std::move(vertices));
  // Flattened space has only its own normal.
  baked.normals = {};
  baked.tangents = {};
  baked.tangent_signs = {};
  return baked;
}

}  // namespace

ImportStage::ImportStage(scene::SceneBatch& batch, const std::filesystem::path& folder) : batch_(batch) {
  batch_.SetFolder(folder);
}

ImportStage::Handle ImportStage::AddMesh(const MeshData& mesh, std::string_view name) {
  const Handle handle = batch_.Add("GeomStaticMesh", name);
  batch_.Set(handle, "vertices", mesh.vertices);
  batch_.Set(handle, "faces", mesh.faces);
  if (!mesh.normals.empty()) batch_.Set(handle, "normals", mesh.normals);
  if (!mesh.uv.empty()) batch_.Set(handle, "uv", mesh.uv);
  if (!mesh.uv2.empty()) batch_.Set(handle, "uv2", mesh.uv2);
  if (!mesh.tangents.empty()) {
    batch_.Set(handle, "tangents", mesh.tangents);
    batch_.Set(handle, "tangentSigns", mesh.tangent_signs);
  }
  if (!mesh.colors.empty()) batch_.Set(handle, "colors", mesh.colors);
  if (!mesh.color_alphas.empty()) batch_.Set(handle, "colorAlphas", mesh.color_alphas);
  batch_.Set(handle, "doubleSided", mesh.double_sided);
  return handle;
}

void ImportStage::Include(const MeshData& data, const Affine& world) {
  Bounds3 local;
  for (const Vec3 v : data.vertices) local.Add(v);
  for (int corner = 0; corner < 8 && !local.Empty(); ++corner) {
    const Vec3d p =
        Point(world, {corner & 1 ? local.upper.x : local.lower.x, corner & 2 ? local.upper.y : local.lower.y,
                      corner & 4 ? local.upper.z : local.lower.z});
    lower_ = {std::min(lower_.x, p.x), std::min(lower_.y, p.y), std::min(lower_.z, p.z)};
    upper_ = {std::max(upper_.x, p.x), std::max(upper_.y, p.y), std::max(upper_.z, p.z)};
  }
}

void ImportStage::AddObject(Handle mesh, const MeshData& data, Handle material, const Affine& world,
                            std::string_view name) {
  if (!FitsTransform(world)) throw ImportFailure("the place of an object is out of range");
  Affine placed = world;
  if (IsFlat(world)) {
    const MeshData baked = Baked(data, world);
    if (!HasArea(baked)) return;
    mesh = AddMesh(baked, name);
    placed = {};
  }
  const Handle object = batch_.Add("GeomInstance", name);
  batch_.Set(object, "geometry", batch_.Ref(mesh));
  batch_.Set(object, "material", batch_.Ref(material));
  batch_.Set(object, "transform", ToTransform(placed));
  Include(data, world);
}

ImportStage::Handle ImportStage::AddPlaced(std::string_view class_name, const Affine& world,
                                           std::string_view name) {
  const Affine rigid = Rigid(world);
  if (!FitsTransform(rigid)) throw ImportFailure("the place of a camera or light is out of range");
  const Handle handle = batch_.Add(class_name, name);
  batch_.Set(handle, "transform", ToTransform(rigid));
  return handle;
}

void ImportStage::Note(const std::string& note) {
  if (++note_count_ > kNoteLimit) return;
  if (!notes_.empty()) notes_ += '\n';
  notes_ += note;
}

// The sphere around the bounds touches the upper and lower edge of the frame from inside, with a margin.
void ImportStage::AddDefaultCamera() {
  const bool empty = !(lower_.x <= upper_.x);
  const Vec3d center = empty ? Vec3d{} : Scale(Sum(lower_, upper_), 0.5);
  const Vec3d diagonal = empty ? Vec3d{} : Sum(upper_, Scale(lower_, -1));
  double radius = 0.5 * std::sqrt(Dot(diagonal, diagonal));
  // Smaller or larger than single precision resolves.
  radius = std::clamp(radius, 1e-15, 1e30);
  if (empty || Dot(diagonal, diagonal) == 0) radius = 1;
  const double distance = 1.05 * radius / std::sin(kDefaultFov / 2 * kPi / 180);

  Affine look;
  look.c[2] = {0.55, 0.4, 0.9};
  look.c[1] = {0, 1, 0};
  look = Rigid(look);
  look.c[3] = Sum(center, Scale(look.c[2], distance));
  const Handle camera = AddPlaced("CameraPerspective", look, "@defaultCamera");
  batch_.Set(camera, "fov", static_cast<float>(kDefaultFov));
  batch_.Set(camera, "focusDistance", static_cast<float>(distance));
  batch_.Set(camera, "nearClip", static_cast<float>(std::min(0.001, distance * 1e-3)));
  batch_.Set(camera, "farClip", 1e30f);
}

LoadResult ImportStage::Finish() {
  if (!has_camera_) AddDefaultCamera();
  if (!has_light_) {
    const Handle light = batch_.Add("LightDome", "@defaultLight");
    batch_.Set(light, "color", Color{1, 1, 1});
    batch_.Set(light, "intensity", 1.0f);
  }
  if (note_count_ > kNoteLimit) notes_ += "\nand " + std::to_string(note_count_ - kNoteLimit) + " notes more";
  return {LoadError::kNone, {}, 0, notes_};
}

}  // namespace kiln::engine::formats
