// The queue between a render and the host: order, pacing, coalescing, what becomes of images, and its end
// while the host holds a callback.
#include "engine/api/event_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine/utilities/memory.h"

namespace kiln::engine::api {
namespace {

using namespace std::chrono_literals;

// A callback that writes down what it gets, and that can be held until it is let go.
struct Host {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::string> log;
  std::vector<void*> images;
  std::vector<double> times;
  int entered = 0;
  int inside = 0;
  int most_inside = 0;
  bool hold = false;

  void Enter(const KilnEventHead& head, std::string text, void* image = nullptr) {
    std::unique_lock lock(mutex);
    ++entered;
    most_inside = std::max(most_inside, ++inside);
    log.push_back(std::move(text));
    times.push_back(head.time);
    if (image) images.push_back(image);
    changed.notify_all();
    changed.wait(lock, [this] { return !hold; });
    --inside;
  }
  void Hold(bool held) {
    const std::lock_guard lock(mutex);
    hold = held;
    changed.notify_all();
  }
  bool WaitFor(size_t count) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, 10s, [&] { return log.size() >= count; });
  }
  std::vector<std::string> Log() {
    const std::lock_guard lock(mutex);
    return log;
  }
};

Host& HostOf(const KilnEventHead& head) {
  return *static_cast<Host*>(head.user_data);
}

int32_t OnState(void* record) {
  const auto& event = *static_cast<KilnStateChangedEvent*>(record);
  HostOf(event.head)
      .Enter(event.head, "state " + std::to_string(event.first) + " " + std::to_string(event.second));
  return 0;
}

int32_t OnBucket(void* record) {
  const auto& event = *static_cast<KilnBucketEvent*>(record);
  EXPECT_EQ(event.host, nullptr);
  HostOf(event.head).Enter(event.head, "bucket " + std::to_string(event.x));
  return 0;
}

int32_t OnReady(void* record) {
  const auto& event = *static_cast<KilnBucketReadyEvent*>(record);
  HostOf(event.head).Enter(event.head, "ready " + std::to_string(event.x), event.image);
  return 0;
}

int32_t OnImage(void* record) {
  const auto& event = *static_cast<KilnImageUpdatedEvent*>(record);
  HostOf(event.head)
      .Enter(event.head, "image " + std::to_string(event.number) + " " + std::to_string(event.extra),
             event.image);
  return 0;
}

int32_t OnMessage(void* record) {
  const auto& event = *static_cast<KilnMessageEvent*>(record);
  HostOf(event.head).Enter(event.head, std::to_string(event.level) + " " + event.message);
  return 0;
}

int32_t OnProgress(void* record) {
  const auto& event = *static_cast<KilnProgressEvent*>(record);
  HostOf(event.head)
      .Enter(event.head, std::string(event.message) + " " + std::to_string(event.first) + "/" +
                             std::to_string(event.second));
  return 0;
}

CallbackDescriptor Descriptor(KilnCallback function, Host& host) {
  return {function, &host, {0, 0}};
}

// Only its address and its block matter to the queue.
image::Image* NewImage() {
  auto* image = static_cast<image::Image*>(AllocateShared(sizeof(image::Image)));
  *image = {};
  image->width = 4;
  image->height = 2;
  return image;
}

class EventQueueTest : public ::testing::Test {
 protected:
  void Set(EventKind kind, KilnCallback function) {
    const CallbackDescriptor descriptor = Descriptor(function, host);
    queue.SetCallback(kind, &descriptor);
  }
  Host host;
  EventQueue queue;
};

TEST_F(EventQueueTest, DeliversInOrderOneAtATimeOnItsOwnThread) {
  Set(EventKind::kStateChanged, OnState);
  Set(EventKind::kMessage, OnMessage);
  Set(EventKind::kProgress, OnProgress);
  queue.OnState(render::State::kIdleInitialized, render::State::kPreparing);
  queue.OnLog(1, "careful");
  queue.OnProgress("rendering", 3, 1000);
  queue.OnState(render::State::kPreparing, render::State::kRendering);
  ASSERT_TRUE(host.WaitFor(4));
  EXPECT_EQ(host.Log(),
            (std::vector<std::string>{"state 0 5", "1 careful", "rendering 3/1000", "state 5 6"}));
  EXPECT_EQ(host.most_inside, 1);
  EXPECT_TRUE(std::is_sorted(host.times.begin(), host.times.end()));
  EXPECT_GE(host.times.front(), 0);
  EXPECT_LE(host.times.back(), queue.Now());
}

