// The engine's use of oneTBB: one handle for the library's life, and work on a chosen number of threads.
#pragma once

#include <cstdint>
#include <functional>

namespace kiln::engine::render {

// The number of workers for a wish; 0 or less: one per core.
int WorkerCount(int wish);
// Runs body(0) ... body(workers - 1), on as many threads at once, the calling one among them. Parallel work
// inside the bodies stays on these threads. What a body throws comes out here.
void RunWorkers(int workers, const std::function<void(int)>& body);
// Runs the body so that parallel work inside it uses that many threads.
void RunInArena(int workers, const std::function<void()>& body);
// Runs body(begin, end) over pieces of [0, count) of about `grain` at most, on the threads of the arena that
// it is called in. The pieces are the same whatever the number of threads.
void RunPieces(uint32_t count, uint32_t grain, const std::function<void(uint32_t, uint32_t)>& body);

}  // namespace kiln::engine::render
