// Where the records of the boundary hold pointers.
#include "records.h"

#include <cstddef>
#include <unordered_map>

#include "entry_points.h"

namespace recorder {
namespace {

constexpr Field Text(uint64_t offset) {
  return {offset, FieldKind::kText};
}

constexpr Field Array(uint64_t offset, uint64_t element, CountKind count, uint64_t count_offset = 0) {
  return {offset, FieldKind::kArray, count, count_offset, element};
}

// The three columns of a list of a mesh, as they stand one behind the other, and the number of its frames.
std::vector<Field> MeshList(uint64_t data, uint64_t frames, uint64_t element) {
  const uint64_t counts = data + 8;
  const uint64_t frame_numbers = data + 16;
  return {{data, FieldKind::kPointers, CountKind::kInt32, frames, element, counts},
          Array(counts, 4, CountKind::kInt32, frames),
          Array(frame_numbers, 4, CountKind::kInt32, frames)};
}

std::vector<Field> MeshFields() {
  using M = ProxyMeshData;
  constexpr uint64_t kVector = 12;
  constexpr uint64_t kWord = 4;
  std::vector<Field> fields;
  const auto add = [&fields](const std::vector<Field>& more) {
    fields.insert(fields.end(), more.begin(), more.end());
  };
  add(MeshList(offsetof(M, vertices), offsetof(M, verticesFrames), kVector));
  add(MeshList(offsetof(M, faces), offsetof(M, facesFrames), kWord));
  add(MeshList(offsetof(M, normals), offsetof(M, normalsFrames), kVector));
  add(MeshList(offsetof(M, faceNormals), offsetof(M, faceNormalsFrames), kWord));
  add(MeshList(offsetof(M, velocities), offsetof(M, velocitiesFrames), kVector));
  add(MeshList(offsetof(M, faceMtlIDs), offsetof(M, faceMtlIDsFrames), kWord));
  add(MeshList(offsetof(M, edgeVisibility), offsetof(M, edgeVisibilityFrames), kWord));
  add(MeshList(offsetof(M, hairVertices), offsetof(M, hairVerticesFrames), kVector));
  add(MeshList(offsetof(M, hairVerticesPerStrand), offsetof(M, hairVerticesPerStrandFrames), kWord));
  add(MeshList(offsetof(M, hairWidths), offsetof(M, hairWidthsFrames), kWord));
  add(MeshList(offsetof(M, particleVertices), offsetof(M, particleVerticesFrames), kVector));
  add(MeshList(offsetof(M, particleWidths), offsetof(M, particleWidthsFrames), kWord));

  constexpr uint64_t kChannels = offsetof(M, mapChannelsCount);
  constexpr uint64_t kNames = offsetof(M, mapChNamesCount);
  constexpr uint64_t kShaders = offsetof(M, shadersCount);
  add({Array(offsetof(M, mapChannelIndices), 4, CountKind::kInt32, kChannels),
       {offsetof(M, mapChannelVertices), FieldKind::kPointers, CountKind::kInt32, kChannels, kVector,
        offsetof(M, mapChannelVertexCounts)},
       {offsetof(M, mapChannelFaces), FieldKind::kPointers, CountKind::kInt32, kChannels, kWord,
        offsetof(M, mapChannelFaceCounts)},
       Array(offsetof(M, mapChannelVertexCounts), 4, CountKind::kInt32, kChannels),
       Array(offsetof(M, mapChannelFaceCounts), 4, CountKind::kInt32, kChannels),
       {offsetof(M, mapChNames), FieldKind::kNamed, CountKind::kInt32, kNames},
       Array(offsetof(M, mapChNameLengths), 4, CountKind::kInt32, kNames),
       {offsetof(M, shaderNames), FieldKind::kNamed, CountKind::kInt32, kShaders},
       Array(offsetof(M, shaderNameLengths), 4, CountKind::kInt32, kShaders),
       Array(offsetof(M, shaderIDs), 4, CountKind::kInt32, kShaders)});
  return fields;
}

std::vector<Record> MakeRecords() {
  using Export = KilnExportSettings;
  using Create = ProxyCreateParams;
  return {
      {"KilnRendererOptions",
       sizeof(KilnRendererOptions),
       {Text(offsetof(KilnRendererOptions, pluginLibraryPath)),
        Text(offsetof(KilnRendererOptions, kvwLanguage))}},
      {"KilnServerOptions",
       sizeof(KilnServerOptions),
       {Text(offsetof(KilnServerOptions, remoteScenePath)),
        Text(offsetof(KilnServerOptions, pluginLibraryPath)), Text(offsetof(KilnServerOptions, includePaths)),
        Text(offsetof(KilnServerOptions, dr2HttpProxy))}},
      {"KilnDRClientOptions",
       sizeof(KilnDRClientOptions),
       {Text(offsetof(KilnDRClientOptions, dispatcher)), Text(offsetof(KilnDRClientOptions, httpProxy))}},
      {"KilnResumableOptions",
       sizeof(KilnResumableOptions),
       {Text(offsetof(KilnResumableOptions, outputFile))}},
      {"KilnProfilerOptions",
       sizeof(KilnProfilerOptions),
       {Text(offsetof(KilnProfilerOptions, outputDirectory)),
        Text(offsetof(KilnProfilerOptions, outputFilename)),
        Text(offsetof(KilnProfilerOptions, outputSuffix))}},
      {"KilnContextMenuItem", sizeof(KilnContextMenuItem), {Text(offsetof(KilnContextMenuItem, text))}},
      {"KilnSceneBuffer",
       sizeof(KilnSceneBuffer),
       {Array(offsetof(KilnSceneBuffer, data), 1, CountKind::kUint64, offsetof(KilnSceneBuffer, size))}},
      {"KilnSubFileInfo",
       sizeof(KilnSubFileInfo),
       {Text(offsetof(KilnSubFileInfo, type)), Text(offsetof(KilnSubFileInfo, suffix))}},
      {"KilnExportSettings",
       sizeof(Export),
       {{offsetof(Export, subFileInfos), FieldKind::kRecords, CountKind::kInt32,
         offsetof(Export, subFileInfosCount), 0, 0, "KilnSubFileInfo"},
        Text(offsetof(Export, hostAppString)),
        Array(offsetof(Export, pluginExportList), 8, CountKind::kInt32,
              offsetof(Export, pluginExportListCount)),
        {offsetof(Export, additionalIncludeFiles), FieldKind::kTextRun}}},
      {"ProxyReadParams",
       sizeof(ProxyReadParams),
       {Text(offsetof(ProxyReadParams, file)), Text(offsetof(ProxyReadParams, object_path))}},
      {"ProxyCreateParams",
       sizeof(Create),
       {Text(offsetof(Create, path)),
        {offsetof(Create, objectNames), FieldKind::kTextRun, CountKind::kOfCall},
        Array(offsetof(Create, objectIDs), 4, CountKind::kOfCall),
        Text(offsetof(Create, customPreviewFile)),
        Array(offsetof(Create, voxelInfoWireColor), 12, CountKind::kOfCall),
        Array(offsetof(Create, voxelInfoSmoothed), 4, CountKind::kOfCall),
        Array(offsetof(Create, voxelInfoFlipNormals), 4, CountKind::kOfCall)}},
      {"AnimatedTransforms",
       sizeof(AnimatedTransforms),
       {Array(offsetof(AnimatedTransforms, transforms), sizeof(ProxyTransform), CountKind::kInt32,
              offsetof(AnimatedTransforms, count)),
        Array(offsetof(AnimatedTransforms, key_frames), 4, CountKind::kInt32,
              offsetof(AnimatedTransforms, count))}},
      {"ProxyMeshData", sizeof(ProxyMeshData), MeshFields()},
      {"ProxyTransform", sizeof(ProxyTransform), {}},
      {"ProxyDataRecord", sizeof(ProxyDataRecord), {}},
      {"CallbackDescriptor", sizeof(CallbackDescriptor), {}},
      {"KilnDenoiseRequest", sizeof(KilnDenoiseRequest), {}},
      {"KilnImageColor", sizeof(KilnImageColor), {}},
      {"KilnImageOptions", sizeof(KilnImageOptions), {}},
      {"KilnSubSequence", sizeof(KilnSubSequence), {}},
      {"KilnCropRegion", sizeof(KilnCropRegion), {}},
      {"KilnRenderRegion", sizeof(KilnRenderRegion), {}},
      {"KilnBox", sizeof(KilnBox), {}},
      {"KilnAutoExposure", sizeof(KilnAutoExposure), {}},
      {"KvwRect", sizeof(KvwRect), {}},
      {"KvwSaveOptions", sizeof(KvwSaveOptions), {}},
      {"RenderElementInfo", sizeof(RenderElementInfo), {}},
      {"RenderElementRegion", sizeof(RenderElementRegion), {}},
      {"ScannedMaterialParams", sizeof(ScannedMaterialParams), {}},
      {"KiScansPreset", sizeof(KiScansPreset), {}},
  };
}

}  // namespace

const Record* FindRecord(const std::string& name) {
  static const auto* const records = [] {
    auto* map = new std::unordered_map<std::string, Record>;
    for (Record& record : MakeRecords()) map->emplace(record.name, record);
    return map;
  }();
  const auto found = records->find(name);
  return found == records->end() ? nullptr : &found->second;
}

}  // namespace recorder
