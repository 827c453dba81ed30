#include "proxy/read_params.h"

#include "binding/key_walk.h"
#include "binding/option_reader.h"
#include "binding/text.h"

namespace KilnNodeWrapper {
namespace {

using Params = ProxyReadParams;

struct ParamKey {
  const char* name;
  int32_t Params::*integer = nullptr;
  float Params::*number = nullptr;
  uint32_t Params::*flag = nullptr;

  constexpr ParamKey(const char* name, int32_t Params::*field) : name(name), integer(field) {}
  constexpr ParamKey(const char* name, float Params::*field) : name(name), number(field) {}
  constexpr ParamKey(const char* name, uint32_t Params::*field) : name(name), flag(field) {}
};
constexpr ParamKey kParamKeys[] = {
    {"compute_normals", &Params::compute_normals},
    {"flip_axis", &Params::flip_axis},
    {"subdiv_level", &Params::subdiv_level},
    {"subdiv_preserve_map_borders", &Params::subdiv_preserve_map_borders},
    {"anim_type", &Params::anim_type},
    {"num_preview_faces", &Params::num_preview_faces},
    {"smooth_angle", &Params::smooth_angle},
    {"anim_speed", &Params::anim_speed},
    {"anim_offset", &Params::anim_offset},
    {"fps", &Params::fps},
    {"hair_width_multiplier", &Params::hair_width_multiplier},
    {"particle_width_multiplier", &Params::particle_width_multiplier},
    {"use_full_names", &Params::use_full_names},
    {"compute_bbox", &Params::compute_bbox},
    {"subdiv_all_meshes", &Params::subdiv_all_meshes},
    {"subdiv_uvs", &Params::subdiv_uvs},
    {"subdiv_preserve_geom_borders", &Params::subdiv_preserve_geom_borders},
    {"instancing", &Params::instancing},
    {"use_alembic_offset", &Params::use_alembic_offset},
};

constexpr KeyBit kFlagKeys[] = {
    {"vertices", KILN_PROXY_VERTICES},
    {"normals", KILN_PROXY_NORMALS},
    {"mtlIDs", KILN_PROXY_MATERIAL_IDS},
    {"velocities", KILN_PROXY_VELOCITIES},
    {"UVs", KILN_PROXY_UVS},
    {"shaders", KILN_PROXY_SHADERS},
    {"objectInfos", KILN_PROXY_OBJECT_INFOS},
    {"hairObjectInfos", KILN_PROXY_HAIR_OBJECT_INFOS},
    {"particleObjectInfos", KILN_PROXY_PARTICLE_OBJECT_INFOS},
    {"hair", KILN_PROXY_HAIR},
    {"particles", KILN_PROXY_PARTICLES},
    {"geometryVoxelsBBoxes", KILN_PROXY_GEOMETRY_VOXELS_BOXES},
    {"hairVoxelsBBoxes", KILN_PROXY_HAIR_VOXELS_BOXES},
    {"particleVoxelsBBoxes", KILN_PROXY_PARTICLE_VOXELS_BOXES},
};

void ReadParam(v8::Local<v8::Context> context, const ParamKey& key, v8::Local<v8::Value> value,
               Params* params) {
  int32_t integer = 0;
  double number = 0;
  if (key.flag) {
    params->*key.flag = value->BooleanValue(v8::Isolate::GetCurrent()) ? 1 : 0;
  } else if (key.integer && value->Int32Value(context).To(&integer)) {
    params->*key.integer = integer;
  } else if (key.number && value->NumberValue(context).To(&number)) {
    params->*key.number = static_cast<float>(number);
  }
}

}  // namespace

ProxyReadParams MeshReadParams::Defaults() {
  ProxyReadParams record{};
  record.version = 2;
  record.compute_normals = 1;
  record.subdiv_level = 1;
  record.subdiv_preserve_map_borders = 1;
  record.num_preview_faces = 10000;
  record.smooth_angle = 30;
  record.anim_speed = 1;
  record.fps = 24;
  record.hair_width_multiplier = 1;
  record.particle_width_multiplier = 1;
  record.subdiv_uvs = 1;
  record.instancing = 1;
  return record;
}

void MeshReadParams::Fill(v8::Local<v8::Context> context, v8::Local<v8::Object> object) {
  const auto read_text = [&](v8::Local<v8::Value> value, OwnText* text) {
    if (!ReadString(context, value, &text->text)) return false;
    return text->given = true;
  };
  WalkKeys(context, object, Unreadable::kEndsTheWalk, [&](std::string_view name, v8::Local<v8::Value> value) {
    if (EqualsIgnoringCase(name, "file")) return read_text(value, &file_);
    if (EqualsIgnoringCase(name, "object_path")) return read_text(value, &object_path_);
    for (const ParamKey& key : kParamKeys) {
      if (EqualsIgnoringCase(name, key.name)) ReadParam(context, key, value, &record_);
    }
    return true;
  });
}

const ProxyReadParams* MeshReadParams::Record() {
  record_.file = file_.given ? file_.text.c_str() : nullptr;
  record_.object_path = object_path_.given ? object_path_.text.c_str() : nullptr;
  return &record_;
}

uint32_t ReadMeshFlags(v8::Local<v8::Context> context, v8::Local<v8::Object> object, uint32_t flags) {
  bool all = false;
  WalkKeys(context, object, Unreadable::kEndsTheWalk, [&](std::string_view name, v8::Local<v8::Value> value) {
    const bool on = value->BooleanValue(v8::Isolate::GetCurrent());
    if (EqualsIgnoringCase(name, "all")) all = on;
    for (const KeyBit& row : kFlagKeys) {
      if (EqualsIgnoringCase(name, row.key)) flags = on ? flags | row.bit : flags & ~row.bit;
    }
    return true;
  });
  return all ? static_cast<uint32_t>(KILN_PROXY_ALL) : flags;
}

}  // namespace KilnNodeWrapper