TEST_F(EventQueueTest, DropsWhatNobodyWants) {
  EXPECT_FALSE(queue.WantsBuckets());
  EXPECT_FALSE(queue.WantsUpdatedImages());
  queue.BeginPacing();
  for (int i = 0; i < 1000; ++i) queue.OnBucketReady({i, 0, 1, 1}, NewImage());
  EXPECT_EQ(EventQueue::ThreadCount(), 0) << "no callback, no thread";
  Set(EventKind::kStateChanged, OnState);
  queue.OnState(render::State::kIdleInitialized, render::State::kPreparing);
  ASSERT_TRUE(host.WaitFor(1));
  EXPECT_EQ(host.Log().size(), 1u);
}

TEST_F(EventQueueTest, MessagesAboveTheLevelStayOut) {
  queue.SetMessageLevel(1);
  Set(EventKind::kMessage, OnMessage);
  queue.OnLog(0, "error");
  queue.OnLog(2, "info");
  queue.OnLog(1, "warning");
  ASSERT_TRUE(host.WaitFor(2));
  EXPECT_EQ(host.Log(), (std::vector<std::string>{"0 error", "1 warning"}));
}

TEST_F(EventQueueTest, PacesTheSenderOfBucketsUntilTheHostTakesThem) {
  Set(EventKind::kBucketInit, OnBucket);
  host.Hold(true);
  queue.BeginPacing();
  std::atomic<int> sent{0};
  std::thread sender([&] {
    for (int i = 0; i < 200; ++i) {
      queue.OnBucketInit({i, 0, 1, 1});
      ++sent;
    }
  });
  ASSERT_TRUE(host.WaitFor(1));
  std::this_thread::sleep_for(50ms);
  EXPECT_LT(sent, 100) << "the sender runs ahead of the host";
  host.Hold(false);
  sender.join();
  EXPECT_TRUE(host.WaitFor(200));
}

TEST_F(EventQueueTest, AStopLetsASenderGoWhileTheHostHoldsACallback) {
  Set(EventKind::kImageUpdated, OnImage);
  host.Hold(true);
  queue.BeginPacing();
  std::thread sender([&] {
    for (int i = 0; i < 10; ++i) queue.OnImageUpdated(NewImage(), 7, i);
  });
  ASSERT_TRUE(host.WaitFor(1));
  queue.EndPacing();
  sender.join();
  host.Hold(false);
  ASSERT_TRUE(host.WaitFor(10));
  EXPECT_EQ(host.Log().back(), "image 7 9");
}

TEST_F(EventQueueTest, ClearingTheCallbackLetsASenderGoAndDropsTheRest) {
  Set(EventKind::kBucketReady, OnReady);
  host.Hold(true);
  queue.BeginPacing();
  std::thread sender([&] {
    for (int i = 0; i < 100; ++i) queue.OnBucketReady({i, 0, 1, 1}, NewImage());
  });
  ASSERT_TRUE(host.WaitFor(1));
  queue.SetCallback(EventKind::kBucketReady, nullptr);
  sender.join();
  host.Hold(false);
  queue.Close();
  EXPECT_EQ(host.Log().size(), 1u);
}

TEST_F(EventQueueTest, ProgressPilesUpToOneEvent) {
  Set(EventKind::kProgress, OnProgress);
  host.Hold(true);
  for (int i = 0; i < 10000; ++i) queue.OnProgress("rendering", i, 10000);
  host.Hold(false);
  queue.Close();
  EXPECT_LT(host.Log().size(), 100u);
  EXPECT_EQ(host.Log().back(), "rendering 9999/10000") << "the last one counts";
}

TEST_F(EventQueueTest, KeptImagesAreTheHosts) {
  queue.SetImagesKept(EventKind::kBucketReady, true);
  Set(EventKind::kBucketReady, OnReady);
  queue.OnBucketReady({1, 0, 4, 2}, NewImage());
  ASSERT_TRUE(host.WaitFor(1));
  ASSERT_EQ(host.images.size(), 1u);
  EXPECT_EQ(static_cast<image::Image*>(host.images[0])->width, 4) << "alive after the callback";
  FreeShared(host.images[0]);
}

