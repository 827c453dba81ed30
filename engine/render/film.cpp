// Accumulation, the making of images, and the reading of layers.
#include "engine/render/film.h"

#include <cstring>

namespace kiln::engine::render {

void Film::Resize(int width, int height, bool keep) {
  const std::scoped_lock lock(mutex_);
  if (keep && width == width_ && height == height_) return;
  std::vector<FilmPixel> fresh(static_cast<size_t>(width) * height);
  pixels_.swap(fresh);
  layers_ = {};
  layout_ = LayerLayout();
  width_ = width;
  height_ = height;
  ++version_;
}

void Film::Clear(const Bucket& bucket) {
  const std::scoped_lock lock(mutex_);
  for (int y = bucket.y; y < bucket.y + bucket.height; ++y) {
    FilmPixel* row = &pixels_[static_cast<size_t>(y) * width_ + bucket.x];
    std::fill(row, row + bucket.width, FilmPixel{});
    if (layout_.stride() == 0) continue;
    float* layers = LayersAt(bucket.x, y);
    std::fill(layers, layers + static_cast<size_t>(bucket.width) * layout_.stride(), 0.0f);
  }
  ++version_;
}

int Film::width() const {
  const std::scoped_lock lock(mutex_);
  return width_;
}
int Film::height() const {
  const std::scoped_lock lock(mutex_);
  return height_;
}
LayerMask Film::layers() const {
  const std::scoped_lock lock(mutex_);
  return layout_.mask();
}
uint64_t Film::version() const {
  const std::scoped_lock lock(mutex_);
  return version_;
}

void Film::KeepLayers(LayerMask layers) {
  const std::scoped_lock lock(mutex_);
  if (layers == layout_.mask()) return;
  const LayerLayout layout(layers);
  std::vector<float> fresh(pixels_.size() * static_cast<size_t>(layout.stride()));
  layers_.swap(fresh);
  layout_ = layout;
  ++version_;
}

void Film::Load(const Bucket& bucket, FilmPixel* pixels, float* layers) const {
  const std::scoped_lock lock(mutex_);
  const size_t stride = layers != nullptr ? layout_.stride() : 0;
  for (int y = 0; y < bucket.height; ++y) {
    const size_t from = static_cast<size_t>(bucket.y + y) * width_ + bucket.x;
    const size_t to = static_cast<size_t>(y) * bucket.width;
    std::copy_n(pixels_.begin() + static_cast<ptrdiff_t>(from), bucket.width, pixels + to);
    if (stride > 0) std::memcpy(layers + to * stride, &layers_[from * stride], 4 * stride * bucket.width);
  }
}

void Film::Store(const Bucket& bucket, const FilmPixel* pixels, const float* layers) {
  const std::scoped_lock lock(mutex_);
  const size_t stride = layers != nullptr ? layout_.stride() : 0;
  for (int y = 0; y < bucket.height; ++y) {
    const size_t from = static_cast<size_t>(y) * bucket.width;
    const size_t to = static_cast<size_t>(bucket.y + y) * width_ + bucket.x;
    std::copy_n(pixels + from, bucket.width, pixels_.begin() + static_cast<ptrdiff_t>(to));
    if (stride > 0) std::memcpy(&layers_[to * stride], layers + from * stride, 4 * stride * bucket.width);
  }
  ++version_;
}

image::Image* Film::MakeImage() const {
  return MakeImage({0, 0, width(), height()});
}

image::Image* Film::MakeImage(const Bucket& part) const {
  image::ImagePtr image(image::CreateUnfilled(part.width, part.height));
  return image != nullptr && ReadBeauty(part, image->pixels()) ? image.release() : nullptr;
}

bool Film::Contains(const Bucket& part) const {
  return part.x >= 0 && part.y >= 0 && part.width > 0 && part.height > 0 && part.width <= width_ - part.x &&
         part.height <= height_ - part.y;
}

template <class Body>
void Film::ForEach(const Bucket& part, Body body) const {
  for (int y = part.y; y < part.y + part.height; ++y) {
    const size_t row = static_cast<size_t>(y) * width_;
    for (int x = part.x; x < part.x + part.width; ++x) body(row + x);
  }
}

bool Film::ReadBeauty(const Bucket& part, float* rgba) const {
  const std::scoped_lock lock(mutex_);
  if (!Contains(part)) return false;
  ForEach(part, [&](size_t i) {
    const FilmPixel& pixel = pixels_[i];
    const double scale = pixel.samples > 0 ? 1.0 / pixel.samples : 0;
    *rgba++ = static_cast<float>(pixel.r * scale);
    *rgba++ = static_cast<float>(pixel.g * scale);
    *rgba++ = static_cast<float>(pixel.b * scale);
    *rgba++ = static_cast<float>(pixel.a * scale);
  });
  return true;
}

bool Film::ReadMeans(Layer layer, const Bucket& part, float* rgb) const {
  const std::scoped_lock lock(mutex_);
  if (!Contains(part) || !layout_.Has(layer)) return false;
  ForEach(part, [&](size_t i) {
    const float* sum = &layers_[i * layout_.stride() + layout_.OffsetOf(layer)];
    const double scale = pixels_[i].samples > 0 ? 1.0 / pixels_[i].samples : 0;
    for (int c = 0; c < 3; ++c) *rgb++ = static_cast<float>(sum[c] * scale);
  });
  return true;
}

bool Film::ReadCentres(const Bucket& part, CentreSample* centres) const {
  const std::scoped_lock lock(mutex_);
  if (!Contains(part) || !layout_.Has(Layer::kCentre)) return false;
  ForEach(part, [&](size_t i) {
    *centres++ = LoadCentre(&layers_[i * layout_.stride() + layout_.OffsetOf(Layer::kCentre)]);
  });
  return true;
}

bool Film::ReadSampleCounts(const Bucket& part, uint32_t* counts) const {
  const std::scoped_lock lock(mutex_);
  if (!Contains(part)) return false;
  ForEach(part, [&](size_t i) { *counts++ = pixels_[i].samples; });
  return true;
}

}  // namespace kiln::engine::render
