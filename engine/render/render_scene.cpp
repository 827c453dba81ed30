// Embree's top level over the scene's meshes, and the interpolation of what its hits name.
#include "engine/render/render_scene.h"

#include "engine/render/mesh_light.h"

namespace kiln::engine::render {
namespace {

RTCRay ToEmbree(const Ray& ray) {
  RTCRay r;
  r.org_x = ray.origin.x;
  r.org_y = ray.origin.y;
  r.org_z = ray.origin.z;
  r.tnear = ray.near;
  r.dir_x = ray.direction.x;
  r.dir_y = ray.direction.y;
  r.dir_z = ray.direction.z;
  r.time = 0;
  r.tfar = ray.far;
  r.mask = ~0u;
  r.id = 0;
  r.flags = 0;
  return r;
}

template <class T>
T Interpolate(const CornerAttribute<T>& attribute, uint32_t triangle, float u, float v) {
  return attribute.At(triangle, 0) * (1 - u - v) + attribute.At(triangle, 1) * u +
         attribute.At(triangle, 2) * v;
}

float InterpolateVertices(const float* values, const Mesh& mesh, uint32_t triangle, float u, float v) {
  const int32_t* index = mesh.indices() + 3 * size_t{triangle};
  return values[index[0]] * (1 - u - v) + values[index[1]] * u + values[index[2]] * v;
}

Vec3 Abs(Vec3 v) {
  return {std::abs(v.x), std::abs(v.y), std::abs(v.z)};
}

ScenePtr NewTopLevel(RTCDevice device) {
  ScenePtr scene(rtcNewScene(device));
  rtcSetSceneBuildQuality(scene.get(), RTC_BUILD_QUALITY_HIGH);
  rtcSetSceneFlags(scene.get(), RTC_SCENE_FLAG_ROBUST);
  return scene;
}

void Prepare(const Ray& ray, RTCRayHit* query) {
  query->ray = ToEmbree(ray);
  query->hit.geomID = RTC_INVALID_GEOMETRY_ID;
  query->hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
}

bool ReadHit(const RTCRayHit& query, Hit* hit) {
  if (query.hit.geomID == RTC_INVALID_GEOMETRY_ID) return false;
  *hit = {query.ray.tfar, query.hit.instID[0], query.hit.primID, query.hit.u, query.hit.v};
  return true;
}

bool Nearest(RTCScene scene, const Ray& ray, Hit* hit) {
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  RTCRayHit query;
  Prepare(ray, &query);
  rtcIntersect1(scene, &context, &query);
  return ReadHit(query, hit);
}

// As far as rounding tells.
bool IsOnEdge(const Hit& hit) {
  constexpr float kClose = 1e-6f;
  return std::min({hit.u, hit.v, 1 - hit.u - hit.v}) < kClose;
}

// Whether the ray passes the box by. A direction along a face makes a NaN there, which decides nothing.
bool Misses(const Ray& ray, const Bounds3& box) {
  float near = ray.near;
  float far = ray.far;
  const auto cut = [&](float origin, float direction, float lower, float upper) {
    const float inverse = 1 / direction;
    const float a = (lower - origin) * inverse;
    const float b = (upper - origin) * inverse;
    near = std::max(near, std::min(a, b));
    far = std::min(far, std::max(a, b));
  };
  cut(ray.origin.x, ray.direction.x, box.lower.x, box.upper.x);
  cut(ray.origin.y, ray.direction.y, box.lower.y, box.upper.y);
  cut(ray.origin.z, ray.direction.z, box.lower.z, box.upper.z);
  return near > far;
}

// Wider by what rounding may take off.
Bounds3 Widen(const Bounds3& box) {
  constexpr float kScale = 1e-4f;
  const Vec3 far = Abs(box.lower) + Abs(box.upper);
  const float margin = kScale * std::max(far.x, std::max(far.y, far.z));
  const Vec3 around{margin, margin, margin};
  return {box.lower - around, box.upper + around};
}

// The tangent along u: the mesh's own, or from the uv of the triangle, or any.
void MakeTangent(const SceneObject& object, uint32_t triangle, float u, float v, const Vec3 edges[2],
                 const Vec2 uv_edges[2], SurfacePoint* point) {
  const Mesh& mesh = *object.mesh;
  Vec3 tangent{};
  float sign = 1;
  if (mesh.tangents()) {
    tangent = object.transform.matrix * Interpolate(mesh.tangents(), triangle, u, v);
    if (mesh.tangent_signs() != nullptr) {
      sign = mesh.tangent_signs()[mesh.indices()[3 * size_t{triangle}]] < 0 ? -1.0f : 1.0f;
    }
  } else if (mesh.uv(0)) {
    const float det = uv_edges[0].x * uv_edges[1].y - uv_edges[0].y * uv_edges[1].x;
    if (det != 0) {
      const float inverse = 1 / det;
      tangent = (edges[0] * uv_edges[1].y - edges[1] * uv_edges[0].y) * inverse;
      // v runs down the image; the bitangent of a normal map runs up.
      const Vec3 up = (edges[0] * uv_edges[1].x - edges[1] * uv_edges[0].x) * inverse;
      sign = Dot(Cross(point->normal, tangent), up) < 0 ? -1.0f : 1.0f;
    }
  }
  tangent = tangent - point->normal * Dot(point->normal, tangent);
  const float length = Length(tangent);
  if (length > 0 && std::isfinite(length)) {
    point->tangent = tangent / length;
    point->tangent_sign = sign;
  } else {
    point->tangent = Frame(point->normal).t;
    point->tangent_sign = 1;
  }
}

}  // namespace

// Rounding of a position grows with the numbers that were added up to make it. 1.5e-5 of their size is 256
// units in the last place, the margin of Waechter and Binder 2019, "A Fast and Robust Method for Avoiding
// Self-Intersection"; here the instance's own numbers count too, which theirs does not see.
float RayOffset(const SceneObject& object, Vec3 local, Vec3 world) {
  const Matrix& m = object.transform.matrix;
  const Vec3 a = Abs(m.c0) * std::abs(local.x) + Abs(m.c1) * std::abs(local.y) +
                 Abs(m.c2) * std::abs(local.z) + Abs(object.offset) + Abs(world);
  constexpr float kScale = 0.75e-5f;
  constexpr float kFloor = 1e-9f;
  return std::max(kFloor, kScale * std::max(a.x, std::max(a.y, a.z)));
}

RenderScene::~RenderScene() = default;

void RenderScene::Finish(RTCDevice device) {
  BuildTopLevel(device);
  BuildLights();
}

void RenderScene::BuildTopLevel(RTCDevice device) {
  top_ = NewTopLevel(device);
  all_opaque_ = std::all_of(objects.begin(), objects.end(),
                            [](const SceneObject& object) { return object.material->IsOpaque(); });
  if (!all_opaque_) {
    opaque_ = NewTopLevel(device);
    clear_ = NewTopLevel(device);
  }
  for (size_t i = 0; i < objects.size(); ++i) {
    SceneObject& object = objects[i];
    const Matrix& m = object.transform.matrix;
    object.mesh = &object.accel->source->mesh();
    object.offset = Offset(object.transform);
    object.normal_matrix = Transpose(Inverse(m));
    object.area_scale = std::cbrt(std::abs(Determinant(m)));
    object.opaque = object.material->IsOpaque();
    object.emissive = object.material->IsEmissive();
    object.reads_tangent = object.material->ReadsTangent();
    object.has_volume = !(object.Transmittance(1.0f) == Color{1, 1, 1});

    RTCGeometry instance = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE);
    rtcSetGeometryInstancedScene(instance, object.accel->scene.get());
    const Vec3 o = object.offset;
    const float columns[12] = {m.c0.x, m.c0.y, m.c0.z, m.c1.x, m.c1.y, m.c1.z,
                               m.c2.x, m.c2.y, m.c2.z, o.x,    o.y,    o.z};
    rtcSetGeometryTransform(instance, 0, RTC_FORMAT_FLOAT3X4_COLUMN_MAJOR, columns);
    rtcCommitGeometry(instance);
    rtcAttachGeometryByID(top_.get(), instance, static_cast<unsigned>(i));
    if (!all_opaque_) {
      const ScenePtr& part = object.opaque ? opaque_ : clear_;
      rtcAttachGeometryByID(part.get(), instance, static_cast<unsigned>(i));
    }
    rtcReleaseGeometry(instance);

    const Bounds3& local = object.mesh->bounds();
    for (int corner = 0; corner < 8; ++corner) {
      const Vec3 point =
          TransformPoint(object.transform, {(corner & 1) != 0 ? local.upper.x : local.lower.x,
                                            (corner & 2) != 0 ? local.upper.y : local.lower.y,
                                            (corner & 4) != 0 ? local.upper.z : local.lower.z});
      bounds_.Add(point);
      if (!object.opaque) clear_bounds_.Add(point);
    }
  }
  clear_bounds_ = Widen(clear_bounds_);
  for (const ScenePtr* scene : {&top_, &opaque_, &clear_}) {
    if (*scene) rtcCommitScene(scene->get());
  }
}

