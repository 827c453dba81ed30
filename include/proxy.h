/* Records of mesh files: how one is named, what is read from it, and what is written to it. */
#ifndef KILN_INCLUDE_PROXY_H_
#define KILN_INCLUDE_PROXY_H_

#include "abi.h"

/* Names a mesh file and says how it is read; texts are the caller's and valid during the call. */
typedef struct ProxyReadParams {
  uint64_t version; /* 2 */
  const char* file;
  const char* object_path;
  int32_t compute_normals;
  int32_t flip_axis;
  int32_t subdiv_level;
  int32_t subdiv_preserve_map_borders;
  int32_t anim_type;
  int32_t num_preview_faces;
  float smooth_angle;
  float anim_speed;
  float anim_offset;
  float fps;
  uint8_t reserved[8];
  float hair_width_multiplier;
  float particle_width_multiplier;
  uint32_t use_full_names;
  uint32_t compute_bbox;
  uint32_t subdiv_all_meshes;
  uint32_t subdiv_uvs;
  uint32_t subdiv_preserve_geom_borders;
  uint32_t instancing;
  uint32_t use_alembic_offset;
  uint32_t reserved1;
} ProxyReadParams;
KILN_SIZE(ProxyReadParams, 112);
KILN_AT(ProxyReadParams, version, 0);
KILN_AT(ProxyReadParams, file, 8);
KILN_AT(ProxyReadParams, object_path, 16);
KILN_AT(ProxyReadParams, compute_normals, 24);
KILN_AT(ProxyReadParams, flip_axis, 28);
KILN_AT(ProxyReadParams, subdiv_level, 32);
KILN_AT(ProxyReadParams, subdiv_preserve_map_borders, 36);
KILN_AT(ProxyReadParams, anim_type, 40);
KILN_AT(ProxyReadParams, num_preview_faces, 44);
KILN_AT(ProxyReadParams, smooth_angle, 48);
KILN_AT(ProxyReadParams, anim_speed, 52);
KILN_AT(ProxyReadParams, anim_offset, 56);
KILN_AT(ProxyReadParams, fps, 60);
KILN_AT(ProxyReadParams, hair_width_multiplier, 72);
KILN_AT(ProxyReadParams, particle_width_multiplier, 76);
KILN_AT(ProxyReadParams, use_full_names, 80);
KILN_AT(ProxyReadParams, compute_bbox, 84);
KILN_AT(ProxyReadParams, subdiv_all_meshes, 88);
KILN_AT(ProxyReadParams, subdiv_uvs, 92);
KILN_AT(ProxyReadParams, subdiv_preserve_geom_borders, 96);
KILN_AT(ProxyReadParams, instancing, 100);
KILN_AT(ProxyReadParams, use_alembic_offset, 104);

/* What is to be read: 24 flag bits in three bytes. */
enum ProxyDataFlags {
  KILN_PROXY_VERTICES = 1 << 4,
  KILN_PROXY_NORMALS = 1 << 5,
  KILN_PROXY_MATERIAL_IDS = 1 << 6,
  KILN_PROXY_VELOCITIES = 1 << 7,
  KILN_PROXY_UVS = 1 << 8,
  KILN_PROXY_SHADERS = 1 << 9,
  KILN_PROXY_OBJECT_INFOS = 1 << 10,
  KILN_PROXY_HAIR_OBJECT_INFOS = 1 << 11,
  KILN_PROXY_PARTICLE_OBJECT_INFOS = 1 << 12,
  KILN_PROXY_HAIR = 1 << 13,
  KILN_PROXY_PARTICLES = 1 << 14,
  KILN_PROXY_GEOMETRY_VOXELS_BOXES = 1 << 15,
  KILN_PROXY_HAIR_VOXELS_BOXES = 1 << 16,
  KILN_PROXY_PARTICLE_VOXELS_BOXES = 1 << 17,
  KILN_PROXY_ALL = 0x3FFF0
};
enum { KILN_PROXY_MAX_UV_SETS = 100 };

/* A mesh file's content, in two steps: the SDK writes the counts, the host provides the arrays, the SDK fills
 * them. */
