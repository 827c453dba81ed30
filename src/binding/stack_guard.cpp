#include "binding/stack_guard.h"

#include <cstdint>

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#endif

namespace KilnNodeWrapper {
namespace {

// What a level and the V8 calls below it may take.
constexpr uintptr_t kReserve = 96 * 1024;

// The lowest address of this thread's stack; 0 when the system does not tell.
uintptr_t LowestAddress() {
#if defined(_WIN32)
  ULONG_PTR low = 0;
  ULONG_PTR high = 0;
  GetCurrentThreadStackLimits(&low, &high);
  return low;
#elif defined(__APPLE__)
  const auto top = reinterpret_cast<uintptr_t>(pthread_get_stackaddr_np(pthread_self()));
  return top - pthread_get_stacksize_np(pthread_self());
#else
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
  void* low = nullptr;
  size_t size = 0;
  pthread_attr_getstack(&attributes, &low, &size);
  pthread_attr_destroy(&attributes);
  return reinterpret_cast<uintptr_t>(low);
#endif
}

}  // namespace

bool HasStackRoom() {
  thread_local const uintptr_t low = LowestAddress();
  const char here = 0;
  return reinterpret_cast<uintptr_t>(&here) > low + kReserve;
}

bool CheckStack(v8::Isolate* isolate) {
  if (HasStackRoom()) return true;
  isolate->ThrowException(
      v8::Exception::RangeError(v8::String::NewFromUtf8Literal(isolate, "Maximum call stack size exceeded")));
  return false;
}

}  // namespace KilnNodeWrapper