namespace {

// The power of an infinite light grows with the scene, what it gives a point does not. In a wide scene it
// would take almost every choice, and what the lamps give would be a few bright dots; so it gets at most as
// many as they do.
void LimitInfinite(const std::vector<std::shared_ptr<const Light>>& lights, std::vector<float>* powers) {
  double local = 0;
  double infinite = 0;
  for (size_t i = 0; i < powers->size(); ++i) {
    if (std::isfinite((*powers)[i])) (lights[i]->IsInfinite() ? infinite : local) += (*powers)[i];
  }
  if (local <= 0 || infinite <= local) return;
  const auto factor = static_cast<float>(local / infinite);
  for (size_t i = 0; i < powers->size(); ++i) {
    if (lights[i]->IsInfinite()) (*powers)[i] *= factor;
  }
}

}  // namespace

void RenderScene::BuildLights() {
  for (SceneObject& object : objects) {
    if (!object.emissive) continue;
    auto light = std::make_shared<MeshLight>(*this, object);
    if (light->empty()) continue;
    object.mesh_light = static_cast<int32_t>(lights.size());
    lights.push_back(std::move(light));
  }
  Bounds3 all = bounds_;
  for (const auto& light : lights) {
    const Bounds3 b = light->Bounds();
    if (b.Empty()) continue;
    all.Add(b.lower);
    all.Add(b.upper);
  }
  std::vector<float> powers;
  const float radius = std::max(all.Radius(), 1e-6f);
  for (size_t i = 0; i < lights.size(); ++i) {
    powers.push_back(lights[i]->Power(radius));
    if (lights[i]->HasShape()) shape_lights_.push_back(static_cast<uint32_t>(i));
    if (lights[i]->IsInfinite()) infinite_lights_.push_back(static_cast<uint32_t>(i));
  }
  LimitInfinite(lights, &powers);
  light_choice_ = AliasTable(powers);
}

