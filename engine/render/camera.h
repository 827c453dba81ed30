// What a camera does: rays for places on its image.
#pragma once

#include "engine/utilities/math.h"

namespace kiln::engine::render {

struct CameraRay {
  Vec3 origin;
  Vec3 direction;  // unit
  float near = 0;  // distances along the ray
  float far = INFINITY;
};

// Thread-safe. Cameras look down -Z of their transform, +Y up, +X right.
class Camera {
 public:
  virtual ~Camera() = default;
  // `screen`: -1..1 over the image, x to the right and y up; aspect: width / height; lens: in [0, 1)^2.
  virtual CameraRay Generate(Vec2 screen, float aspect, Vec2 lens) const = 0;
  // The angle that a pixel covers, in radians, `size` being the fraction of the image's height that it is
  // high.
  virtual float PixelSpread(float size, float aspect) const = 0;
  float exposure() const { return exposure_; }
  // Where it looks, unit.
  Vec3 forward() const { return forward_; }

 protected:
  Vec3 forward_{0, 0, -1};
  float exposure_ = 1;  // linear factor on radiance
};

// Position and orthonormal axes of a transform, whatever its scale or shear.
struct CameraFrame {
  Vec3 origin, right, up, back;
  explicit CameraFrame(const Transform& transform);
  Vec3 Direction(Vec3 v) const { return right * v.x + up * v.y + back * v.z; }
};

inline CameraFrame::CameraFrame(const Transform& transform) : origin(Offset(transform)) {
  const Matrix& m = transform.matrix;
  back = Normalize(m.c2);
  up = Normalize(m.c1 - back * Dot(m.c1, back));
  right = Cross(up, back);
  if (Dot(right, m.c0) < 0) right = -right;
}

}  // namespace kiln::engine::render
