// Reads OBJ, PLY, STL, FBX, Collada, 3DS and other model files into a scene.
#include "engine/importer/import_here.h"

#include <assimp/MemoryIOWrapper.h>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <fmt/format.h>

#include <algorithm>
#include <assimp/IOSystem.hpp>
#include <assimp/Importer.hpp>
#include <cmath>
#include <map>
#include <optional>

#include "engine/formats/model_import_failure.h"
#include "engine/formats/model_import_files.h"
#include "engine/importer/model_material.h"

namespace kiln::engine::importer {
namespace {

using formats::Affine;
using formats::ImportFailure;
using formats::ImportStage;
using formats::LoadError;
using formats::LoadResult;
using formats::MeshData;
using formats::NameInFolder;
using formats::ReadWholeFile;
using formats::Scale;

using Handle = ImportStage::Handle;

// Left-handed and flipped formats are turned by their readers; texture rows start at the top as in glTF.
constexpr unsigned kSteps = aiProcess_Triangulate | aiProcess_SortByPType | aiProcess_JoinIdenticalVertices |
                            aiProcess_GenSmoothNormals | aiProcess_GenUVCoords | aiProcess_TransformUVCoords |
                            aiProcess_FlipUVs | aiProcess_GlobalScale;

class OwnedStream : public Assimp::MemoryIOStream {
 public:
  explicit OwnedStream(std::vector<std::byte> bytes)
      : MemoryIOStream(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()),
        bytes_(std::move(bytes)) {}

 private:
  std::vector<std::byte> bytes_;
};

// The model from memory, its neighbours from its folder, nothing else, and nothing is ever written.
class FolderFiles : public Assimp::IOSystem {
 public:
  FolderFiles(std::string model_name, std::span<const std::byte> model, std::filesystem::path folder)
      : model_name_(std::move(model_name)), model_(model), folder_(std::move(folder)) {}

  bool Exists(const char* file) const override {
    const auto name = NameInFolder(file);
    if (!name) return false;
    std::error_code error;
    return *name == model_name_ ||
           (!folder_.empty() && std::filesystem::is_regular_file(folder_ / *name, error));
  }
  char getOsSeparator() const override { return '/'; }
  Assimp::IOStream* Open(const char* file, const char* mode) override {
    const auto name = NameInFolder(file);
    if (!name || mode == nullptr || mode[0] != 'r') return nullptr;
    if (*name == model_name_) {
      return new Assimp::MemoryIOStream(reinterpret_cast<const uint8_t*>(model_.data()), model_.size());
    }
    if (folder_.empty()) return nullptr;
    auto bytes = ReadWholeFile(folder_ / *name);
    return bytes ? new OwnedStream(std::move(*bytes)) : nullptr;
  }
  void Close(Assimp::IOStream* stream) override { delete stream; }

 private:
  std::string model_name_;
  std::span<const std::byte> model_;
  std::filesystem::path folder_;
};

Affine ToAffine(const aiMatrix4x4& m) {
  return {{{{m.a1, m.b1, m.c1}, {m.a2, m.b2, m.c2}, {m.a3, m.b3, m.c3}, {m.a4, m.b4, m.c4}}}};
}
Vec3d ToVec3d(const aiVector3D& v) {
  return {v.x, v.y, v.z};
}

// Looks along `forward` with `up` upwards.
Affine LookAlong(Vec3d position, Vec3d forward, Vec3d up) {
  Affine look;
  look.c[2] = Scale(forward, -1);
  look.c[1] = up;
  look = Rigid(look);
  look.c[3] = position;
  return look;
}

scene::VectorArray Vectors(const aiVector3D* source, unsigned count, bool flat) {
  std::vector<Vec3> vectors(count);
  for (unsigned i = 0; i < count; ++i) {
    vectors[i] = {source[i].x, source[i].y, flat ? 0 : source[i].z};
    if (!std::isfinite(vectors[i].x + vectors[i].y + vectors[i].z)) vectors[i] = {};
  }
  return scene::VectorArray(std::move(vectors));
}

bool HaveDirections(const aiVector3D* normals, unsigned count) {
  return std::all_of(normals, normals + count, [](const aiVector3D& n) {
    const float square = n.SquareLength();
    return std::isfinite(square) && square > 0;
  });
}

class SceneReader {
 public:
  SceneReader(const aiScene& source, scene::SceneBatch& batch, const std::filesystem::path& folder)
      : source_(source),
        stage_(batch, folder),
        materials_(source, stage_, folder),
        meshes_(source.mNumMeshes) {}

