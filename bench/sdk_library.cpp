// The entry points that are measured. Values are copied out of a hash table under a lock, the least that any
// SDK does, so a ratio to it is the worst that a user of a real one sees.
#include "bench/sdk_library.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "entry_points.h"

namespace {

using Clock = std::chrono::steady_clock;
using Words = std::vector<uint32_t>;

constexpr KilnPluginId kFirstPlugin = 1;

uint32_t Bits(float value) {
  uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

Words DoubleWords(double value) {
  Words words{KILN_VALUE_DOUBLE, 0, 0};
  std::memcpy(&words[1], &value, sizeof(value));
  return words;
}

using Properties = std::unordered_map<std::string, Words>;

struct Values {
  std::mutex mutex;
  std::unordered_map<KilnPluginId, Properties> plugins{
      {kFirstPlugin,
       {{"subdivs", {KILN_VALUE_INT, 8}},
        {"intensity", DoubleWords(30.5)},
        {"direction", {KILN_VALUE_VECTOR, Bits(1), Bits(2), Bits(3)}}}}};
  KilnPluginId next = kFirstPlugin;

  // Null for what there is none of.
  Words* Find(KilnPluginId plugin, const char* property) {
    const auto properties = plugins.find(plugin);
    if (properties == plugins.end()) return nullptr;
    const auto found = properties->second.find(property);
    return found == properties->second.end() ? nullptr : &found->second;
  }
};

Values& TheValues() {
  static Values values;
  return values;
}

struct Events {
  CallbackDescriptor state_changed{};
  std::thread thread;
  std::vector<double> times;
};

Events& TheEvents() {
  static Events events;
  return events;
}

struct ImageBlock {
  std::unique_ptr<float[]> floats;
  uint64_t bytes = 0;
};

ImageBlock& TheImage() {
  static ImageBlock image;
  return image;
}

uint32_t* CopyOf(const uint32_t* words, size_t count, int32_t* size) {
  auto* block = static_cast<uint32_t*>(std::malloc(count * sizeof(uint32_t)));
  if (block == nullptr) return nullptr;
  std::memcpy(block, words, count * sizeof(uint32_t));
  *size = static_cast<int32_t>(count * sizeof(uint32_t));
  return block;
}

// The SDK lets go of a kept list at once; how long one keeps it is not the add-on's cost.
void LetGo(const char* stream) {
  uint64_t memory = 0;
  KilnReleaseFunction release = nullptr;
  void* cookie = nullptr;
  uint32_t count = 0;
  std::memcpy(&count, stream + 4, sizeof(count));
  std::memcpy(&memory, stream + 8, sizeof(memory));
  std::memcpy(&release, stream + 16, sizeof(release));
  std::memcpy(&cookie, stream + 24, sizeof(cookie));
  release(reinterpret_cast<void*>(memory), count, cookie);
}

}  // namespace

extern "C" {

BENCH_EXPORT uint32_t Kiln_getSDKVersion(void) {
  return 1u << 16;
}

BENCH_EXPORT KilnRendererHandle Kiln_KilnRenderer_create(const KilnRendererOptions*, uint64_t* error) {
  static int renderer;
  *error = 0;
  return &renderer;
}

BENCH_EXPORT void Kiln_KilnRenderer_setStateChangedCallback(KilnRendererHandle,
                                                            const CallbackDescriptor* callback) {
  TheEvents().state_changed = callback != nullptr ? *callback : CallbackDescriptor{};
}

BENCH_EXPORT KilnPluginId Kiln_KilnRenderer_getPluginID(KilnRendererHandle, const char*) {
  return kFirstPlugin;
}

BENCH_EXPORT int32_t Kiln_getPropertyByteArrayByID(KilnRendererHandle, KilnPluginId plugin,
                                                   const char* property, uint32_t** stream, int32_t* size,
                                                   double) {
  Values& values = TheValues();
  const std::lock_guard lock(values.mutex);
  const Words* found = values.Find(plugin, property);
  if (found == nullptr && std::strcmp(property, "next") == 0) {
    uint32_t words[] = {KILN_VALUE_PLUGIN, 0, 0};
    std::memcpy(&words[1], &values.next, sizeof(values.next));
    values.next++;
    *stream = CopyOf(words, std::size(words), size);
    return 1;
  }
  if (found == nullptr) return 0;
  *stream = CopyOf(found->data(), found->size(), size);
  return 1;
}

BENCH_EXPORT int32_t Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID(KilnRendererHandle,
                                                                       KilnPluginId plugin,
                                                                       const char* property,
                                                                       const void* stream, double, int32_t) {
  uint32_t tag = 0;
  std::memcpy(&tag, stream, sizeof(tag));
  if (tag >= KILN_VALUE_KEPT_INT_LIST) {
    LetGo(static_cast<const char*>(stream));
    return 0;
  }
  Values& values = TheValues();
  const std::lock_guard lock(values.mutex);
  Words* found = values.Find(plugin, property);
  if (found == nullptr || found->front() != tag) return 0;
  std::memcpy(found->data(), stream, found->size() * sizeof(uint32_t));
  return 0;
}

BENCH_EXPORT KilnImageHandle Kiln_KilnRenderer_getImage(KilnRendererHandle, const KilnImageOptions*) {
  return reinterpret_cast<KilnImageHandle>(TheImage().floats.get());
}

BENCH_EXPORT uint64_t KilnImage_getMemorySize(KilnImageHandle) {
  return TheImage().bytes;
}

BENCH_EXPORT void C_memory_free(void* block) {
  if (block != TheImage().floats.get()) std::free(block);
}

void bench_set_image(int32_t width, int32_t height) {
  ImageBlock& image = TheImage();
  const uint64_t count = uint64_t{4} * width * height;
  image.floats.reset(new float[count]());
  image.bytes = count * sizeof(float);
}

const void* bench_image(uint64_t* bytes) {
  *bytes = TheImage().bytes;
  return TheImage().floats.get();
}

bool bench_raise(uint32_t count) {
  Events& events = TheEvents();
  if (events.state_changed.function == nullptr || events.thread.joinable()) return false;
  events.times.assign(count, 0);
  events.thread = std::thread([&events, callback = events.state_changed] {
    for (double& time : events.times) {
      KilnStateChangedEvent event{};
      event.head.user_data = callback.user_data;
      event.first = 5;
      event.second = 6;
      const auto started = Clock::now();
      callback.function(&event);
      time = std::chrono::duration<double, std::nano>(Clock::now() - started).count();
    }
  });
  return true;
}

const double* bench_raised(size_t* count) {
  Events& events = TheEvents();
  if (events.thread.joinable()) events.thread.join();
  *count = events.times.size();
  return events.times.data();
}

void bench_set_next_plugin(uint64_t id) {
  TheValues().next = id;
}
}