bool RenderScene::Intersect(const Ray& ray, Hit* hit) const {
  return Nearest(top_.get(), ray, hit);
}

void RenderScene::IntersectBundle(std::span<const Ray> rays, Hit* hits) const {
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  context.flags = RTC_INTERSECT_CONTEXT_FLAG_COHERENT;
  RTCRayHit queries[kBundle];
  for (size_t i = 0; i < rays.size(); ++i) Prepare(rays[i], &queries[i]);
  rtcIntersect1M(top_.get(), &context, queries, static_cast<unsigned>(rays.size()), sizeof(RTCRayHit));
  for (size_t i = 0; i < rays.size(); ++i) {
    if (!ReadHit(queries[i], &hits[i])) {
      hits[i] = {};
    } else if (IsOnEdge(hits[i])) {
      // Both triangles at an edge are met, and which comes first would depend on the other rays.
      Intersect(rays[i], &hits[i]);
    }
  }
}

bool RenderScene::IntersectClear(const Ray& ray, Hit* hit) const {
  return !Misses(ray, clear_bounds_) && Nearest(clear_.get(), ray, hit);
}

bool RenderScene::Occluded(const Ray& ray) const {
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  RTCRay query = ToEmbree(ray);
  rtcOccluded1(all_opaque_ ? top_.get() : opaque_.get(), &context, &query);
  return query.tfar < 0;
}

