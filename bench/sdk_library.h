// What the benchmarks ask of the measuring library beside its entry points.
#pragma once

#include <cstddef>
#include <cstdint>

#define BENCH_EXPORT __attribute__((visibility("default")))

extern "C" {
// The next images of getImage. They are one block, which nobody frees, so that no allocation is measured.
BENCH_EXPORT void bench_set_image(int32_t width, int32_t height);
BENCH_EXPORT const void* bench_image(uint64_t* bytes);

// Starts a thread that calls the registered callback for changed states that often, as an SDK thread does.
// False when none is registered or the last thread was not joined.
BENCH_EXPORT bool bench_raise(uint32_t count);
// Joins the thread; the nanoseconds of each callback, valid until the next bench_raise.
BENCH_EXPORT const double* bench_raised(size_t* count);

// The ID that the property "next" answers next; it counts up.
BENCH_EXPORT void bench_set_next_plugin(uint64_t id);
}
