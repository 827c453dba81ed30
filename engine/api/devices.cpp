// Entry points of compute devices. The engine renders on the CPU alone, so every list of GPUs is empty and
// the only choice that can be made is none.
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"

namespace kiln::engine::api {
namespace {

KilnComputeDevice* NoDevices(int32_t* count) {
  if (count) *count = 0;
  return nullptr;
}

int32_t ChooseDevices(KilnRendererHandle renderer, int32_t count) {
  return WithRenderer<int32_t>(renderer, 1, [&](const Renderer&) { return count != 0; });
}

}  // namespace

extern "C" {

KilnComputeDevice* Kiln_KilnRenderer_getDeviceListOptix(KilnRendererHandle, int32_t* count, int32_t) {
  return NoDevices(count);
}

KilnComputeDevice* Kiln_KilnRenderer_getDeviceListCUDA(KilnRendererHandle, int32_t* count, int32_t) {
  return NoDevices(count);
}

KilnComputeDevice* Kiln_KilnRenderer_getDeviceListDenoiser(KilnRendererHandle, int32_t* count, int32_t) {
  return NoDevices(count);
}

int32_t Kiln_KilnRenderer_setDeviceListOptix(KilnRendererHandle renderer, const int32_t*, int32_t count) {
  return ChooseDevices(renderer, count);
}

int32_t Kiln_KilnRenderer_setDeviceListCUDA(KilnRendererHandle renderer, const int32_t*, int32_t count) {
  return ChooseDevices(renderer, count);
}

int32_t Kiln_KilnRenderer_setDeviceListDenoiser(KilnRendererHandle renderer, const int32_t*, int32_t count) {
  return ChooseDevices(renderer, count);
}

}  // extern "C"
}  // namespace kiln::engine::api
