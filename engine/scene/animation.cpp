// Values between key frames.
#include <iterator>

#include "engine/scene/scene.h"

namespace kiln::engine::scene {
namespace {

constexpr float Mix(float a, float b, double t) {
  return static_cast<float>(a + (double{b} - a) * t);
}
constexpr double Mix(double a, double b, double t) {
  return a + (b - a) * t;
}
constexpr Vec3 Mix(const Vec3& a, const Vec3& b, double t) {
  return {Mix(a.x, b.x, t), Mix(a.y, b.y, t), Mix(a.z, b.z, t)};
}
constexpr Color Mix(const Color& a, const Color& b, double t) {
  return {Mix(a.r, b.r, t), Mix(a.g, b.g, t), Mix(a.b, b.b, t)};
}
constexpr AColor Mix(const AColor& a, const AColor& b, double t) {
  return {Mix(a.r, b.r, t), Mix(a.g, b.g, t), Mix(a.b, b.b, t), Mix(a.a, b.a, t)};
}
constexpr Matrix Mix(const Matrix& a, const Matrix& b, double t) {
  return {Mix(a.c0, b.c0, t), Mix(a.c1, b.c1, t), Mix(a.c2, b.c2, t)};
}
constexpr Transform Mix(const Transform& a, const Transform& b, double t) {
  return {Mix(a.matrix, b.matrix, t),
          {Mix(a.offset.x, b.offset.x, t), Mix(a.offset.y, b.offset.y, t), Mix(a.offset.z, b.offset.z, t)}};
}

template <class T>
requires requires(const T& a) {
  Mix(a, a, 0.5);
}
Array<T> Mix(const Array<T>& a, const Array<T>& b, double t) {
  if (a.size() != b.size()) return a;
  std::vector<T> mixed(a.size());
  for (size_t i = 0; i < mixed.size(); ++i) mixed[i] = Mix(a[i], b[i], t);
  return Array<T>(std::move(mixed));
}

template <class T>
concept Mixable = !std::is_same_v<T, int32_t> && !std::is_same_v<T, bool> && !std::is_same_v<T, IntArray> &&
                  requires(const T& a) {
  Mix(a, a, 0.5);
};

}  // namespace

Value Interpolate(const KeyFrames& keys, double time) {
  const auto after = keys.upper_bound(time);
  if (after == keys.begin()) return after->second;
  const auto before = std::prev(after);
  if (after == keys.end() || before->first == time) return before->second;
  const double t = (time - before->first) / (after->first - before->first);
  return std::visit(
      [&]<class T>(const T& a) -> Value {
        if constexpr (Mixable<T>) {
          if (const T* b = after->second.As<T>()) return Mix(a, *b, t);
        }
        return a;
      },
      before->second.data);
}

}  // namespace kiln::engine::scene
