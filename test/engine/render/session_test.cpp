// A session's life: states, events, threads, stops, pauses, changes and errors.
#include "engine/render/session.h"

#include <atomic>
#include <filesystem>
#include <semaphore>
#include <thread>

#include "engine/render/bucket_queue.h"
#include "test/engine/render/cornell.h"

namespace kiln::engine::render::test {
namespace {

using std::chrono::milliseconds;
constexpr milliseconds kLong{20000};

ImagePtr RenderWith(scene::Scene& scene, RenderOptions options) {
  Recorder recorder;
  Session session(scene, recorder);
  session.Start(options);
  EXPECT_TRUE(session.Wait(kLong));
  EXPECT_EQ(session.state(), State::kIdleDone);
  return ImagePtr(session.Snapshot());
}

TEST(Session, SameImageOnAnyNumberOfThreadsInBothModes) {
  SceneKit kit;
  MakeCornell(kit, 40, 12);
  const ImagePtr first = RenderWith(kit.scene, {.threads = 1});
  ASSERT_NE(first, nullptr);
  EXPECT_GT(Mean(*first).g, 0.1);
  for (const Mode mode : {Mode::kProduction, Mode::kInteractive}) {
    for (const int threads : {1, 2, 4}) {
      const ImagePtr image = RenderWith(kit.scene, {.mode = mode, .threads = threads});
      EXPECT_TRUE(SamePixels(*first, *image)) << static_cast<int>(mode) << ' ' << threads;
    }
  }
}

TEST(Session, AnotherSeedGivesOtherNoise) {
  SceneKit kit;
  MakeCornell(kit, 16, 2);
  const ImagePtr first = RenderWith(kit.scene, {});
  kit.scene.Set(kit.sampler, "seed", 1);
  EXPECT_FALSE(SamePixels(*first, *RenderWith(kit.scene, {})));
}

TEST(Session, ProductionTellsItsStatesAndBuckets) {
  SceneKit kit;
  MakeCornell(kit, 40, 1);
  Recorder recorder;
  Session session(kit.scene, recorder);
  EXPECT_EQ(session.state(), State::kIdleInitialized);
  EXPECT_TRUE(session.ended());
  EXPECT_EQ(session.Snapshot(), nullptr);
  EXPECT_EQ(session.StartAndPrepare({}), RenderError::kNone);
  ASSERT_TRUE(session.Wait(kLong));
  ASSERT_TRUE(recorder.AwaitState(State::kIdleDone));
  const std::vector<std::pair<State, State>> expected{{State::kIdleInitialized, State::kPreparing},
                                                      {State::kPreparing, State::kRendering},
                                                      {State::kRendering, State::kIdleDone}};
  EXPECT_EQ(recorder.states, expected);
  // 40 pixels in buckets of 16.
  EXPECT_EQ(recorder.begun.size(), 9u);
  ASSERT_EQ(recorder.ready.size(), 9u);
  int pixels = 0;
  for (size_t i = 0; i < 9; ++i) {
    const Bucket& b = recorder.ready[i];
    pixels += b.width * b.height;
    ASSERT_NE(recorder.bucket_images[i], nullptr);
    EXPECT_EQ(recorder.bucket_images[i]->width, b.width);
  }
  EXPECT_EQ(pixels, 40 * 40);
  ASSERT_EQ(recorder.images.size(), 1u);
  EXPECT_TRUE(SamePixels(*recorder.images[0], *ImagePtr(session.Snapshot())));
  EXPECT_EQ(recorder.progress.back(), std::pair(1000, 1000));
  EXPECT_GT(session.statistics().rays, 1600u);
}

TEST(Session, NobodyWantingEventsGetsNone) {
  SceneKit kit;
  MakeCornell(kit, 32, 1);
  Recorder recorder;
  recorder.wants_buckets = recorder.wants_images = false;
  Session session(kit.scene, recorder);
  session.Start({});
  ASSERT_TRUE(recorder.AwaitState(State::kIdleDone));
  EXPECT_TRUE(recorder.begun.empty());
  ASSERT_EQ(recorder.images.size(), 1u);
  EXPECT_EQ(recorder.images[0], nullptr);
}

TEST(Session, StopEndsAnEndlessRender) {
  for (const Mode mode : {Mode::kProduction, Mode::kInteractive}) {
    SceneKit kit;
    MakeCornell(kit, 64, 1 << 20);
    Recorder recorder;
    Session session(kit.scene, recorder);
    EXPECT_EQ(session.StartAndPrepare({.mode = mode}), RenderError::kNone);
    EXPECT_FALSE(session.Wait(milliseconds(20)));
    EXPECT_FALSE(session.ended());
    session.RequestStop();
    EXPECT_TRUE(session.Wait(milliseconds(2000)));
    EXPECT_EQ(session.state(), State::kIdleStopped);
    EXPECT_TRUE(recorder.AwaitState(State::kIdleStopped));
  }
}

TEST(Session, DestructorStopsAndJoins) {
  SceneKit kit;
  MakeCornell(kit, 64, 1 << 20);
  Recorder recorder;
  const auto begin = std::chrono::steady_clock::now();
  {
    Session session(kit.scene, recorder);
    session.StartAndPrepare({.mode = Mode::kInteractive});
  }
  { Session never_started(kit.scene, recorder); }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(Session, ProductionDoesNotPause) {
  SceneKit kit;
  MakeCornell(kit, 64, 1 << 20);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.StartAndPrepare({});
  EXPECT_FALSE(session.SetPaused(true));
}

TEST(Session, EditsDuringARenderDoNotReachIt) {
  SceneKit kit;
  const Cornell room = MakeCornell(kit, 32, 24);
  const ImagePtr expected = RenderWith(kit.scene, {});
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.StartAndPrepare({});
  while (!session.ended()) {
    const std::unique_lock lock(kit.scene.mutex);
    kit.scene.Set(room.white, "baseColor", Color{0, 0, 0});
    kit.Make("GeomInstance");
  }
  {
    const std::unique_lock lock(kit.scene.mutex);
    kit.scene.Clear();
  }
  EXPECT_TRUE(SamePixels(*expected, *ImagePtr(session.Snapshot())));
}

TEST(Session, ANewStartReplacesTheRenderInProgress) {
  SceneKit kit;
  MakeCornell(kit, 32, 1 << 20);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.StartAndPrepare({});
  EXPECT_EQ(session.StartAndPrepare({.width = 16, .height = 8, .samples = 1}), RenderError::kNone);
  ASSERT_TRUE(session.Wait(kLong));
  EXPECT_EQ(session.state(), State::kIdleDone);
  const ImagePtr image(session.Snapshot());
  EXPECT_EQ(image->width, 16);
  EXPECT_EQ(image->height, 8);
}

TEST(Session, RegionKeepsTheRest) {
  SceneKit kit;
  MakeCornell(kit, 32, 2);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({});
  session.Wait(kLong);
  const ImagePtr whole(session.Snapshot());
  session.Start({.samples = 4, .region = Bucket{8, 8, 10, 6}});
  session.Wait(kLong);
  const ImagePtr part(session.Snapshot());
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 32; ++x) {
      const bool inside = x >= 8 && x < 18 && y >= 8 && y < 14;
      const size_t i = 4 * (static_cast<size_t>(y) * 32 + x);
      EXPECT_EQ(std::equal(whole->pixels() + i, whole->pixels() + i + 3, part->pixels() + i), !inside)
          << x << ' ' << y;
    }
  }
}

TEST(Session, CropFillsTheFrameWithAPartOfTheView) {
  SceneKit kit;
  kit.Settings(8, 8, 1);
  kit.PatchCamera({0, 0, 5}, {0, 0, 0}, 1);
  kit.Quad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, kit.Make("MaterialEmissive"));
  EXPECT_FLOAT_EQ(Mean(*RenderWith(kit.scene, {})).g, 0.25f);
  EXPECT_FLOAT_EQ(Mean(*RenderWith(kit.scene, {.crop = RegionF{0.5f, 0, 0.5f, 0.5f}})).g, 1);
  EXPECT_FLOAT_EQ(Mean(*RenderWith(kit.scene, {.crop = RegionF{0, 0, 0.5f, 0.5f}})).g, 0);
}