typedef struct ProxyDataRecord {
  int32_t version; /* 4 */
  uint32_t reserved0;
  uint8_t flags[3]; /* ProxyDataFlags, little-endian */
  uint8_t reserved1[5];
  float* vertices;
  uint64_t vertices_floats;
  int32_t* vertex_indices;
  uint64_t vertex_indices_count;
  float* normals;
  uint64_t normals_floats;
  int32_t* normal_indices;
  uint64_t normal_indices_count;
  int32_t* material_ids;
  uint64_t material_ids_count;
  float* velocities;
  uint64_t velocities_floats;
  char* uv_set_names;
  float* uv_values;
  int32_t* uv_value_indices;
  uint64_t uv_sets_count;
  uint64_t uv_set_names_size;
  int32_t uv_original_indices[KILN_PROXY_MAX_UV_SETS];
  uint64_t uv_set_floats[KILN_PROXY_MAX_UV_SETS];
  uint64_t uv_set_indices[KILN_PROXY_MAX_UV_SETS];
  char* shader_names;
  int32_t* shader_ids;
  uint64_t shaders_count;
  uint64_t shader_names_size;
  char* object_info_names;
  int32_t* object_info_ids;
  int32_t* object_info_v_begins;
  int32_t* object_info_v_ends;
  uint64_t object_info_count;
  uint64_t object_info_names_size;
  char* hair_object_info_names;
  int32_t* hair_object_info_ids;
  int32_t* hair_object_info_v_begins;
  int32_t* hair_object_info_v_ends;
  uint64_t hair_object_info_count;
  uint64_t hair_object_info_names_size;
  char* particle_object_info_names;
  int32_t* particle_object_info_ids;
  int32_t* particle_object_info_v_begins;
  int32_t* particle_object_info_v_ends;
  uint64_t particle_object_info_count;
  uint64_t particle_object_info_names_size;
  float* hair_vertices;
  uint64_t hair_vertices_floats;
  int32_t* vertices_per_strand;
  uint64_t vertices_per_strand_count;
  float* particle_vertices;
  uint64_t particle_vertices_floats;
  int32_t* voxel_first_vertex;
  int32_t* voxel_first_vertex_index;
  int32_t* voxel_first_normal;
  int32_t* voxel_first_normal_index;
  int32_t* voxel_first_material_id;
  int32_t* voxel_first_velocity;
  int32_t* voxel_first_uv_value;
  int32_t* voxel_first_uv_value_index;
  float* geometry_voxel_boxes;
  float* hair_voxel_boxes;
  float* particle_voxel_boxes;
  int32_t* hair_voxel_first_vertex;
  int32_t* hair_voxel_first_strand;
  int32_t* particle_voxel_first_vertex;
  uint64_t geometry_voxels_count;
  uint64_t hair_voxels_count;
  uint64_t particle_voxels_count;
  uint64_t uv_floats_total;  /* computed by the host */
  uint64_t uv_indices_total; /* computed by the host */
  int32_t* edge_visibility;
  float* voxel_info_wire_color;
  int32_t* voxel_info_smoothed;
  int32_t* voxel_info_flip_normals;
  uint64_t voxel_infos_count;
  float* hair_widths;
  uint64_t hair_widths_count;
  int32_t* hair_voxel_first_width;
  float* particle_widths;
  uint64_t particle_widths_count;
  int32_t* particle_voxel_first_width;
} ProxyDataRecord;
KILN_SIZE(ProxyDataRecord, 2616);
KILN_AT(ProxyDataRecord, version, 0);
KILN_AT(ProxyDataRecord, flags, 8);
KILN_AT(ProxyDataRecord, vertices, 16);
KILN_AT(ProxyDataRecord, vertices_floats, 24);
KILN_AT(ProxyDataRecord, vertex_indices, 32);
KILN_AT(ProxyDataRecord, vertex_indices_count, 40);
KILN_AT(ProxyDataRecord, normals, 48);
KILN_AT(ProxyDataRecord, normals_floats, 56);
KILN_AT(ProxyDataRecord, normal_indices, 64);
KILN_AT(ProxyDataRecord, normal_indices_count, 72);
KILN_AT(ProxyDataRecord, material_ids, 80);
KILN_AT(ProxyDataRecord, material_ids_count, 88);
KILN_AT(ProxyDataRecord, velocities, 96);
KILN_AT(ProxyDataRecord, velocities_floats, 104);
KILN_AT(ProxyDataRecord, uv_set_names, 112);
KILN_AT(ProxyDataRecord, uv_values, 120);
KILN_AT(ProxyDataRecord, uv_value_indices, 128);
KILN_AT(ProxyDataRecord, uv_sets_count, 136);
KILN_AT(ProxyDataRecord, uv_set_names_size, 144);
KILN_AT(ProxyDataRecord, uv_original_indices, 152);
KILN_AT(ProxyDataRecord, uv_set_floats, 552);
KILN_AT(ProxyDataRecord, uv_set_indices, 1352);
KILN_AT(ProxyDataRecord, shader_names, 2152);
KILN_AT(ProxyDataRecord, shader_ids, 2160);
KILN_AT(ProxyDataRecord, shaders_count, 2168);
KILN_AT(ProxyDataRecord, shader_names_size, 2176);
KILN_AT(ProxyDataRecord, object_info_names, 2184);
KILN_AT(ProxyDataRecord, object_info_ids, 2192);
KILN_AT(ProxyDataRecord, object_info_v_begins, 2200);
KILN_AT(ProxyDataRecord, object_info_v_ends, 2208);
KILN_AT(ProxyDataRecord, object_info_count, 2216);
KILN_AT(ProxyDataRecord, object_info_names_size, 2224);
KILN_AT(ProxyDataRecord, hair_object_info_names, 2232);
KILN_AT(ProxyDataRecord, hair_object_info_ids, 2240);
KILN_AT(ProxyDataRecord, hair_object_info_v_begins, 2248);
KILN_AT(ProxyDataRecord, hair_object_info_v_ends, 2256);
KILN_AT(ProxyDataRecord, hair_object_info_count, 2264);
KILN_AT(ProxyDataRecord, hair_object_info_names_size, 2272);
KILN_AT(ProxyDataRecord, particle_object_info_names, 2280);
KILN_AT(ProxyDataRecord, particle_object_info_ids, 2288);
KILN_AT(ProxyDataRecord, particle_object_info_v_begins, 2296);
KILN_AT(ProxyDataRecord, particle_object_info_v_ends, 2304);
KILN_AT(ProxyDataRecord, particle_object_info_count, 2312);
KILN_AT(ProxyDataRecord, particle_object_info_names_size, 2320);
KILN_AT(ProxyDataRecord, hair_vertices, 2328);
KILN_AT(ProxyDataRecord, hair_vertices_floats, 2336);
KILN_AT(ProxyDataRecord, vertices_per_strand, 2344);
KILN_AT(ProxyDataRecord, vertices_per_strand_count, 2352);
KILN_AT(ProxyDataRecord, particle_vertices, 2360);
KILN_AT(ProxyDataRecord, particle_vertices_floats, 2368);
KILN_AT(ProxyDataRecord, voxel_first_vertex, 2376);
KILN_AT(ProxyDataRecord, voxel_first_vertex_index, 2384);
KILN_AT(ProxyDataRecord, voxel_first_normal, 2392);
KILN_AT(ProxyDataRecord, voxel_first_normal_index, 2400);
KILN_AT(ProxyDataRecord, voxel_first_material_id, 2408);
KILN_AT(ProxyDataRecord, voxel_first_velocity, 2416);
KILN_AT(ProxyDataRecord, voxel_first_uv_value, 2424);
KILN_AT(ProxyDataRecord, voxel_first_uv_value_index, 2432);
KILN_AT(ProxyDataRecord, geometry_voxel_boxes, 2440);
KILN_AT(ProxyDataRecord, hair_voxel_boxes, 2448);
KILN_AT(ProxyDataRecord, particle_voxel_boxes, 2456);
KILN_AT(ProxyDataRecord, hair_voxel_first_vertex, 2464);
KILN_AT(ProxyDataRecord, hair_voxel_first_strand, 2472);
KILN_AT(ProxyDataRecord, particle_voxel_first_vertex, 2480);
KILN_AT(ProxyDataRecord, geometry_voxels_count, 2488);
KILN_AT(ProxyDataRecord, hair_voxels_count, 2496);
KILN_AT(ProxyDataRecord, particle_voxels_count, 2504);
KILN_AT(ProxyDataRecord, uv_floats_total, 2512);
KILN_AT(ProxyDataRecord, uv_indices_total, 2520);
KILN_AT(ProxyDataRecord, edge_visibility, 2528);
KILN_AT(ProxyDataRecord, voxel_info_wire_color, 2536);
KILN_AT(ProxyDataRecord, voxel_info_smoothed, 2544);
KILN_AT(ProxyDataRecord, voxel_info_flip_normals, 2552);
KILN_AT(ProxyDataRecord, voxel_infos_count, 2560);
KILN_AT(ProxyDataRecord, hair_widths, 2568);
KILN_AT(ProxyDataRecord, hair_widths_count, 2576);
KILN_AT(ProxyDataRecord, hair_voxel_first_width, 2584);
KILN_AT(ProxyDataRecord, particle_widths, 2592);
KILN_AT(ProxyDataRecord, particle_widths_count, 2600);
KILN_AT(ProxyDataRecord, particle_voxel_first_width, 2608);

