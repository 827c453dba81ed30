// Entry points that write mesh files, from plugins of a renderer and from the host's arrays.
#include <functional>
#include <shared_mutex>

#include "engine/api/mesh_file_objects.h"
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/formats/mesh_file_read.h"
#include "engine/formats/mesh_file_scene.h"

namespace kiln::engine::api {
namespace {

using formats::MeshContent;
using formats::MeshFileFailure;
using formats::MeshObject;

// More would be no film, and a mistake in the host's numbers.
constexpr int64_t kMostFrames = 1000000;

// What is written, whoever has it.
struct Objects {
  int32_t count = 0;
  std::function<MeshObject(int32_t object, int32_t frame)> at;
  // Adds the frames at which anything changes, or says that all of them may.
  std::function<bool(std::set<int32_t>*)> add_frames;
};

struct Request {
  const ProxyTransform* transforms;
  const AnimatedTransforms* const* animations;
  const ProxyCreateParams& params;
};

bool Moves(const Request& request, int32_t count) {
  for (int32_t i = 0; request.animations != nullptr && i < count; ++i) {
    if (request.animations[i] != nullptr && request.animations[i]->count > 1) return true;
  }
  return false;
}

std::set<int32_t> FramesOf(const Objects& objects, const Request& request) {
  const ProxyCreateParams& p = request.params;
  std::set<int32_t> frames{p.startFrame};
  if (p.isAnimated == 0) return frames;
  if (p.endFrame < p.startFrame || int64_t{p.endFrame} - p.startFrame >= kMostFrames)
    throw MeshFileFailure("the frames of the mesh file end before they start, or are too many");
  const bool all = objects.add_frames(&frames) || Moves(request, objects.count);
  for (int64_t frame = p.startFrame; all && frame <= p.endFrame; ++frame)
    frames.insert(static_cast<int32_t>(frame));
  frames.erase(frames.begin(), frames.lower_bound(p.startFrame));
  frames.erase(frames.upper_bound(p.endFrame), frames.end());
  return frames;
}

// One behind the other, each with its NUL.
std::vector<std::string> NamesOf(const ProxyCreateParams& params, int32_t count) {
  std::vector<std::string> names;
  const char* next = params.objectNames;
  for (int32_t i = 0; next != nullptr && i < count; ++i) {
    names.emplace_back(next);
    next += names.back().size() + 1;
  }
  return names;
}

void AddObjectInfos(const ProxyCreateParams& params, int32_t count, MeshContent* content) {
  const float* color = params.voxelInfoWireColor;
  if (color == nullptr && params.voxelInfoSmoothed == nullptr && params.voxelInfoFlipNormals == nullptr)
    return;
  for (int32_t i = 0; i < count; ++i) {
    content->wire_colors.push_back(color != nullptr ? Vec3{color[3 * i], color[3 * i + 1], color[3 * i + 2]}
                                                    : Vec3{});
    content->smoothed.push_back(params.voxelInfoSmoothed != nullptr ? params.voxelInfoSmoothed[i] : 0);
    content->flip_normals.push_back(params.voxelInfoFlipNormals != nullptr ? params.voxelInfoFlipNormals[i]
                                                                           : 0);
  }
}

formats::BuildOptions BuildOptionsOf(const ProxyCreateParams& params) {
  return {.voxel_elements = params.mergeVoxels != 0 ? 0 : params.voxelElements,
          .preview_kind = static_cast<formats::PreviewKind>(params.previewType),
          .preview_faces = params.numPreviewElements,
          .preview_strands = params.previewHairs,
          .preview_particles = params.previewParticles};
}

void AddPreviews(const ProxyCreateParams& params, const formats::BuildOptions& options,
                 MeshContent* content) {
  formats::AddPreviews(*content, options);
  if (params.customPreviewFile == nullptr || *params.customPreviewFile == '\0') return;
  MeshContent custom = formats::ReadPreview({.file = params.customPreviewFile},
                                            static_cast<uint64_t>(std::max(options.preview_faces, 0)));
  content->preview_vertices = std::move(custom.preview_vertices);
  content->preview_indices = std::move(custom.preview_indices);
}

MeshObject PlacedObject(const Objects& objects, const Request& request, int32_t i, int32_t frame) {
  MeshObject object = objects.at(i, frame);
  formats::CheckObject(object);
  const auto place = PlaceAt(request.transforms != nullptr ? request.transforms + i : nullptr,
                             request.animations != nullptr ? request.animations[i] : nullptr, frame);
  if (place) formats::ApplyTransform(object, *place);
  return object;
}

void Create(const Objects& objects, const Request& request) {
  const ProxyCreateParams& params = request.params;
  if (params.path == nullptr || *params.path == '\0') throw MeshFileFailure("the mesh file has no name");
  if (objects.count <= 0) throw MeshFileFailure("the mesh file has no objects");
  const std::set<int32_t> frames = FramesOf(objects, request);
  const std::vector<std::string> names = NamesOf(params, objects.count);
  const formats::BuildOptions options = BuildOptionsOf(params);
  const int32_t last = params.isAnimated != 0 ? params.endFrame : params.startFrame;
  formats::MeshFileWriter writer({params.startFrame, last});
  std::vector<formats::VoxelPlan> plans;
  for (const int32_t frame : frames) {
    std::vector<MeshObject> placed;
    for (int32_t i = 0; i < objects.count; ++i) {
      placed.push_back(PlacedObject(objects, request, i, frame));
      if (!names.empty()) placed.back().name = names[static_cast<size_t>(i)];
      placed.back().id = params.objectIDs != nullptr ? params.objectIDs[i] : i;
    }
    MeshContent content = formats::BuildContent(placed, options, &plans);
    AddObjectInfos(params, objects.count, &content);
    AddPreviews(params, options, &content);
    writer.AddFrame(frame, std::move(content));
  }
  writer.Write(params.path);
}

Objects ObjectsOfData(const ProxyMeshData* const* meshes, int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    if (meshes[i] == nullptr) throw MeshFileFailure("an object of the mesh file is missing");
  }
  return {count, [=](int32_t object, int32_t frame) { return ObjectOfData(*meshes[object], frame); },
          [=](std::set<int32_t>* frames) {
            for (int32_t i = 0; i < count; ++i) AddFrames(*meshes[i], frames);
            return false;
          }};
}

// The scene is locked for one object at a time.
Objects ObjectsOfPlugins(const scene::Scene& scene, const KilnPluginId* plugins, int32_t count) {
  return {count,
          [&scene, plugins](int32_t object, int32_t frame) {
            const std::shared_lock lock(scene.mutex);
            return formats::ObjectOfPlugin(scene, plugins[object], frame);
          },
          [&scene, plugins, count](std::set<int32_t>*) {
            const std::shared_lock lock(scene.mutex);
            return std::any_of(plugins, plugins + count,
                               [&](KilnPluginId id) { return formats::IsAnimated(scene, id); });
          }};
}

}  // namespace

extern "C" {

// 0 when the file is written.
int32_t Kiln_ProxyCommon_createProxyFile(const ProxyMeshData* const* meshes, int32_t, int32_t count,
                                         const ProxyTransform* transforms,
                                         const AnimatedTransforms* const* animations,
                                         const ProxyCreateParams* params) {
  if (!meshes || !params) return 1;
  return Guarded<int32_t>(1, [&] {
    Create(ObjectsOfData(meshes, count), {transforms, animations, *params});
    return 0;
  });
}

// 0 when the file is written; why it is not goes to the renderer's log.
int32_t Kiln_KilnRenderer_createProxyFile(KilnRendererHandle renderer, int32_t, int32_t count,
                                          const KilnPluginId* plugins, const ProxyTransform* transforms,
                                          const AnimatedTransforms* const* animations,
                                          const ProxyCreateParams* params) {
  if (!plugins || !params) return 1;
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    try {
      Create(ObjectsOfPlugins(r.scene, plugins, count), {transforms, animations, *params});
      return 0;
    } catch (const MeshFileFailure& failure) {
      r.events.OnLog(0, failure.what());
      return 1;
    }
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
