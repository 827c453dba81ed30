// The limits that the benchmarks hold the add-on against: loops in C++ over the same entry points, a
// ping-pong of two threads, a copy of an image's bytes. Loops take their count and return nothing; JavaScript
// takes the time.
#include <dlfcn.h>
#include <node_api.h>
#include <sched.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bench/sdk_library.h"
#include "entry_points.h"

namespace {

using Clock = std::chrono::steady_clock;

// What the loops call, and with what: the measuring library, until useLibrary says otherwise.
struct Sdk {
  decltype(&Kiln_getPropertyByteArrayByID) read = Kiln_getPropertyByteArrayByID;
  decltype(&Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID) write =
      Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID;
  decltype(&C_memory_free) free_block = C_memory_free;
  KilnRendererHandle renderer = nullptr;
  KilnPluginId plugin = 1;
};
Sdk loops;

// Keeps the compiler from leaving a loop out.
template <class T>
void Use(const T& value) {
  asm volatile("" : : "r"(&value) : "memory");
}

std::vector<napi_value> ArgumentsOf(napi_env env, napi_callback_info info) {
  size_t count = 4;
  napi_value values[4];
  napi_get_cb_info(env, info, &count, values, nullptr, nullptr);
  return {values, values + std::min(count, std::size(values))};
}

uint32_t NumberAt(napi_env env, const std::vector<napi_value>& arguments, size_t index) {
  uint32_t number = 0;
  if (index < arguments.size()) napi_get_value_uint32(env, arguments[index], &number);
  return number;
}

std::string TextAt(napi_env env, const std::vector<napi_value>& arguments, size_t index) {
  char text[64] = {};
  size_t length = 0;
  if (index < arguments.size()) {
    napi_get_value_string_utf8(env, arguments[index], text, sizeof(text), &length);
  }
  return {text, length};
}

napi_value NewNumber(napi_env env, double number) {
  napi_value value = nullptr;
  napi_create_double(env, number, &value);
  return value;
}

// {p50, p99} in microseconds.
napi_value NewTimes(napi_env env, std::vector<double> nanoseconds) {
  std::sort(nanoseconds.begin(), nanoseconds.end());
  napi_value object = nullptr;
  napi_create_object(env, &object);
  if (nanoseconds.empty()) return object;
  const auto at = [&](double share) {
    return NewNumber(env, nanoseconds[static_cast<size_t>(share * (nanoseconds.size() - 1))] * 1e-3);
  };
  napi_set_named_property(env, object, "p50", at(0.5));
  napi_set_named_property(env, object, "p99", at(0.99));
  return object;
}

// pin(): this thread, and those that it starts from here on, stay on the core that it runs on.
napi_value Pin(napi_env env, napi_callback_info) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(std::max(0, sched_getcpu()), &set);
  napi_value done = nullptr;
  napi_get_boolean(env, sched_setaffinity(0, sizeof(set), &set) == 0, &done);
  return done;
}

// pingPong(count): another thread hands over to this one and waits, with a condition variable, that often.
napi_value PingPong(napi_env env, napi_callback_info info) {
  const uint32_t count = NumberAt(env, ArgumentsOf(env, info), 0);
  std::mutex mutex;
  std::condition_variable changed;
  bool asked = false;
  bool answered = false;
  std::vector<double> times(count);
  std::thread other([&] {
    for (double& time : times) {
      const auto started = Clock::now();
      std::unique_lock lock(mutex);
      asked = true;
      changed.notify_one();
      changed.wait(lock, [&] { return answered; });
      answered = false;
      lock.unlock();
      time = std::chrono::duration<double, std::nano>(Clock::now() - started).count();
    }
  });
  for (uint32_t i = 0; i < count; ++i) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return asked; });
    asked = false;
    answered = true;
    changed.notify_one();
  }
  other.join();
  return NewTimes(env, std::move(times));
}

// raise(count): false when the callback is not registered. raised(): waits for the last one's return.
napi_value Raise(napi_env env, napi_callback_info info) {
  napi_value started = nullptr;
  napi_get_boolean(env, bench_raise(NumberAt(env, ArgumentsOf(env, info), 0)), &started);
  return started;
}

napi_value Raised(napi_env env, napi_callback_info) {
  size_t count = 0;
  const double* times = bench_raised(&count);
  return NewTimes(env, {times, times + count});
}

// As the add-on reads and writes by name.
const double direct_time = std::bit_cast<double>(KILN_TIME_DIRECT_BITS);

template <class Function>
bool Find(void* library, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(dlsym(library, name));
  return *function != nullptr;
}