/* How a mesh file is written. */
typedef struct ProxyCreateParams {
  int32_t version; /* 6 */
  uint32_t reserved0;
  const char* path; /* UTF-8 */
  int32_t voxelElements;
  int32_t numPreviewElements;
  int32_t previewType; /* 0 face_sampling, 1 clustering, 2 edge_collapse, 3 any other */
  uint32_t isAnimated;
  int32_t startFrame;
  int32_t endFrame;
  uint32_t mergeVoxels;
  uint32_t reserved1;
  const char* objectNames; /* texts one behind the other */
  const int32_t* objectIDs;
  const char* customPreviewFile;
  const float* voxelInfoWireColor;
  const int32_t* voxelInfoSmoothed;
  const int32_t* voxelInfoFlipNormals;
  uint8_t exportPointCloud;
  uint8_t reserved2[3];
  float pointSize;
  int32_t previewHairs;
  int32_t previewParticles;
} ProxyCreateParams;
KILN_SIZE(ProxyCreateParams, 112);
KILN_AT(ProxyCreateParams, version, 0);
KILN_AT(ProxyCreateParams, path, 8);
KILN_AT(ProxyCreateParams, voxelElements, 16);
KILN_AT(ProxyCreateParams, numPreviewElements, 20);
KILN_AT(ProxyCreateParams, previewType, 24);
KILN_AT(ProxyCreateParams, isAnimated, 28);
KILN_AT(ProxyCreateParams, startFrame, 32);
KILN_AT(ProxyCreateParams, endFrame, 36);
KILN_AT(ProxyCreateParams, mergeVoxels, 40);
KILN_AT(ProxyCreateParams, objectNames, 48);
KILN_AT(ProxyCreateParams, objectIDs, 56);
KILN_AT(ProxyCreateParams, customPreviewFile, 64);
KILN_AT(ProxyCreateParams, voxelInfoWireColor, 72);
KILN_AT(ProxyCreateParams, voxelInfoSmoothed, 80);
KILN_AT(ProxyCreateParams, voxelInfoFlipNormals, 88);
KILN_AT(ProxyCreateParams, exportPointCloud, 96);
KILN_AT(ProxyCreateParams, pointSize, 100);
KILN_AT(ProxyCreateParams, previewHairs, 104);
KILN_AT(ProxyCreateParams, previewParticles, 108);

