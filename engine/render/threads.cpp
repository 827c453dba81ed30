// Arenas, and the start and end of the library's threads.
#include "engine/render/threads.h"

#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <thread>

#include "engine/render/session.h"

namespace kiln::engine::render {
namespace {

struct ThreadState {
  std::mutex mutex;
  std::unique_ptr<tbb::global_control> limit;
  int allowed = 0;
  tbb::task_scheduler_handle handle;
};

ThreadState& Threads() {
  static ThreadState state;
  return state;
}

// The smallest of all limits counts, so there is one, which only grows.
void Allow(int threads) {
  ThreadState& state = Threads();
  const std::scoped_lock lock(state.mutex);
  if (threads <= state.allowed) return;
  state.limit.reset();
  state.limit = std::make_unique<tbb::global_control>(tbb::global_control::max_allowed_parallelism,
                                                      static_cast<size_t>(threads));
  state.allowed = threads;
}

}  // namespace

int WorkerCount(int wish) {
  constexpr int kMost = 1024;
  if (wish > 0) return std::min(wish, kMost);
  return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

void RunInArena(int workers, const std::function<void()>& body) {
  Allow(workers);
  tbb::task_arena arena(workers);
  arena.execute(body);
}

void RunWorkers(int workers, const std::function<void(int)>& body) {
  RunInArena(workers, [&] {
    tbb::parallel_for(
        tbb::blocked_range<int>(0, workers, 1),
        [&body](const tbb::blocked_range<int>& range) {
          for (int i = range.begin(); i != range.end(); ++i) body(i);
        },
        tbb::simple_partitioner());
  });
}

void InitThreads(int threads) {
  ThreadState& state = Threads();
  {
    const std::scoped_lock lock(state.mutex);
    if (!state.handle) state.handle = tbb::task_scheduler_handle(tbb::attach{});
  }
  Allow(WorkerCount(threads));
}

bool ShutdownThreads() {
  ThreadState& state = Threads();
  const std::scoped_lock lock(state.mutex);
  state.limit.reset();
  state.allowed = 0;
  if (!state.handle) state.handle = tbb::task_scheduler_handle(tbb::attach{});
  return tbb::finalize(state.handle, std::nothrow);
}

}  // namespace kiln::engine::render