TEST_F(EventQueueTest, UnwantedImagesAreNotDelivered) {
  Set(EventKind::kBucketReady, OnReady);
  EXPECT_TRUE(queue.WantsBucketImages());
  queue.SetImagesWanted(EventKind::kBucketReady, false);
  EXPECT_FALSE(queue.WantsBucketImages());
  EXPECT_TRUE(queue.WantsBuckets());
  queue.OnBucketReady({1, 0, 4, 2}, NewImage());
  ASSERT_TRUE(host.WaitFor(1));
  EXPECT_TRUE(host.images.empty());
}

TEST_F(EventQueueTest, CloseDeliversWhatIsQueuedAndEndsTheThread) {
  Set(EventKind::kStateChanged, OnState);
  for (int i = 0; i < 100; ++i) queue.OnState(render::State::kPreparing, render::State::kRendering);
  queue.Close();
  EXPECT_EQ(host.Log().size(), 100u);
  EXPECT_EQ(EventQueue::ThreadCount(), 0);
  queue.OnState(render::State::kPreparing, render::State::kRendering);
  Set(EventKind::kStateChanged, OnState);
  EXPECT_EQ(EventQueue::ThreadCount(), 0) << "closed for good";
  EXPECT_EQ(host.Log().size(), 100u);
}

TEST_F(EventQueueTest, CloseWithALimitLeavesAHeldCallbackBehind) {
  Set(EventKind::kStateChanged, OnState);
  host.Hold(true);
  queue.OnState(render::State::kPreparing, render::State::kRendering);
  queue.OnState(render::State::kRendering, render::State::kIdleStopped);
  ASSERT_TRUE(host.WaitFor(1));
  queue.Close(20ms);
  EXPECT_EQ(EventQueue::ThreadCount(), 1);
  host.Hold(false);
  for (int i = 0; i < 1000 && EventQueue::ThreadCount() > 0; ++i) std::this_thread::sleep_for(1ms);
  EXPECT_EQ(EventQueue::ThreadCount(), 0);
  EXPECT_EQ(host.Log().size(), 1u) << "the rest was dropped";
}

struct Closer {
  EventQueue* queue;
  std::atomic<int> calls{0};
};

int32_t CloseFromInside(void* record) {
  auto& closer = *static_cast<Closer*>(static_cast<KilnStateChangedEvent*>(record)->head.user_data);
  ++closer.calls;
  std::this_thread::sleep_for(20ms);
  closer.queue->Close();
  return 0;
}

TEST_F(EventQueueTest, NothingComesAfterACloseFromInsideACallback) {
  Closer closer{&queue};
  const CallbackDescriptor descriptor{CloseFromInside, &closer, {0, 0}};
  queue.SetCallback(EventKind::kStateChanged, &descriptor);
  for (int i = 0; i < 10; ++i) queue.OnState(render::State::kPreparing, render::State::kRendering);
  for (int i = 0; i < 5000 && EventQueue::ThreadCount() > 0; ++i) std::this_thread::sleep_for(1ms);
  EXPECT_EQ(EventQueue::ThreadCount(), 0);
  EXPECT_EQ(closer.calls, 1);
}

TEST_F(EventQueueTest, ManySendersAndCallbacksThatComeAndGo) {
  queue.BeginPacing();
  std::vector<std::thread> senders;
  for (int t = 0; t < 4; ++t) {
    senders.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        queue.OnBucketReady({i, 0, 1, 1}, NewImage());
        queue.OnProgress("rendering", i, 500);
      }
    });
  }
  for (int i = 0; i < 200; ++i) {
    Set(EventKind::kBucketReady, OnReady);
    Set(EventKind::kProgress, OnProgress);
    queue.SetCallback(i % 2 ? EventKind::kBucketReady : EventKind::kProgress, nullptr);
  }
  for (std::thread& sender : senders) sender.join();
  queue.Close();
  EXPECT_LE(host.most_inside, 1);
}

}  // namespace
}  // namespace kiln::engine::api
