// Accumulation and the making of images.
#include "engine/render/film.h"

namespace kiln::engine::render {

void Film::Resize(int width, int height, bool keep) {
  const std::scoped_lock lock(mutex_);
  if (keep && width == width_ && height == height_) return;
  std::vector<FilmPixel> fresh(static_cast<size_t>(width) * height);
  pixels_.swap(fresh);
  width_ = width;
  height_ = height;
}

void Film::Clear(const Bucket& bucket) {
  const std::scoped_lock lock(mutex_);
  for (int y = bucket.y; y < bucket.y + bucket.height; ++y) {
    FilmPixel* row = &pixels_[static_cast<size_t>(y) * width_ + bucket.x];
    std::fill(row, row + bucket.width, FilmPixel{});
  }
}

void Film::Load(const Bucket& bucket, FilmPixel* pixels) const {
  const std::scoped_lock lock(mutex_);
  for (int y = 0; y < bucket.height; ++y) {
    const FilmPixel* row = &pixels_[static_cast<size_t>(bucket.y + y) * width_ + bucket.x];
    std::copy(row, row + bucket.width, pixels + static_cast<size_t>(y) * bucket.width);
  }
}

void Film::Store(const Bucket& bucket, const FilmPixel* pixels) {
  const std::scoped_lock lock(mutex_);
  for (int y = 0; y < bucket.height; ++y) {
    const FilmPixel* row = pixels + static_cast<size_t>(y) * bucket.width;
    std::copy(row, row + bucket.width, &pixels_[static_cast<size_t>(bucket.y + y) * width_ + bucket.x]);
  }
}

image::Image* Film::MakeImage() const {
  return MakeImage({0, 0, width_, height_});
}

image::Image* Film::MakeImage(const Bucket& part) const {
  const std::scoped_lock lock(mutex_);
  if (pixels_.empty()) return nullptr;
  image::Image* image = image::Create(part.width, part.height);
  if (image == nullptr) return nullptr;
  float* out = image->pixels();
  for (int y = part.y; y < part.y + part.height; ++y) {
    for (int x = part.x; x < part.x + part.width; ++x, out += 4) {
      const FilmPixel& pixel = pixels_[static_cast<size_t>(y) * width_ + x];
      if (pixel.samples == 0) continue;
      const double scale = 1.0 / pixel.samples;
      out[0] = static_cast<float>(pixel.r * scale);
      out[1] = static_cast<float>(pixel.g * scale);
      out[2] = static_cast<float>(pixel.b * scale);
      out[3] = static_cast<float>(pixel.a * scale);
    }
  }
  return image;
}

}  // namespace kiln::engine::render
