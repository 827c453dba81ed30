// Arenas, and the start and end of the library's threads. The one file that uses oneTBB's templates: the
// library is built without the thread sanitizer, so this file is as well, and tells it what the library
// orders.
#include "engine/render/threads.h"

#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <thread>

#include "engine/render/handover.h"
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
  Handover handover;
  arena.execute([&] {
    const Handover::Piece piece(handover);
    body();
  });
}

void RunWorkers(int workers, const std::function<void(int)>& body) {
  RunInArena(workers, [&] {
    RunPieces(static_cast<uint32_t>(workers), 1, [&body](uint32_t begin, uint32_t end) {
      for (uint32_t i = begin; i != end; ++i) body(static_cast<int>(i));
    });
  });
}

void RunPieces(uint32_t count, uint32_t grain, const std::function<void(uint32_t, uint32_t)>& body) {
  Handover handover;
  tbb::parallel_for(
      tbb::blocked_range<uint32_t>(0, count, grain),
      [&](const tbb::blocked_range<uint32_t>& range) {
        const Handover::Piece piece(handover);
        body(range.begin(), range.end());
      },
      tbb::simple_partitioner());
}

void InitThreads(int threads) {
  ThreadState& state = Threads();
  {
    const std::scoped_lock lock(state.mutex);
    if (!state.handle) state.handle = tbb::task_scheduler_handle(tbb::attach{});
  }
  Allow(WorkerCount(threads));
  // The first arena has oneTBB look for another library. A thread that did so while this one is being
  // unloaded would wait for the loader, and the unload for it. What oneTBB keeps for a thread goes with this
  // one.
  std::thread([] { tbb::task_arena(1).initialize(); }).join();
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