/* One object of a mesh file, as pointers into the host's arrays, which stay as they are during the call.
 * A list has a column each of data, element counts and frame numbers, one entry a frame. */
typedef struct ProxyMeshData {
  int32_t version; /* 2 */
  uint32_t reserved0;
  const float* const* vertices;
  const int32_t* verticesCounts;
  const int32_t* verticesFrameNumbers;
  const int32_t* const* faces;
  const int32_t* facesCounts;
  const int32_t* facesFrameNumbers;
  const float* const* normals;
  const int32_t* normalsCounts;
  const int32_t* normalsFrameNumbers;
  const int32_t* const* faceNormals;
  const int32_t* faceNormalsCounts;
  const int32_t* faceNormalsFrameNumbers;
  const float* const* velocities;
  const int32_t* velocitiesCounts;
  const int32_t* velocitiesFrameNumbers;
  const int32_t* const* faceMtlIDs;
  const int32_t* faceMtlIDsCounts;
  const int32_t* faceMtlIDsFrameNumbers;
  const int32_t* mapChannelIndices;
  const float* const* mapChannelVertices;
  const int32_t* const* mapChannelFaces;
  const int32_t* mapChannelVertexCounts;
  const int32_t* mapChannelFaceCounts;
  const char* const* mapChNames;
  const int32_t* mapChNameLengths;
  const char* const* shaderNames;
  const int32_t* shaderNameLengths;
  const int32_t* shaderIDs;
  int32_t verticesFrames;
  int32_t facesFrames;
  int32_t normalsFrames;
  int32_t faceNormalsFrames;
  int32_t velocitiesFrames;
  int32_t faceMtlIDsFrames;
  int32_t mapChannelsCount;
  int32_t mapChNamesCount;
  int32_t shadersCount;
  uint32_t reserved1;
  const int32_t* const* edgeVisibility;
  const int32_t* edgeVisibilityCounts;
  const int32_t* edgeVisibilityFrameNumbers;
  int32_t edgeVisibilityFrames;
  uint32_t reserved2;
  const float* const* hairVertices;
  const int32_t* hairVerticesCounts;
  const int32_t* hairVerticesFrameNumbers;
  int32_t hairVerticesFrames;
  uint32_t reserved3;
  const int32_t* const* hairVerticesPerStrand;
  const int32_t* hairVerticesPerStrandCounts;
  const int32_t* hairVerticesPerStrandFrameNumbers;
  int32_t hairVerticesPerStrandFrames;
  uint32_t reserved4;
  const float* const* hairWidths;
  const int32_t* hairWidthsCounts;
  const int32_t* hairWidthsFrameNumbers;
  int32_t hairWidthsFrames;
  uint32_t reserved5;
  const float* const* particleVertices;
  const int32_t* particleVerticesCounts;
  const int32_t* particleVerticesFrameNumbers;
  int32_t particleVerticesFrames;
  uint32_t reserved6;
  const float* const* particleWidths;
  const int32_t* particleWidthsCounts;
  const int32_t* particleWidthsFrameNumbers;
  int32_t particleWidthsFrames;
  uint32_t reserved7;
} ProxyMeshData;
KILN_SIZE(ProxyMeshData, 464);
KILN_AT(ProxyMeshData, version, 0);
KILN_AT(ProxyMeshData, vertices, 8);
KILN_AT(ProxyMeshData, verticesCounts, 16);
KILN_AT(ProxyMeshData, verticesFrameNumbers, 24);
KILN_AT(ProxyMeshData, faces, 32);
KILN_AT(ProxyMeshData, facesCounts, 40);
KILN_AT(ProxyMeshData, facesFrameNumbers, 48);
KILN_AT(ProxyMeshData, normals, 56);
KILN_AT(ProxyMeshData, normalsCounts, 64);
KILN_AT(ProxyMeshData, normalsFrameNumbers, 72);
KILN_AT(ProxyMeshData, faceNormals, 80);
KILN_AT(ProxyMeshData, faceNormalsCounts, 88);
KILN_AT(ProxyMeshData, faceNormalsFrameNumbers, 96);
KILN_AT(ProxyMeshData, velocities, 104);
KILN_AT(ProxyMeshData, velocitiesCounts, 112);
KILN_AT(ProxyMeshData, velocitiesFrameNumbers, 120);
KILN_AT(ProxyMeshData, faceMtlIDs, 128);
KILN_AT(ProxyMeshData, faceMtlIDsCounts, 136);
KILN_AT(ProxyMeshData, faceMtlIDsFrameNumbers, 144);
KILN_AT(ProxyMeshData, mapChannelIndices, 152);
KILN_AT(ProxyMeshData, mapChannelVertices, 160);
KILN_AT(ProxyMeshData, mapChannelFaces, 168);
KILN_AT(ProxyMeshData, mapChannelVertexCounts, 176);
KILN_AT(ProxyMeshData, mapChannelFaceCounts, 184);
KILN_AT(ProxyMeshData, mapChNames, 192);
KILN_AT(ProxyMeshData, mapChNameLengths, 200);
KILN_AT(ProxyMeshData, shaderNames, 208);
KILN_AT(ProxyMeshData, shaderNameLengths, 216);
KILN_AT(ProxyMeshData, shaderIDs, 224);
KILN_AT(ProxyMeshData, verticesFrames, 232);
KILN_AT(ProxyMeshData, facesFrames, 236);
KILN_AT(ProxyMeshData, normalsFrames, 240);
KILN_AT(ProxyMeshData, faceNormalsFrames, 244);
KILN_AT(ProxyMeshData, velocitiesFrames, 248);
KILN_AT(ProxyMeshData, faceMtlIDsFrames, 252);
KILN_AT(ProxyMeshData, mapChannelsCount, 256);
KILN_AT(ProxyMeshData, mapChNamesCount, 260);
KILN_AT(ProxyMeshData, shadersCount, 264);
KILN_AT(ProxyMeshData, edgeVisibility, 272);
KILN_AT(ProxyMeshData, edgeVisibilityCounts, 280);
KILN_AT(ProxyMeshData, edgeVisibilityFrameNumbers, 288);
KILN_AT(ProxyMeshData, edgeVisibilityFrames, 296);
KILN_AT(ProxyMeshData, hairVertices, 304);
KILN_AT(ProxyMeshData, hairVerticesCounts, 312);
KILN_AT(ProxyMeshData, hairVerticesFrameNumbers, 320);
KILN_AT(ProxyMeshData, hairVerticesFrames, 328);
KILN_AT(ProxyMeshData, hairVerticesPerStrand, 336);
KILN_AT(ProxyMeshData, hairVerticesPerStrandCounts, 344);
KILN_AT(ProxyMeshData, hairVerticesPerStrandFrameNumbers, 352);
KILN_AT(ProxyMeshData, hairVerticesPerStrandFrames, 360);
KILN_AT(ProxyMeshData, hairWidths, 368);
KILN_AT(ProxyMeshData, hairWidthsCounts, 376);
KILN_AT(ProxyMeshData, hairWidthsFrameNumbers, 384);
KILN_AT(ProxyMeshData, hairWidthsFrames, 392);
KILN_AT(ProxyMeshData, particleVertices, 400);
KILN_AT(ProxyMeshData, particleVerticesCounts, 408);
KILN_AT(ProxyMeshData, particleVerticesFrameNumbers, 416);
KILN_AT(ProxyMeshData, particleVerticesFrames, 424);
KILN_AT(ProxyMeshData, particleWidths, 432);
KILN_AT(ProxyMeshData, particleWidthsCounts, 440);
KILN_AT(ProxyMeshData, particleWidthsFrameNumbers, 448);
KILN_AT(ProxyMeshData, particleWidthsFrames, 456);

/* A transform, narrowed: nine floats of the matrix by columns, three of the offset. */
typedef struct ProxyTransform {
  float m[9];
  float offset[3];
} ProxyTransform;
KILN_SIZE(ProxyTransform, 48);
KILN_AT(ProxyTransform, m, 0);
KILN_AT(ProxyTransform, offset, 36);

typedef struct AnimatedTransforms {
  const ProxyTransform* transforms;
  const int32_t* key_frames;
  int32_t count;
  uint32_t reserved;
} AnimatedTransforms;
KILN_SIZE(AnimatedTransforms, 24);
KILN_AT(AnimatedTransforms, transforms, 0);
KILN_AT(AnimatedTransforms, key_frames, 8);
KILN_AT(AnimatedTransforms, count, 16);

#endif