  LoadResult Run() {
    if (source_.mRootNode == nullptr) throw ImportFailure("the file holds no scene");
    Walk();
    for (unsigned i = 0; i < source_.mNumCameras; ++i) AddCamera(*source_.mCameras[i]);
    for (unsigned i = 0; i < source_.mNumLights; ++i) AddLight(*source_.mLights[i]);
    const bool empty = objects_ == 0 && source_.mNumCameras == 0 && source_.mNumLights == 0;
    if (empty) throw ImportFailure("the file holds no surfaces, cameras or lights");
    return stage_.Finish();
  }

 private:
  struct Placeable {
    MeshData data;
    Handle mesh = 0;
  };

  void Walk() {
    std::vector<std::pair<const aiNode*, Affine>> pending = {{source_.mRootNode, Affine{}}};
    while (!pending.empty()) {
      const auto [node, parent] = pending.back();
      pending.pop_back();
      const Affine world = Multiply(parent, ToAffine(node->mTransformation));
      if (!FitsTransform(world)) {
        throw ImportFailure(fmt::format("the place of the node '{}' is out of range", node->mName.C_Str()));
      }
      worlds_.try_emplace(node->mName.C_Str(), world);
      for (unsigned i = 0; i < node->mNumMeshes; ++i) AddObject(*node, node->mMeshes[i], world);
      for (unsigned i = node->mNumChildren; i > 0; --i) pending.emplace_back(node->mChildren[i - 1], world);
    }
  }

  void AddObject(const aiNode& node, unsigned index, const Affine& world) {
    if (index >= source_.mNumMeshes) {
      throw ImportFailure(fmt::format("the node '{}' refers to mesh {} of {}", node.mName.C_Str(), index,
                                      source_.mNumMeshes));
    }
    const aiMesh& mesh = *source_.mMeshes[index];
    if (mesh.mMaterialIndex >= source_.mNumMaterials) {
      throw ImportFailure(fmt::format("mesh {} refers to material {} of {}", index, mesh.mMaterialIndex,
                                      source_.mNumMaterials));
    }
    std::optional<Placeable>& placeable = meshes_[index];
    if (!placeable) {
      MeshData data = Read(mesh, index);
      const Handle handle = data.faces.empty() ? 0 : stage_.AddMesh(data, mesh.mName.C_Str());
      placeable = Placeable{std::move(data), handle};
    }
    if (placeable->data.faces.empty()) return;
    ++objects_;
    const aiString& name = node.mName.length != 0 ? node.mName : mesh.mName;
    stage_.AddObject(placeable->mesh, placeable->data, materials_.Get(mesh.mMaterialIndex), world,
                     name.C_Str());
  }

  MeshData Read(const aiMesh& mesh, unsigned index) const {
    MeshData data;
    const unsigned count = mesh.mNumVertices;
    if (count == 0 || mesh.mVertices == nullptr) return data;
    for (unsigned i = 0; i < count; ++i) {
      const aiVector3D& v = mesh.mVertices[i];
      if (!std::isfinite(v.x) || !std::isfinite(v.y) || !std::isfinite(v.z)) {
        throw ImportFailure(fmt::format("vertex {} of mesh {} is not finite", i, index));
      }
    }
    std::vector<int32_t> faces;
    faces.reserve(size_t{3} * mesh.mNumFaces);
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
      const aiFace& face = mesh.mFaces[f];
      if (face.mNumIndices != 3) continue;
      for (unsigned k = 0; k < 3; ++k) {
        if (face.mIndices[k] >= count) {
          throw ImportFailure(
              fmt::format("face {} of mesh {} refers to vertex {} of {}", f, index, face.mIndices[k], count));
        }
        faces.push_back(static_cast<int32_t>(face.mIndices[k]));
      }
    }
    data.vertices = Vectors(mesh.mVertices, count, false);
    data.faces = scene::IntArray(std::move(faces));
    if (mesh.mNormals != nullptr && HaveDirections(mesh.mNormals, count)) {
      data.normals = Vectors(mesh.mNormals, count, false);
    }
    if (mesh.mTextureCoords[0] != nullptr) data.uv = Vectors(mesh.mTextureCoords[0], count, true);
    if (mesh.mTextureCoords[1] != nullptr) data.uv2 = Vectors(mesh.mTextureCoords[1], count, true);
    if (mesh.mColors[0] != nullptr) ReadColors(mesh, data);
    data.double_sided = materials_.DoubleSided(mesh.mMaterialIndex);
    return data;
  }

