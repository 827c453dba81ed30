#include "binding/kept_object.h"

#include <mutex>
#include <thread>
#include <unordered_set>
#include <vector>

namespace KilnNodeWrapper {

struct KeptObject {
  std::shared_ptr<ReleaseQueue> queue;
  v8::Global<v8::Object> object;
};

// Shared by the environment and by every cookie that is still out, so that a release which comes after the
// environment's end finds it.
class ReleaseQueue : public std::enable_shared_from_this<ReleaseQueue> {
 public:
  explicit ReleaseQueue(Environment& environment)
      : thread_(std::this_thread::get_id()), environment_(&environment) {
    auto* async = new Wake{{}, this};
    uv_async_init(environment.loop(), &async->handle, OnWake);
    // Waiting for the SDK is no reason to keep the loop alive.
    uv_unref(reinterpret_cast<uv_handle_t*>(&async->handle));
    environment.Hold();
    wake_ = async;
  }

  void* Keep(v8::Local<v8::Object> object) {
    auto* kept = new KeptObject{shared_from_this(), {environment_->isolate(), object}};
    std::lock_guard lock(mutex_);
    out_.insert(kept);
    return kept;
  }

  void Release(KeptObject* kept) {
    std::unique_lock lock(mutex_);
    if (out_.erase(kept) == 0) return;
    if (closed_ || std::this_thread::get_id() == thread_) {
      lock.unlock();
      delete kept;
    } else {
      released_.push_back(kept);
      uv_async_send(&wake_->handle);
    }
  }

  // The environment's end: every handle goes now, on its own thread; the cookies stay valid until they come
  // back.
  void Close() {
    {
      // One step: a release on another thread comes before it and is drained, or after it and finds no
      // handle.
      std::lock_guard lock(mutex_);
      closed_ = true;
      for (KeptObject* kept : out_) kept->object.Reset();
    }
    Drain();
    wake_->queue = nullptr;
    uv_close(reinterpret_cast<uv_handle_t*>(&wake_->handle), [](uv_handle_t* handle) {
      auto* wake = reinterpret_cast<Wake*>(handle);
      Environment* environment = wake->environment;
      delete wake;
      environment->Drop();
    });
    wake_->environment = environment_;
    environment_ = nullptr;
  }

 private:
  struct Wake {
    uv_async_t handle;
    ReleaseQueue* queue;
    Environment* environment = nullptr;
  };

  static void OnWake(uv_async_t* handle) {
    if (ReleaseQueue* queue = reinterpret_cast<Wake*>(handle)->queue) queue->Drain();
  }

  void Drain() {
    std::vector<KeptObject*> released;
    {
      std::lock_guard lock(mutex_);
      released.swap(released_);
    }
    for (KeptObject* kept : released) delete kept;
  }

  const std::thread::id thread_;
  Environment* environment_;
  Wake* wake_ = nullptr;
  std::mutex mutex_;
  bool closed_ = false;
  std::unordered_set<KeptObject*> out_;
  std::vector<KeptObject*> released_;
};

void* KeepObject(Environment& environment, v8::Local<v8::Object> object) {
  if (!environment.release_queue) environment.release_queue = std::make_shared<ReleaseQueue>(environment);
  return environment.release_queue->Keep(object);
}

void ReleaseKeptObject(void* /*memory*/, uint64_t /*size*/, void* cookie) {
  if (!cookie) return;
  auto* kept = static_cast<KeptObject*>(cookie);
  // The queue must outlive the record that holds the reference to it.
  const std::shared_ptr<ReleaseQueue> queue = kept->queue;
  queue->Release(kept);
}

void CloseReleaseQueue(Environment& environment) {
  if (!environment.release_queue) return;
  environment.release_queue->Close();
  environment.release_queue.reset();
}

}  // namespace KilnNodeWrapper