void RenderScene::MakeSurfacePoint(const Hit& hit, Vec3 direction, float spread, float travelled,
                                   SurfacePoint* point) const {
  const SceneObject& object = objects[hit.object];
  const Mesh& mesh = *object.mesh;
  const float u = hit.u;
  const float v = hit.v;
  Vec3 p[3];
  mesh.Corners(hit.triangle, p);
  const Vec3 local = p[0] * (1 - u - v) + p[1] * u + p[2] * v;
  const Vec3 local_normal = Cross(p[1] - p[0], p[2] - p[0]);
  point->object = &object;
  point->position = TransformPoint(object.transform, local);
  point->offset = RayOffset(object, local, point->position);
  // By the inverse transpose, not by transformed edges: a mirroring transform keeps the front of the mesh in
  // front.
  point->geometric_normal = Normalize(object.normal_matrix * Normalize(local_normal));
  point->wo = -direction;
  point->backfacing = Dot(point->geometric_normal, point->wo) < 0;
  point->normal = point->geometric_normal;
  if (mesh.normals()) {
    const Vec3 n = object.normal_matrix * Interpolate(mesh.normals(), hit.triangle, u, v);
    const float length = Length(n);
    if (length > 0 && std::isfinite(length)) {
      point->normal = Dot(n, point->geometric_normal) < 0 ? n / -length : n / length;
    }
  }
  if (mesh.uv(0)) {
    const Vec3 a = mesh.uv(0).At(hit.triangle, 0);
    const Vec3 b = mesh.uv(0).At(hit.triangle, 1);
    const Vec3 c = mesh.uv(0).At(hit.triangle, 2);
    const Vec2 uv_edges[2] = {{b.x - a.x, b.y - a.y}, {c.x - a.x, c.y - a.y}};
    point->uv[0] = Vec2{a.x, a.y} + uv_edges[0] * u + uv_edges[1] * v;
    if (object.reads_tangent) {
      const Vec3 edges[2] = {object.transform.matrix * (p[1] - p[0]),
                             object.transform.matrix * (p[2] - p[0])};
      MakeTangent(object, hit.triangle, u, v, edges, uv_edges, point);
    }
    const float uv_area = std::abs(uv_edges[0].x * uv_edges[1].y - uv_edges[0].y * uv_edges[1].x);
    const float area = Length(local_normal) * object.area_scale * object.area_scale;
    point->uv_per_pixel = area > 0 ? std::sqrt(uv_area / area) * spread * travelled : 0;
  } else {
    point->uv[0] = {};
    point->uv_per_pixel = 0;
    if (object.reads_tangent) MakeTangent(object, hit.triangle, u, v, nullptr, nullptr, point);
  }
  if (mesh.uv(1)) {
    const Vec3 second = Interpolate(mesh.uv(1), hit.triangle, u, v);
    point->uv[1] = {second.x, second.y};
  } else {
    point->uv[1] = point->uv[0];
  }
  point->vertex_color = mesh.colors() ? Interpolate(mesh.colors(), hit.triangle, u, v) : Color{1, 1, 1};
  point->vertex_alpha = mesh.color_alphas() != nullptr
                            ? InterpolateVertices(mesh.color_alphas(), mesh, hit.triangle, u, v)
                            : 1.0f;
}

const Light* RenderScene::ChooseLight(float* u, float* probability) const {
  if (light_choice_.empty()) return nullptr;
  const uint32_t index = light_choice_.Sample(u);
  *probability = light_choice_.Probability(index);
  return lights[index].get();
}

const MeshLight& RenderScene::mesh_light(const SceneObject& object) const {
  return static_cast<const MeshLight&>(*lights[object.mesh_light]);
}

}  // namespace kiln::engine::render
