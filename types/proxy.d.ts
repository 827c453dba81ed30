// Mesh files.
import { ColorList, FloatList, IntList, VectorList } from './lists';
import { Plugin } from './scene';
import { Transform } from './values';

/** Names a mesh file and says how it is read. The keys count in any case. */
export interface ProxyReadParams {
  file?: string;
  object_path?: string;
  compute_normals?: number;
  flip_axis?: number;
  subdiv_level?: number;
  subdiv_preserve_map_borders?: number;
  anim_type?: number;
  num_preview_faces?: number;
  /** In degrees. */
  smooth_angle?: number;
  anim_speed?: number;
  anim_offset?: number;
  fps?: number;
  hair_width_multiplier?: number;
  particle_width_multiplier?: number;
  use_full_names?: boolean;
  compute_bbox?: boolean;
  subdiv_all_meshes?: boolean;
  subdiv_uvs?: boolean;
  subdiv_preserve_geom_borders?: boolean;
  instancing?: boolean;
  use_alembic_offset?: boolean;
}

/** Which data of a mesh file are read. The keys count in any case; `all` stands for every one. */
export interface ProxyDataFlags {
  vertices?: boolean;
  normals?: boolean;
  mtlIDs?: boolean;
  velocities?: boolean;
  UVs?: boolean;
  shaders?: boolean;
  objectInfos?: boolean;
  hairObjectInfos?: boolean;
  particleObjectInfos?: boolean;
  hair?: boolean;
  particles?: boolean;
  geometryVoxelsBBoxes?: boolean;
  hairVoxelsBBoxes?: boolean;
  particleVoxelsBBoxes?: boolean;
  all?: boolean;
}

/**
 * A mesh file's content; what was not asked for, or is not in the file, has no key. A voxel's range in a list runs from
 * its start index to the next one's.
 */
export interface ProxyData {
  vertices?: VectorList;
  vertexIndices?: IntList;
  voxelVerticesStartIndices?: IntList;
  voxelVertexIndicesStartIndices?: IntList;
  normals?: VectorList;
  normalIndices?: IntList;
  voxelNormalsStartIndices?: IntList;
  voxelNormalIndicesStartIndices?: IntList;
  materialIDs?: IntList;
  /** One int for ten faces. */
  edgeVisibility?: IntList;
  voxelMaterialIDsStartIndices?: IntList;
  velocities?: VectorList;
  voxelVelocitiesStartIndices?: IntList;
  uvOriginalIndices?: IntList;
  uvSetNames?: string[];
  uvValues?: VectorList[];
  uvValueIndices?: IntList[];
  voxelUVValuesStartIndices?: IntList;
  voxelUVValueIndicesStartIndices?: IntList;
  shaderIDs?: IntList;
  shaderNames?: string[];
  objectInfoIDs?: IntList;
  objectInfoVBegins?: IntList;
  objectInfoVEnds?: IntList;
  objectInfoNames?: string[];
  hairObjectInfoIDs?: IntList;
  hairObjectInfoVBegins?: IntList;
  hairObjectInfoVEnds?: IntList;
  hairObjectInfoNames?: string[];
  particleObjectInfoIDs?: IntList;
  particleObjectInfoVBegins?: IntList;
  particleObjectInfoVEnds?: IntList;
  particleObjectInfoNames?: string[];
  hairVertices?: VectorList;
  hairVerticesPerStrand?: IntList;
  hairVerticesStartIndices?: IntList;
  hairVerticesPerStrandStartIndices?: IntList;
  hairWidths?: FloatList;
  hairWidthsStartIndices?: IntList;
  particleVertices?: VectorList;
  particleVerticesStartIndices?: IntList;
  particleWidths?: FloatList;
  particleWidthsStartIndices?: IntList;
  /** The lower and the upper corner of each voxel. */
  geometryVoxelsBBoxes?: VectorList;
  hairVoxelsBBoxes?: VectorList;
  particleVoxelsBBoxes?: VectorList;
  voxelInfoWireColor?: ColorList;
  voxelInfoSmoothed?: IntList;
  voxelInfoFlipNormals?: IntList;
}

/** One frame, or a frame number and a list for each frame; anything else is no data. */
export type MeshFrames<List> = List | readonly (readonly (number | List)[])[];

/**
 * An object of a mesh file as plain data, which the library reads where it lies. The keys count in any case. Vector lists
 * count numbers, three a vector.
 */
