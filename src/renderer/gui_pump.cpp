#include "renderer/gui_pump.h"

#include "module/sdk_library.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

constexpr uint64_t kPeriodMs = 10;

void Pump(uv_timer_t*) {
  if (SdkIsLoaded()) sdk.Kiln_GUI_pumpMessages();
}

void Free(uv_handle_t* handle) {
  auto* environment = static_cast<Environment*>(handle->data);
  delete reinterpret_cast<uv_timer_t*>(handle);
  environment->Drop();
}

}  // namespace

void JoinGuiPump(Environment& environment) {
  if (environment.guiPumpUsers++ != 0) return;
  auto* timer = new uv_timer_t;
  uv_timer_init(environment.loop(), timer);
  timer->data = &environment;
  environment.Hold();
  environment.guiPumpTimer = timer;
  uv_timer_start(timer, Pump, 0, kPeriodMs);
}

void LeaveGuiPump(Environment& environment) {
  if (environment.guiPumpUsers-- != 1 || !environment.guiPumpTimer) return;
  uv_timer_stop(environment.guiPumpTimer);
  uv_close(reinterpret_cast<uv_handle_t*>(environment.guiPumpTimer), Free);
  environment.guiPumpTimer = nullptr;
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