// useLibrary(path, class): the loops go to a library that is loaded already, with a renderer and a plugin of
// their own. False when that can't be had.
napi_value UseLibrary(napi_env env, napi_callback_info info) {
  const auto arguments = ArgumentsOf(env, info);
  char path[4096] = {};
  if (arguments.size() > 1) napi_get_value_string_utf8(env, arguments[0], path, sizeof(path), nullptr);
  void* library = dlopen(path, RTLD_LAZY | RTLD_NOLOAD);
  decltype(&Kiln_KilnRenderer_create) create = nullptr;
  decltype(&Kiln_KilnRenderer_newPlugin) new_plugin = nullptr;
  uint64_t error = 0;
  const bool found = library != nullptr && Find(library, "Kiln_getPropertyByteArrayByID", &loops.read) &&
                     Find(library, "Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID", &loops.write) &&
                     Find(library, "C_memory_free", &loops.free_block) &&
                     Find(library, "Kiln_KilnRenderer_create", &create) &&
                     Find(library, "Kiln_KilnRenderer_newPlugin", &new_plugin);
  if (found) loops.renderer = create(nullptr, &error);
  napi_value done = nullptr;
  napi_get_boolean(
      env,
      loops.renderer != nullptr &&
          new_plugin(loops.renderer, "limit", TextAt(env, arguments, 1).c_str(), 1, &loops.plugin) == 0,
      &done);
  return done;
}

// getLoop(property, count).
napi_value GetLoop(napi_env env, napi_callback_info info) {
  const auto arguments = ArgumentsOf(env, info);
  const std::string property = TextAt(env, arguments, 0);
  const uint32_t count = NumberAt(env, arguments, 1);
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t* stream = nullptr;
    int32_t size = 0;
    loops.read(loops.renderer, loops.plugin, property.c_str(), &stream, &size, direct_time);
    if (stream == nullptr) continue;
    uint32_t words[4] = {};
    std::memcpy(words, stream, std::min(sizeof(words), static_cast<size_t>(size)));
    Use(words);
    loops.free_block(stream);
  }
  return nullptr;
}

// setLoop(property, count, vector): an int, or a vector.
napi_value SetLoop(napi_env env, napi_callback_info info) {
  const auto arguments = ArgumentsOf(env, info);
  const std::string property = TextAt(env, arguments, 0);
  const uint32_t count = NumberAt(env, arguments, 1);
  const uint32_t tag = NumberAt(env, arguments, 2) == 0 ? KILN_VALUE_INT : KILN_VALUE_VECTOR;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t stream[] = {tag, i, i, i};
    Use(stream);
    loops.write(loops.renderer, loops.plugin, property.c_str(), stream, direct_time, 1);
  }
  return nullptr;
}

// setImage(width, height).
napi_value SetImage(napi_env env, napi_callback_info info) {
  const auto arguments = ArgumentsOf(env, info);
  bench_set_image(static_cast<int32_t>(NumberAt(env, arguments, 0)),
                  static_cast<int32_t>(NumberAt(env, arguments, 1)));
  return nullptr;
}

// copyImage(count): into memory that was touched before.
napi_value CopyImage(napi_env env, napi_callback_info info) {
  const uint32_t count = NumberAt(env, ArgumentsOf(env, info), 0);
  static std::vector<char> copy;
  uint64_t bytes = 0;
  const void* image = bench_image(&bytes);
  copy.resize(bytes);
  for (uint32_t i = 0; i < count; ++i) {
    std::memcpy(copy.data(), image, bytes);
    Use(copy[0]);
  }
  return nullptr;
}

// adoptImage(): the host's own part of a taking over, an array buffer on the image's memory that is detached
// again.
napi_value AdoptImage(napi_env env, napi_callback_info) {
  uint64_t bytes = 0;
  const void* image = bench_image(&bytes);
  napi_value buffer = nullptr;
  const napi_finalize nothing = [](napi_env, void*, void*) {};
  napi_create_external_arraybuffer(env, const_cast<void*>(image), bytes, nothing, nullptr, &buffer);
  if (buffer != nullptr) napi_detach_arraybuffer(env, buffer);
  return nullptr;
}

// setNextPlugin(id).
napi_value SetNextPlugin(napi_env env, napi_callback_info info) {
  bench_set_next_plugin(NumberAt(env, ArgumentsOf(env, info), 0));
  return nullptr;
}

struct Function {
  const char* name;
  napi_callback callback;
};
constexpr Function kFunctions[] = {
    {"pin", Pin},
    {"pingPong", PingPong},
    {"raise", Raise},
    {"raised", Raised},
    {"useLibrary", UseLibrary},
    {"getLoop", GetLoop},
    {"setLoop", SetLoop},
    {"setImage", SetImage},
    {"copyImage", CopyImage},
    {"adoptImage", AdoptImage},
    {"setNextPlugin", SetNextPlugin},
};

napi_value Register(napi_env env, napi_value exports) {
  for (const Function& row : kFunctions) {
    napi_value function = nullptr;
    napi_create_function(env, row.name, NAPI_AUTO_LENGTH, row.callback, nullptr, &function);
    napi_set_named_property(env, exports, row.name, function);
  }
  return exports;
}

}  // namespace

NAPI_MODULE(limits, Register)