export interface MeshFileData {
  vertices?: MeshFrames<Float32Array>;
  faces?: MeshFrames<Int32Array | Uint32Array>;
  normals?: MeshFrames<Float32Array>;
  faceNormals?: MeshFrames<Int32Array | Uint32Array>;
  velocities?: MeshFrames<Float32Array>;
  faceMtlIDs?: MeshFrames<Int32Array | Uint32Array>;
  /** The channel's index, its vertices and its faces. */
  mapChannels?: readonly (readonly (number | Float32Array | Int32Array | Uint32Array)[])[];
  mapChNames?: readonly string[];
  /** The shader's ID and its name. */
  shaderNames?: readonly (readonly (number | string)[])[];
  edgeVisibility?: MeshFrames<Int32Array | Uint32Array>;
  hairVertices?: MeshFrames<Float32Array>;
  hairVerticesPerStrand?: MeshFrames<Int32Array | Uint32Array>;
  hairWidths?: MeshFrames<Float32Array>;
  particleVertices?: MeshFrames<Float32Array>;
  particleWidths?: MeshFrames<Float32Array>;
}

/** As many key frames as transforms; otherwise the object does not move. The keys count in any case. */
export interface AnimatedTransforms {
  transforms?: readonly Transform[];
  keyFrames?: readonly number[];
}

/** How a mesh file is written. The lists are used when they are long enough for all objects. */
export interface MeshFileSettings {
  voxelElements?: number;
  /** 10000 when not given. */
  numPreviewElements?: number;
  /** Any other text stands for the default. */
  previewType?: 'face_sampling' | 'clustering' | 'edge_collapse' | (string & {});
  isAnimated?: boolean;
  startFrame?: number;
  endFrame?: number;
  mergeVoxels?: boolean;
  customPreviewFile?: string;
  /** Three numbers an object. */
  voxelInfoWireColor?: Float32Array;
  /** One number an object, like the next one. */
  voxelInfoSmoothed?: Int32Array;
  voxelInfoFlipNormals?: Int32Array;
  exportPointCloud?: boolean;
  /** 2.2 when not given. */
  pointSize?: number;
  /** 1000 when not given. */
  previewHairs?: number;
  /** 20000 when not given. */
  previewParticles?: number;
}

export interface MeshFileOptions extends MeshFileSettings {
  objectName?: string;
  objectID?: number;
  transform?: Transform;
  animTransform?: AnimatedTransforms;
}

/** Arrays of another length than the objects are ignored. */
export interface CombinedMeshFileOptions extends MeshFileSettings {
  objectNames?: readonly string[];
  objectIDs?: readonly number[];
  transforms?: readonly Transform[];
  animTransforms?: readonly AnimatedTransforms[];
}

export type ProxyDataCallback = (error: Error | null, data?: ProxyData) => void;

/** Mesh files, named by a plugin of the class GeomMeshFile or by an object. */
export const Proxy: {
  /** Three indices a face. Like the other two it throws when the file can't be read. */
  readonly readPreviewGeometry: (
    source: Plugin | ProxyReadParams, countHint?: number
  ) => { vertices: VectorList; indices: IntList };
  /** The number of vertices of each strand. */
  readonly readPreviewHair: (
    source: Plugin | ProxyReadParams, countHint?: number
  ) => { vertices: VectorList; lengths: IntList };
  readonly readPreviewParticles: (source: Plugin | ProxyReadParams, countHint?: number) => { positions: VectorList };
  /** These two give an object without keys when the file can't be read. */
  readonly readPreviewData: (source: Plugin | ProxyReadParams, flags?: ProxyDataFlags) => ProxyData;
  readonly readFullDataSync: (source: Plugin | ProxyReadParams, flags?: ProxyDataFlags) => ProxyData;
  /** On another thread. One object may name the file and hold the flags; with two arguments everything is read. */
  readonly readFullData: (
    ...args: (Plugin | (ProxyReadParams & ProxyDataFlags) | ProxyDataFlags | ProxyDataCallback)[]
  ) => void;
  /**
   * Writes a file of one object: a plugin of the class GeomStaticMesh, GeomMayaHair or GeomParticleSystem, or data. false
   * when the library could not write it or data could not be read, undefined when an option could not be read.
   */
  readonly createMeshFile: (source: Plugin | MeshFileData, path: string, options?: MeshFileOptions) => boolean | undefined;
  /** A file of several objects. With a plugin among them only the plugins are written, by the first one's renderer. */
  readonly createCombinedMeshFile: (
    sources: readonly (Plugin | MeshFileData)[], path: string, options?: CombinedMeshFileOptions
  ) => boolean | undefined;
};