  static void ReadColors(const aiMesh& mesh, MeshData& data) {
    std::vector<Color> colors(mesh.mNumVertices);
    std::vector<float> alphas(mesh.mNumVertices, 1.0f);
    const auto channel = [](float value) { return std::isfinite(value) ? std::max(value, 0.0f) : 0.0f; };
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
      const aiColor4D& c = mesh.mColors[0][i];
      colors[i] = {channel(c.r), channel(c.g), channel(c.b)};
      alphas[i] = std::min(channel(c.a), 1.0f);
    }
    data.colors = scene::ColorArray(std::move(colors));
    data.color_alphas = scene::FloatArray(std::move(alphas));
  }

  // Cameras and lights stand where the node of their name is.
  Affine WorldOf(const aiString& name) const {
    const auto found = worlds_.find(name.C_Str());
    return found == worlds_.end() ? Affine{} : found->second;
  }

  void AddCamera(const aiCamera& camera) {
    const Affine local = LookAlong(ToVec3d(camera.mPosition), ToVec3d(camera.mLookAt), ToVec3d(camera.mUp));
    const Affine world = Multiply(WorldOf(camera.mName), local);
    const float aspect = std::isfinite(camera.mAspect) && camera.mAspect > 0 ? camera.mAspect : 1.0f;
    const bool orthographic = std::isfinite(camera.mOrthographicWidth) && camera.mOrthographicWidth > 0;
    const Handle handle = stage_.AddPlaced(orthographic ? "CameraOrthographic" : "CameraPerspective", world,
                                           camera.mName.C_Str());
    if (orthographic) {
      stage_.Set(handle, "height", 2 * camera.mOrthographicWidth / aspect);
    } else {
      const float fov = camera.mHorizontalFOV * 180 / kPi;
      stage_.Set(handle, "fov", fov > 0.1f && fov < 175 ? fov : 45.0f);
      stage_.Set(handle, "fovAxis", 1);
    }
    stage_.MarkCamera();
  }

  void AddLight(const aiLight& light) {
    const char* class_name = light.mType == aiLightSource_POINT         ? "LightPoint"
                             : light.mType == aiLightSource_SPOT        ? "LightSpot"
                             : light.mType == aiLightSource_DIRECTIONAL ? "LightDirectional"
                             : light.mType == aiLightSource_AREA        ? "LightRectangle"
                                                                        : nullptr;
    const Color color{light.mColorDiffuse.r, light.mColorDiffuse.g, light.mColorDiffuse.b};
    const float strength = MaxComponent(color);
    if (class_name == nullptr || !std::isfinite(strength) || !(strength > 0)) {
      stage_.Note(fmt::format("the light '{}' gives no light that can be rendered and was left out",
                              light.mName.C_Str()));
      return;
    }
    const Affine local = LookAlong(ToVec3d(light.mPosition), ToVec3d(light.mDirection), ToVec3d(light.mUp));
    const Handle handle =
        stage_.AddPlaced(class_name, Multiply(WorldOf(light.mName), local), light.mName.C_Str());
    stage_.Set(handle, "color", color / strength);
    stage_.Set(handle, "intensity", strength);
    if (light.mType == aiLightSource_SPOT) {
      const auto half_degrees = [](float angle) { return std::clamp(angle * 90 / kPi, 0.0f, 90.0f); };
      const float outer = std::isfinite(light.mAngleOuterCone) ? half_degrees(light.mAngleOuterCone) : 45.0f;
      const float inner = std::isfinite(light.mAngleInnerCone) ? half_degrees(light.mAngleInnerCone) : 0.0f;
      stage_.Set(handle, "outerAngle", outer);
      stage_.Set(handle, "innerAngle", std::min(inner, outer));
    } else if (light.mType == aiLightSource_AREA) {
      stage_.Set(handle, "width", std::max(light.mSize.x, 1e-6f));
      stage_.Set(handle, "height", std::max(light.mSize.y, 1e-6f));
    }
    stage_.MarkLight();
  }