TEST(Session, WhoIsToldOfTheEndFindsTheRenderEnded) {
  class Asker : public Recorder {
   public:
    void OnState(State from, State to) override {
      Recorder::OnState(from, to);
      if (to == State::kIdleDone) asked.release();
    }
    std::binary_semaphore asked{0};
  };
  SceneKit kit;
  MakeCornell(kit, 8, 1);
  Asker asker;
  Session session(kit.scene, asker);
  for (int i = 0; i < 20; ++i) {
    session.Start({});
    asker.asked.acquire();
    EXPECT_TRUE(session.ended());
  }
}

TEST(Session, AFrameOfASequenceWaitsForTheNext) {
  SceneKit kit;
  MakeCornell(kit, 8, 1);
  Recorder recorder;
  Session session(kit.scene, recorder);
  session.Start({.more_frames = true});
  ASSERT_TRUE(session.Wait(kLong));
  EXPECT_EQ(session.state(), State::kIdleFrameDone);
  EXPECT_TRUE(session.ended());
  EXPECT_FALSE(session.sequence_ended());
  EXPECT_FALSE(session.WaitSequence(milliseconds(1)));
  session.Start({});
  ASSERT_TRUE(session.WaitSequence(kLong));
  EXPECT_EQ(session.state(), State::kIdleDone);
  session.Start({.more_frames = true});
  ASSERT_TRUE(session.Wait(kLong));
  session.RequestStop();
  EXPECT_TRUE(session.sequence_ended());
  EXPECT_EQ(session.state(), State::kIdleStopped);
}

