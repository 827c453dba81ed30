// Entry points of compute devices. The engine renders and denoises on the processor alone: the lists of GPUs
// are empty, and the only choice among them that can be made is none.
#include <algorithm>
#include <cstring>

#include "engine/api/blocks.h"
#include "engine/api/processor.h"
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"

namespace kiln::engine::api {
namespace {

constexpr uint32_t kCpu = 2;

KilnComputeDevice* NoDevices(int32_t* count) {
  if (count) *count = 0;
  return nullptr;
}

int32_t ChooseNoDevice(KilnRendererHandle renderer, int32_t count) {
  return WithRenderer<int32_t>(renderer, 1, [&](const Renderer&) { return count != 0; });
}

// One entry of the host's size, the name behind it.
KilnComputeDevice* NewProcessorList(int32_t entry_size) {
  const Processor& processor = TheProcessor();
  const auto size = static_cast<size_t>(entry_size);
  char* block = NewBlock<char>(size + processor.name.size() + 1);
  KilnComputeDevice device{};
  device.name = block + size;
  device.kind = kCpu;
  device.totalMemoryMB = static_cast<uint32_t>(ReadMemoryState().total);
  device.frequencyMHz = processor.frequency_mhz;
  device.useForRendering = 1;
  device.useForDenoising = 1;
  device.isSupported = 1;
  std::memset(block, 0, size);
  std::memcpy(block, &device, std::min(size, sizeof(device)));
  std::memcpy(block + size, processor.name.c_str(), processor.name.size() + 1);
  return reinterpret_cast<KilnComputeDevice*>(block);
}

}  // namespace

extern "C" {

KilnComputeDevice* Kiln_KilnRenderer_getDeviceListOptix(KilnRendererHandle, int32_t* count, int32_t) {
  return NoDevices(count);
}

KilnComputeDevice* Kiln_KilnRenderer_getDeviceListCUDA(KilnRendererHandle, int32_t* count, int32_t) {
  return NoDevices(count);
}

// An entry that is too short for its fields is not filled.
KilnComputeDevice* Kiln_KilnRenderer_getDeviceListDenoiser(KilnRendererHandle renderer, int32_t* count,
                                                           int32_t entry_size) {
  if (count) *count = 0;
  if (!count || entry_size < static_cast<int32_t>(sizeof(KilnComputeDevice))) return nullptr;
  return WithRenderer<KilnComputeDevice*>(renderer, nullptr, [&](const Renderer&) {
    KilnComputeDevice* list = NewProcessorList(entry_size);
    *count = 1;
    return list;
  });
}

int32_t Kiln_KilnRenderer_setDeviceListOptix(KilnRendererHandle renderer, const int32_t*, int32_t count) {
  return ChooseNoDevice(renderer, count);
}

int32_t Kiln_KilnRenderer_setDeviceListCUDA(KilnRendererHandle renderer, const int32_t*, int32_t count) {
  return ChooseNoDevice(renderer, count);
}

// The processor is the first and only one, and there is no denoising without it.
int32_t Kiln_KilnRenderer_setDeviceListDenoiser(KilnRendererHandle renderer, const int32_t* ids,
                                                int32_t count) {
  return WithRenderer<int32_t>(renderer, 1,
                               [&](const Renderer&) { return !(ids && count == 1 && ids[0] == 0); });
}

// There is no GPU that a variable could choose.
int32_t Kiln_KilnRenderer_setGPUDevicesEnvironmentVariable(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 1, [](Renderer& r) {
    r.SetError(static_cast<int32_t>(ApiError::kNoGpu));
    return 1;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
