// The denoiser: nearer to the truth than what it was given, and the same on any number of threads.
#include "engine/render/denoise.h"

#include <gtest/gtest.h>

#include "engine/render/elements.h"
#include "test/engine/render/cornell.h"

namespace kiln::engine::render::test {
namespace {

std::unique_ptr<Film> RenderFilm(SceneKit& kit, int samples) {
  const auto built = kit.Build();
  const RenderSettings& s = built->settings;
  const FrameRenderer frame(built, s.width, s.height, {});
  auto film = std::make_unique<Film>();
  film->Resize(s.width, s.height, false);
  const std::atomic<bool> never{false};
  TraceStatistics statistics;
  frame.RenderBucket({0, 0, s.width, s.height}, 0, samples, never, film.get(), &statistics);
  return film;
}

std::vector<float> Beauty(const Film& film) {
  std::vector<float> rgba(size_t{4} * film.width() * film.height());
  EXPECT_TRUE(film.ReadBeauty({0, 0, film.width(), film.height()}, rgba.data()));
  return rgba;
}

std::vector<float> Denoised(const NoisyPicture& picture, float strength = 1, int threads = 1) {
  const std::atomic<bool> never{false};
  std::vector<float> out(picture.rgba.size());
  EXPECT_TRUE(Denoise(picture, strength, threads, never, out.data()));
  return out;
}

// Peak signal to noise in dB, of pictures whose white is 1.
double Psnr(const std::vector<float>& picture, const std::vector<float>& truth) {
  double sum = 0;
  for (size_t i = 0; i < truth.size(); ++i) {
    if (i % 4 == 3) continue;
    const double d = std::clamp(picture[i], 0.0f, 1.0f) - std::clamp(truth[i], 0.0f, 1.0f);
    sum += d * d;
  }
  return 10 * std::log10(static_cast<double>(truth.size()) * 0.75 / sum);
}

// A textured floor, a mirror and a shiny ball under a sky and a small lamp.
void MakeStillLife(SceneKit& kit) {
  kit.Settings(64, 48, 16);
  kit.Camera({0, 1.6f, 4.5f}, {0, 0.5f, 0}, 45);
  kit.Make("SettingsEnvironment", {{"background", Color{0.15f, 0.2f, 0.3f}}});
  kit.Make(
      "LightRectangle",
      {{"transform", LookAt({2, 3, 2}, {0, 0, 0})}, {"width", 0.6f}, {"height", 0.6f}, {"intensity", 25.0f}});
  const PluginId checker =
      kit.Make("TextureChecker",
               {{"colorA", Color{0.8f, 0.7f, 0.5f}}, {"colorB", Color{0.2f, 0.25f, 0.3f}}, {"scale", 12.0f}});
  kit.Put(kit.Make("GeomPlane", {{"width", 8.0f}, {"depth", 8.0f}}),
          kit.Make("MaterialPrincipled", {{"baseColor", PluginRef{checker}}, {"roughness", 0.6f}}));
  kit.Put(kit.Sphere(0.6f, 24),
          kit.Make("MaterialPrincipled", {{"baseColor", Color{0.7f, 0.15f, 0.1f}}, {"roughness", 0.25f}}),
          Translate({-0.8f, 0.6f, 0}));
  kit.Put(kit.Sphere(0.6f, 24), kit.Make("MaterialPrincipled", {{"metallic", 1.0f}, {"roughness", 0.05f}}),
          Translate({0.8f, 0.6f, 0}));
}

constexpr int kCornellSide = 48;

const std::vector<float>& CornellTruth() {
  static const std::vector<float> truth = [] {
    SceneKit kit;
    MakeCornell(kit, kCornellSide, 16);
    return Beauty(*RenderFilm(kit, 1024));
  }();
  return truth;
}

void ExpectCloserToTruth(SceneKit& kit, const std::vector<float>& truth, double gain) {
  kit.Make("RenderChannelDenoised");
  const auto film = RenderFilm(kit, 16);
  const auto picture = ReadNoisyPicture(*film);
  ASSERT_TRUE(picture.has_value());
  const double noisy = Psnr(Beauty(*film), truth);
  const double denoised = Psnr(Denoised(*picture, 1, 2), truth);
  EXPECT_GT(denoised, noisy + gain) << noisy << " dB before, " << denoised << " after";
}

TEST(Denoise, ComesCloserToACornellBox) {
  SceneKit kit;
  MakeCornell(kit, kCornellSide, 16);
  ExpectCloserToTruth(kit, CornellTruth(), 2);
}

TEST(Denoise, ComesCloserToTexturesAndReflections) {
  SceneKit kit;
  MakeStillLife(kit);
  ExpectCloserToTruth(kit, Beauty(*RenderFilm(kit, 1024)), 2);
}

TEST(Denoise, WithoutGuidesItStillHelps) {
  SceneKit kit;
  MakeCornell(kit, kCornellSide, 16);
  const std::vector<float>& truth = CornellTruth();
  const auto film = RenderFilm(kit, 16);
  const auto picture = ReadNoisyPicture(*film);
  ASSERT_TRUE(picture.has_value());
  EXPECT_TRUE(picture->albedo.empty() && picture->normal.empty());
  EXPECT_GT(Psnr(Denoised(*picture), truth), Psnr(Beauty(*film), truth) + 1);
}

TEST(Denoise, ThreadsDoNotChangeIt) {
  SceneKit kit;
  MakeCornell(kit, 70, 4);
  kit.Make("RenderChannelDenoised");
  const auto picture = ReadNoisyPicture(*RenderFilm(kit, 4));
  ASSERT_TRUE(picture.has_value());
  const std::vector<float> one = Denoised(*picture, 1, 1);
  for (const int threads : {2, 5}) EXPECT_EQ(one, Denoised(*picture, 1, threads)) << threads;
}

TEST(Denoise, AQuietPictureStaysWhatItIs) {
  NoisyPicture picture;
  picture.width = 37;
  picture.height = 5;
  for (int i = 0; i < 37 * 5; ++i) {
    const float v = (i / 3) % 2 != 0 ? 0.9f : 0.1f;
    picture.rgba.insert(picture.rgba.end(), {v, v / 2, v / 4, 0.5f});
  }
  picture.variance.assign(size_t{3} * 37 * 5, 0);
  const std::vector<float> out = Denoised(picture);
  for (size_t i = 0; i < out.size(); ++i) ASSERT_NEAR(out[i], picture.rgba[i], 1e-5) << i;
}

TEST(Denoise, StrengthBlends) {
  SceneKit kit;
  MakeCornell(kit, 24, 4);
  kit.Make("RenderChannelDenoised");
  const auto picture = ReadNoisyPicture(*RenderFilm(kit, 4));
  ASSERT_TRUE(picture.has_value());
  EXPECT_EQ(Denoised(*picture, 0), picture->rgba);
  EXPECT_EQ(Denoised(*picture, -1), picture->rgba);
  const std::vector<float> whole = Denoised(*picture, 1);
  const std::vector<float> half = Denoised(*picture, 0.5f);
  for (size_t i = 0; i < half.size(); ++i) {
    ASSERT_NEAR(half[i], (whole[i] + picture->rgba[i]) / 2, 1e-4 * (1 + picture->rgba[i]));
  }
}

TEST(Denoise, AnInterruptEndsIt) {
  NoisyPicture picture;
  picture.width = picture.height = 512;
  picture.rgba.assign(size_t{4} * 512 * 512, 1);
  picture.variance.assign(size_t{3} * 512 * 512, 1);
  const std::atomic<bool> stop{true};
  std::vector<float> out(picture.rgba.size());
  EXPECT_FALSE(Denoise(picture, 1, 2, stop, out.data()));
}

TEST(Denoise, TinyPicturesHaveNoNeighbours) {
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 7}, {3, 2}}) {
    NoisyPicture picture;
    picture.width = width;
    picture.height = height;
    const size_t count = static_cast<size_t>(width) * height;
    picture.rgba.assign(4 * count, 0.25f);
    picture.variance.assign(3 * count, 0.1f);
    picture.albedo.assign(3 * count, 0.0f);
    picture.normal.assign(3 * count, 0.0f);
    for (const float v : Denoised(picture)) EXPECT_NEAR(v, 0.25f, 1e-6);
  }
}

TEST(Denoise, AFilmWithoutSizeHasNoPicture) {
  EXPECT_FALSE(ReadNoisyPicture(Film()).has_value());
}

}  // namespace
}  // namespace kiln::engine::render::test
