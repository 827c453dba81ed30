// Carries a renderer's events to the host's callbacks: one thread of its own delivers them one at a time, so
// that a host may park a callback for as long as it likes without holding up a thread of its own.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "engine/render/session.h"
#include "entry_points.h"

namespace kiln::engine::api {

struct Event;

enum class EventKind : uint8_t {
  kStateChanged,
  kImageUpdated,
  kBucketInit,
  kBucketReady,
  kBucketFailed,
  kMessage,
  kProgress,
  kRenderViewChanged,
  kRenderLast,
  kRenderInteractiveStart,
  kWindowClosed,
  kPostEffectsUpdated,
  kShowMessagesWindow,
  kHostConnected,
  kHostDisconnected,
  kContextMenu,
  kLightMix,
  kUpload,
  kRendererClosed,  // and the end of a server
  kServerStarted,
  kCount,
};

enum class LogLevel : int32_t { kError, kWarning, kInfo, kDebug };

// All methods may be called from any thread, and from inside a callback. An event without a callback is not
// queued. Bucket and image events pace their sender: it waits while too many of them are undelivered. All
// other events are queued without waiting.
class EventQueue final : public render::RenderListener {
 public:
  EventQueue();
  ~EventQueue() override;  // Close, without a limit
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  // Copies the descriptor; null, or one without a function, turns the callback off. Does not wait for a
  // delivery in progress. Undelivered events of a callback that was turned off are dropped, their images
  // freed.
  void SetCallback(EventKind kind, const CallbackDescriptor* callback);
  // Messages above this level are not delivered.
  void SetMessageLevel(int32_t level);

  // Whether events of a kind carry their pixels (they do at first), and whether these are the host's after
  // the callback (they are not at first).
  void SetImagesWanted(EventKind kind, bool wanted);
  bool ImagesWanted(EventKind kind) const;
  void SetImagesKept(EventKind kind, bool kept);

  // Seconds since the queue was made, the time that events carry.
  double Now() const;

  // Senders wait for room, from now on; the start of a render.
  void BeginPacing();
  // Senders wait no longer, and who waits goes on; what ends a render.
  void EndPacing();

  // Ends the thread: what is queued is still delivered, or dropped when there is a limit or the caller is a
  // callback; later events are dropped. A callback in progress is waited for, at most for the limit; then,
  // and when the callback itself is the caller, the thread ends by itself when the callback returns. Repeated
  // calls do nothing.
  void Close(std::optional<std::chrono::milliseconds> limit = {});
  // How many delivery threads there are in the process.
  static int ThreadCount();
  // Until there are none, or the limit has passed.
  static void AwaitThreads(std::chrono::milliseconds limit);

  void OnRendererClosed();
  void OnServerStarted();

  void OnState(render::State from, render::State to) override;
  bool WantsBuckets() const override;
  bool WantsBucketImages() const override;
  bool WantsImageUpdates() const override;
  bool WantsUpdatedImages() const override;
  void OnBucketInit(const render::Bucket& bucket) override;
  void OnBucketReady(const render::Bucket& bucket, image::Image* image) override;
  void OnImageUpdated(image::Image* image, uint64_t change_index, int samples) override;
  void OnProgress(std::string_view text, int done, int total) override;
  void OnLog(int level, std::string_view text) override;

 private:
  class Delivery;
  // Never throws: an event that there is no memory for is lost.
  template <class Fill>
  void Send(EventKind kind, Fill&& fill) noexcept;

  // The thread holds a share, so that it may outlive this object while a callback is in progress.
  const std::shared_ptr<Delivery> delivery_;
};

}  // namespace kiln::engine::api
