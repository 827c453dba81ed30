// Interactive renders: passes, what ends and what interrupts them, and what the listener sees of them.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

#include "test/engine/render/cornell.h"

namespace kiln::engine::render::test {
namespace {

using std::chrono::milliseconds;
constexpr milliseconds kLong{120000};  // only a hang takes as long, under a sanitizer and beside others too

ImagePtr RenderProduction(scene::Scene& scene, RenderOptions options = {}) {
  Recorder recorder;
  Session session(scene, recorder);
  session.Start(options);
  EXPECT_TRUE(session.Wait(kLong));
  return ImagePtr(session.Snapshot());
}

TEST(Interactive, RefinementDoublesItsPasses) {
  SceneKit kit;
  MakeCornell(kit, 16, 12);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({.mode = Mode::kInteractive});
  ASSERT_TRUE(recorder.AwaitState(State::kIdleDone));
  EXPECT_EQ(recorder.passes, (std::vector<int>{1, 2, 4, 8, 12}));
  EXPECT_EQ(session.statistics().samples, 12);
}

TEST(Interactive, TimeLimitEndsARefinement) {
  SceneKit kit;
  MakeCornell(kit, 32, 1 << 20);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({.mode = Mode::kInteractive, .time_limit = 0.05});
  ASSERT_TRUE(session.Wait(milliseconds(5000)));
  EXPECT_EQ(session.state(), State::kIdleDone);
  EXPECT_GE(session.statistics().samples, 1);
}

TEST(Interactive, PauseHoldsARefinementAndResumesToTheSameImage) {
  SceneKit kit;
  MakeCornell(kit, 32, 256);
  const ImagePtr expected = RenderProduction(kit.scene);
  Recorder recorder;
  Session session(kit.scene, recorder);
  EXPECT_FALSE(session.SetPaused(true));
  session.StartAndPrepare({.mode = Mode::kInteractive});
  ASSERT_TRUE(session.SetPaused(true));
  ASSERT_TRUE(recorder.AwaitState(State::kRenderingPaused));
  const uint64_t rays = session.statistics().rays;
  std::this_thread::sleep_for(milliseconds(30));
  EXPECT_EQ(session.statistics().rays, rays);
  EXPECT_FALSE(session.ended());
  EXPECT_TRUE(session.SetPaused(false));
  ASSERT_TRUE(session.Wait(kLong));
  EXPECT_EQ(session.state(), State::kIdleDone);
  EXPECT_TRUE(SamePixels(*expected, *ImagePtr(session.Snapshot())));
}

TEST(Interactive, APausedRefinementCanBeStopped) {
  SceneKit kit;
  MakeCornell(kit, 32, 1 << 20);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.StartAndPrepare({.mode = Mode::kInteractive});
  session.SetPaused(true);
  ASSERT_TRUE(recorder.AwaitState(State::kRenderingPaused));
  session.RequestStop();
  EXPECT_TRUE(session.Wait(milliseconds(2000)));
  EXPECT_EQ(session.state(), State::kIdleStopped);
}

TEST(Interactive, RefinementTakesChangesOver) {
  SceneKit kit;
  const Cornell room = MakeCornell(kit, 24, 8);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({.mode = Mode::kInteractive, .keep_running = true});
  ASSERT_TRUE(recorder.AwaitState(State::kRenderingAwaitingChanges));
  const ImagePtr bright(session.Snapshot());
  {
    const std::unique_lock lock(kit.scene.mutex);
    kit.scene.Set(room.lamp, "intensity", 8.5f);
  }
  session.SceneChanged();
  ASSERT_TRUE(recorder.Await([&] { return recorder.passes.size() >= 8; }));
  ASSERT_TRUE(recorder.AwaitState(State::kRenderingAwaitingChanges));
  EXPECT_EQ(session.statistics().meshes_built, 0);
  const ImagePtr dim(session.Snapshot());
  EXPECT_NEAR(Mean(*dim).g, Mean(*bright).g / 2, 1e-3);
  session.RequestStop();
  EXPECT_TRUE(session.Wait(kLong));
}

TEST(Interactive, ACoarsePictureComesFirst) {
  SceneKit kit;
  MakeCornell(kit, 250, 2);
  const ImagePtr expected = RenderProduction(kit.scene);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({.mode = Mode::kInteractive});
  ASSERT_TRUE(recorder.AwaitState(State::kIdleDone));
  ASSERT_EQ(recorder.passes, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(recorder.images[0]->width, 250);
  EXPECT_NEAR(Mean(*recorder.images[0]).r, Mean(*expected).r, 0.1);
  EXPECT_FALSE(SamePixels(*recorder.images[0], *expected));
  EXPECT_TRUE(SamePixels(*recorder.images[2], *expected)) << "nothing of the coarse picture stays";
}

TEST(Interactive, TheCoarsePictureKeepsToTheRegion) {
  SceneKit kit;
  MakeCornell(kit, 200, 1);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({});
  ASSERT_TRUE(session.Wait(kLong));
  const ImagePtr whole(session.Snapshot());
  session.Start({.mode = Mode::kInteractive, .samples = 2, .region = Bucket{21, 13, 150, 141}});
  ASSERT_TRUE(session.Wait(kLong));
  const auto coarse = std::find(recorder.passes.begin(), recorder.passes.end(), 0);
  ASSERT_NE(coarse, recorder.passes.end());
  const image::Image& image = *recorder.images[coarse - recorder.passes.begin()];
  for (int y = 0; y < 200; ++y) {
    for (int x = 0; x < 200; ++x) {
      if (x >= 21 && x < 171 && y >= 13 && y < 154) continue;
      ASSERT_TRUE(std::equal(image.row(y) + 4 * x, image.row(y) + 4 * x + 4, whole->row(y) + 4 * x));
    }
  }
}

TEST(Interactive, APictureOfEveryPlaceInABlockStandsWhereItBelongs) {
  SceneKit kit;
  kit.Settings(203, 203, 1);
  kit.PatchCamera({0, 0, 5}, {0, 0, 0}, 1);
  // The upper left quarter glows.
  kit.Quad({-2, 0, 0}, {0, 0, 0}, {0, 2, 0}, {-2, 2, 0}, kit.Make("MaterialEmissive"));
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({.mode = Mode::kInteractive});
  ASSERT_TRUE(recorder.AwaitState(State::kIdleDone));
  const image::Image& coarse = *recorder.images[0];
  const image::Image& sharp = *recorder.images.back();
  for (int y = 0; y < 203; ++y) {
    for (int x = 0; x < 203; ++x) {
      if (std::abs(x - 101) < 9 || std::abs(y - 101) < 9) continue;
      ASSERT_EQ(coarse.row(y)[4 * x], sharp.row(y)[4 * x]) << x << ' ' << y;
    }
  }
}

TEST(Interactive, PicturesKeepComingHoweverFastTheScenesChanges) {
  SceneKit kit;
  MakeCornell(kit, 160, 1 << 20);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({.mode = Mode::kInteractive, .keep_running = true});
  std::atomic<bool> enough{false};
  std::thread editor([&] {
    while (!enough) {
      session.SceneChanged();
      std::this_thread::yield();
    }
  });
  EXPECT_TRUE(recorder.Await([&] { return recorder.passes.size() >= 10; }));
  enough = true;
  editor.join();
  session.RequestStop();
  EXPECT_TRUE(session.Wait(kLong));
}

TEST(Interactive, NoSamplesEndAnEndlessOne) {
  SceneKit kit;
  MakeCornell(kit, 8, 2);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({.mode = Mode::kInteractive, .endless = true});
  EXPECT_TRUE(recorder.Await([&] { return !recorder.passes.empty() && recorder.passes.back() > 64; }));
  EXPECT_FALSE(session.ended());
  EXPECT_EQ(recorder.progress.back().second, 0);
  session.RequestStop();
  EXPECT_TRUE(session.Wait(kLong));
}

TEST(Interactive, TheNoiseThresholdEndsIt) {
  SceneKit kit;
  MakeCornell(kit, 24, 1 << 20);
  int samples[2] = {};
  for (int i = 0; i < 2; ++i) {
    Recorder recorder;
    Session session(kit.scene, recorder);
    session.Start({.mode = Mode::kInteractive, .noise_threshold = i == 0 ? 0.2f : 0.05f});
    ASSERT_TRUE(session.Wait(kLong));
    EXPECT_EQ(session.state(), State::kIdleDone);
    samples[i] = session.statistics().samples;
  }
  // The error falls with the square root: a quarter of it takes sixteen times the samples.
  EXPECT_GT(samples[1], 4 * samples[0]);
  EXPECT_LT(samples[1], 1 << 16);
  // And what is left is what was asked for.
  const ImagePtr rough = RenderProduction(kit.scene, {.samples = samples[0]});
  const ImagePtr fine = RenderProduction(kit.scene, {.samples = 64 * samples[0]});
  double error = 0;
  for (size_t i = 0; i < fine->pixel_count(); ++i) {
    const float* a = rough->pixels() + 4 * i;
    const float* b = fine->pixels() + 4 * i;
    error += std::abs(a[1] - b[1]) / (b[1] + 0.02);
  }
  EXPECT_LT(error / static_cast<double>(fine->pixel_count()), 0.3);
}

TEST(Interactive, MoreSamplesGoOnWhereItWas) {
  SceneKit kit;
  MakeCornell(kit, 16, 4);
  Recorder recorder;
  Session session(kit.scene, recorder);
  RenderOptions options{.mode = Mode::kInteractive, .keep_running = true};
  session.Start(options);
  ASSERT_TRUE(recorder.AwaitState(State::kRenderingAwaitingChanges));
  options.samples = 8;
  session.SetOptions(options);
  ASSERT_TRUE(recorder.Await([&] { return recorder.passes.back() == 8; }));
  EXPECT_EQ(recorder.passes, (std::vector<int>{1, 2, 4, 8}));
  options.keep_running = false;
  session.SetOptions(options);
  EXPECT_TRUE(session.Wait(kLong));
  EXPECT_EQ(session.state(), State::kIdleDone);
  EXPECT_TRUE(SamePixels(*RenderProduction(kit.scene, {.samples = 8}), *ImagePtr(session.Snapshot())));
}

TEST(Interactive, AnotherPictureBeginsAgain) {
  SceneKit kit;
  MakeCornell(kit, 16, 4);
  Recorder recorder;
  Session session(kit.scene, recorder);
  RenderOptions options{.mode = Mode::kInteractive, .keep_running = true};
  session.Start(options);
  ASSERT_TRUE(recorder.AwaitState(State::kRenderingAwaitingChanges));
  options.width = 20;
  options.height = 10;
  session.SetOptions(options);
  ASSERT_TRUE(recorder.Await([&] { return recorder.passes.size() == 6; }));
  EXPECT_EQ(recorder.images.back()->width, 20);
  EXPECT_EQ(recorder.images.back()->height, 10);
  session.RequestStop();
  EXPECT_TRUE(session.Wait(kLong));
}

TEST(Interactive, PicturesThatDifferLittleAreNotTold) {
  SceneKit kit;
  MakeCornell(kit, 16, 64);
  const auto passes_with = [&](RenderOptions options) {
    Recorder recorder;
    Session session(kit.scene, recorder);
    options.mode = Mode::kInteractive;
    session.Start(options);
    EXPECT_TRUE(session.Wait(kLong));
    return recorder.passes;
  };
  EXPECT_EQ(passes_with({.update_difference = 1e6f}), (std::vector<int>{1, 64})) << "the first and the last";
  EXPECT_EQ(passes_with({.update_difference = 1e6f, .update_timeout = 1e-9}).size(), 7u);
  EXPECT_EQ(passes_with({.update_difference = 1e-9f}).size(), 7u);
}

TEST(Interactive, NothingIsRenderedWhileItIsPaused) {
  SceneKit kit;
  const Cornell room = MakeCornell(kit, 16, 1 << 20);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.StartAndPrepare({.mode = Mode::kInteractive, .keep_running = true});
  ASSERT_TRUE(session.SetPaused(true));
  ASSERT_TRUE(recorder.AwaitState(State::kRenderingPaused));
  const size_t told = recorder.passes.size();
  kit.scene.Set(room.lamp, "intensity", 0.0f);
  session.SceneChanged();
  std::this_thread::sleep_for(milliseconds(30));
  EXPECT_EQ(session.state(), State::kRenderingPaused);
  EXPECT_EQ(recorder.passes.size(), told);
  session.SetPaused(false);
  ASSERT_TRUE(recorder.Await([&] { return recorder.passes.size() > told; }));
  EXPECT_FLOAT_EQ(Mean(*recorder.images.back()).g, 0);
  session.RequestStop();
  EXPECT_TRUE(session.Wait(kLong));
}

TEST(Interactive, AFinishedOneCanBePaused) {
  SceneKit kit;
  MakeCornell(kit, 8, 1);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({.mode = Mode::kInteractive, .keep_running = true});
  ASSERT_TRUE(recorder.AwaitState(State::kRenderingAwaitingChanges));
  ASSERT_TRUE(session.SetPaused(true));
  ASSERT_TRUE(recorder.AwaitState(State::kRenderingPaused));
  session.SetPaused(false);
  EXPECT_TRUE(recorder.AwaitState(State::kRenderingAwaitingChanges));
  session.RequestStop();
  EXPECT_TRUE(session.Wait(kLong));
}

TEST(Interactive, ASceneWithoutACameraAwaitsOne) {
  SceneKit kit;
  kit.Settings(8, 8, 1);
  const PluginId camera = kit.Camera({0, 0, 1}, {0, 0, 0});
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({.mode = Mode::kInteractive, .keep_running = true});
  ASSERT_TRUE(recorder.AwaitState(State::kRenderingAwaitingChanges));
  kit.scene.Delete(camera);
  session.SceneChanged();
  for (int i = 0; i < 5000 && session.last_error() == RenderError::kNone; ++i) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  EXPECT_EQ(session.last_error(), RenderError::kNoCamera);
  EXPECT_FALSE(session.ended());
  const size_t told = recorder.passes.size();
  kit.Camera({0, 0, 1}, {0, 0, 0});
  session.SceneChanged();
  EXPECT_TRUE(recorder.Await([&] { return recorder.passes.size() > told; }));
  EXPECT_EQ(session.last_error(), RenderError::kNone);
  session.RequestStop();
  EXPECT_TRUE(session.Wait(kLong));
}

}  // namespace
}  // namespace kiln::engine::render::test