TEST(Session, ASceneThatCannotBeRenderedSaysWhy) {
  SceneKit kit;
  Recorder recorder;
  Session session(kit.scene, recorder);
  EXPECT_EQ(session.StartAndPrepare({}), RenderError::kNoCamera);
  ASSERT_TRUE(session.Wait(kLong));
  EXPECT_EQ(session.state(), State::kIdleError);
  EXPECT_EQ(session.last_error(), RenderError::kNoCamera);
  ASSERT_TRUE(recorder.AwaitState(State::kIdleError));
  EXPECT_EQ(recorder.logs.back(), std::pair(0, std::string("There is no camera in the scene")));

  kit.Camera({0, 0, 1}, {0, 0, 0});
  EXPECT_EQ(session.StartAndPrepare({.width = -1, .height = 10}), RenderError::kEmptyImage);
  EXPECT_EQ(session.StartAndPrepare({.region = Bucket{1000, 0, 10, 10}}), RenderError::kEmptyImage);
  EXPECT_EQ(session.StartAndPrepare({.crop = RegionF{0, 0, 0, 1}}), RenderError::kEmptyImage);
  EXPECT_EQ(session.StartAndPrepare({.width = 4, .height = 4, .samples = 1}), RenderError::kNone);
  session.Wait(kLong);
  EXPECT_EQ(session.last_error(), RenderError::kNone);
}

TEST(Session, TwoSessionsRenderSideBySide) {
  SceneKit kit;
  MakeCornell(kit, 32, 8);
  const ImagePtr expected = RenderWith(kit.scene, {});
  Recorder recorder;
  Session a(kit.scene, recorder);
  Session b(kit.scene, recorder);
  a.Start({});
  b.Start({.mode = Mode::kInteractive});
  EXPECT_TRUE(a.Wait(kLong));
  EXPECT_TRUE(b.Wait(kLong));
  EXPECT_TRUE(SamePixels(*expected, *ImagePtr(a.Snapshot())));
  EXPECT_TRUE(SamePixels(*expected, *ImagePtr(b.Snapshot())));
}

TEST(Session, ThreadsEndAndStartAgain) {
#ifdef __SANITIZE_THREAD__
  constexpr int kAtRest = 2;  // the sanitizer has one of its own
#else
  constexpr int kAtRest = 1;
#endif
  const auto count_threads = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                         std::filesystem::directory_iterator());
  };
  SceneKit kit;
  MakeCornell(kit, 32, 2);
  for (int round = 0; round < 3; ++round) {
    InitThreads(4);
    const ImagePtr image = RenderWith(kit.scene, {.threads = 4});
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(ShutdownThreads());
    EXPECT_EQ(count_threads(), kAtRest) << round;
  }
}

TEST(BucketQueue, SpiralCoversEachPixelOnceFromTheCentre) {
  const Bucket area{3, 5, 100, 33};
  const std::vector<Bucket> buckets = SpiralBuckets(area, 16);
  std::vector<int> seen(100 * 33);
  for (const Bucket& b : buckets) {
    for (int y = b.y; y < b.y + b.height; ++y) {
      for (int x = b.x; x < b.x + b.width; ++x) ++seen[(y - 5) * 100 + x - 3];
    }
  }
  EXPECT_EQ(std::count(seen.begin(), seen.end(), 1), 100 * 33);
  EXPECT_EQ(buckets.front().x, 3 + 3 * 16);
  EXPECT_EQ(buckets.front().y, 5 + 16);
}

TEST(BucketQueue, PrefersWhatIsNear) {
  BucketQueue queue;
  queue.Fill(SpiralBuckets({0, 0, 64, 64}, 16));
  queue.Prefer(60, 5);
  Bucket bucket;
  ASSERT_TRUE(queue.Next(&bucket));
  EXPECT_EQ(bucket.x, 48);
  EXPECT_EQ(bucket.y, 0);
  queue.Return(bucket);
  ASSERT_TRUE(queue.Next(&bucket));
  EXPECT_EQ(bucket.x, 48);
}

TEST(BucketQueue, ForgetsWhatWasPreferred) {
  BucketQueue queue;
  queue.Prefer(60, 5);
  queue.Clear();
  queue.Fill(SpiralBuckets({0, 0, 64, 64}, 16));
  Bucket bucket;
  ASSERT_TRUE(queue.Next(&bucket));
  EXPECT_EQ(bucket, SpiralBuckets({0, 0, 64, 64}, 16).front());
}

TEST(BucketQueue, GivesTheRestByItsDistance) {
  BucketQueue queue;
  queue.Fill(SpiralBuckets({0, 0, 160, 160}, 16));
  Bucket bucket;
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(queue.Next(&bucket));
  queue.Prefer(0, 160);
  int last = 0;
  int count = 0;
  for (; queue.Next(&bucket); ++count) {
    const int dx = bucket.x + 8;
    const int dy = bucket.y + 8 - 160;
    EXPECT_GE(dx * dx + dy * dy, last);
    last = dx * dx + dy * dy;
  }
  EXPECT_EQ(count, 90);
}

}  // namespace
}  // namespace kiln::engine::render::test