  const aiScene& source_;
  ImportStage stage_;
  ModelMaterials materials_;
  std::vector<std::optional<Placeable>> meshes_;
  std::map<std::string, Affine> worlds_;
  size_t objects_ = 0;
};

std::string ModelName(const std::filesystem::path& file, std::string_view extension_hint) {
  if (!file.empty()) return file.filename().generic_string();
  return extension_hint.empty() ? "model" : fmt::format("model.{}", extension_hint);
}

std::string Tidy(std::string text) {
  text = text.substr(0, text.find('\n')).substr(0, 400);
  while (!text.empty() && (text.back() == '.' || text.back() == ' ')) text.pop_back();
  return text.empty() ? "the file can't be read" : text;
}

// Some readers announce polygons where a broken file has none, and the step that splits polygons ends the
// process over it: the announcement is made true first.
void StatePrimitiveTypes(aiScene& source) {
  for (unsigned m = 0; m < source.mNumMeshes; ++m) {
    aiMesh& mesh = *source.mMeshes[m];
    mesh.mPrimitiveTypes = 0;
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
      const unsigned corners = mesh.mFaces[f].mNumIndices;
      mesh.mPrimitiveTypes |= corners > 3    ? aiPrimitiveType_POLYGON
                              : corners == 3 ? aiPrimitiveType_TRIANGLE
                              : corners == 2 ? aiPrimitiveType_LINE
                                             : aiPrimitiveType_POINT;
    }
  }
}

// The PLY reader never comes back from a header that does not end.
void CheckPlyHeader(std::span<const std::byte> bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const size_t start = text.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos) return;
  std::string magic(text.substr(start, 3));
  std::transform(magic.begin(), magic.end(), magic.begin(), [](unsigned char c) { return std::tolower(c); });
  if (magic != "ply") return;
  const size_t end = text.find("end_header");
  if (end == std::string_view::npos || text.find('\n', end) == std::string_view::npos) {
    throw ImportFailure("the header of the PLY file has no end");
  }
}

}  // namespace

LoadResult ImportModelHere(scene::Scene& scene, std::span<const std::byte> bytes,
                           const std::filesystem::path& file, std::string_view extension_hint) {
  return formats::GuardImport(file.string(), [&]() -> LoadResult {
    if (bytes.empty()) throw ImportFailure("the file is empty");
    CheckPlyHeader(bytes);
    std::filesystem::path folder = file.parent_path();
    if (!file.empty() && folder.empty()) folder = ".";
    const std::string name = ModelName(file, extension_hint);
    Assimp::Importer importer;
    importer.SetIOHandler(new FolderFiles(name, bytes, folder));
    importer.SetPropertyInteger(AI_CONFIG_PP_SBP_REMOVE, aiPrimitiveType_POINT | aiPrimitiveType_LINE);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
    const aiScene* source = importer.ReadFile(name, aiProcess_ValidateDataStructure);
    if (source != nullptr) {
      // The importer owns the scene and lends it as constant, but it is ours until the steps run.
      StatePrimitiveTypes(const_cast<aiScene&>(*source));
      source = importer.ApplyPostProcessing(kSteps);
    }
    if (source == nullptr) {
      const std::string reason = importer.GetErrorString();
      if (reason.find("No suitable reader") != std::string::npos) {
        throw ImportFailure(LoadError::kUnknownFormat, "no reader recognises the format of the file");
      }
      if (reason.find("bad_alloc") != std::string::npos) throw std::bad_alloc();
      throw ImportFailure(Tidy(reason));
    }
    scene::SceneBatch batch;
    LoadResult read = SceneReader(*source, batch, folder).Run();
    const scene::CommitReport report = batch.CommitTo(scene);
    if (!report.ok()) throw ImportFailure(report.why);
    return read;
  });
}

}  // namespace kiln::engine::importer
