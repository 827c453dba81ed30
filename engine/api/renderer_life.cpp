// Entry points of a renderer's life, its options and what the host stores with it.
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"

namespace kiln::engine::api {
namespace {

bool IsSlot(int32_t index) {
  return index >= 0 && index < kUserDataSlots;
}

}  // namespace

extern "C" {

KilnRendererHandle Kiln_KilnRenderer_create(const KilnRendererOptions* options, uint64_t* error) {
  const KilnRendererHandle handle =
      Guarded<KilnRendererHandle>(nullptr, [&] { return AddRenderer(std::make_shared<Renderer>(options)); });
  // The only way to fail is the lack of memory or of a thread.
  if (!handle && error) *error = static_cast<uint64_t>(ApiError::kNoMemory);
  return handle;
}

void Kiln_KilnRenderer_incRef(KilnRendererHandle renderer) {
  AddReference(renderer);
}

void Kiln_KilnRenderer_release(KilnRendererHandle renderer) {
  Guarded([&] {
    if (const auto last = DropReference(renderer)) last->Close();
  });
}

KilnRendererOptions* Kiln_KilnRenderer_getRenderOptions(KilnRendererHandle renderer) {
  return WithRenderer<KilnRendererOptions*>(renderer, nullptr,
                                            [](const Renderer& r) { return r.CopyOptions(); });
}

double Kiln_KilnRenderer_getCurrentEventTime(KilnRendererHandle renderer) {
  return WithRenderer<double>(renderer, 0, [](const Renderer& r) { return r.events.Now(); });
}

int32_t Kiln_getUserDataCount(void) {
  return kUserDataSlots;
}

int32_t Kiln_KilnRenderer_setUserData(KilnRendererHandle renderer, int32_t index, void* data) {
  return WithRenderer<int32_t>(renderer, 1, [&](Renderer& r) {
    if (!IsSlot(index)) return 1;
    r.WithSettings([&](Settings& settings) { settings.user_data[index] = data; });
    return 0;
  });
}

void* Kiln_KilnRenderer_getUserData(KilnRendererHandle renderer, int32_t index) {
  return WithRenderer<void*>(renderer, nullptr, [&](Renderer& r) -> void* {
    if (!IsSlot(index)) return nullptr;
    return r.WithSettings([&](const Settings& settings) { return settings.user_data[index]; });
  });
}

int32_t Kiln_KilnRenderer_getLastErrorCode(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(renderer, 0, [](const Renderer& r) { return r.GetError().code; });
}

void Kiln_KilnRenderer_clearLastErrorCode(KilnRendererHandle renderer) {
  WithRenderer(renderer, [](Renderer& r) { r.ClearError(); });
}

const char* Kiln_KilnRenderer_getLastParserErrorFileName(KilnRendererHandle renderer) {
  return WithRenderer<const char*>(renderer, nullptr, [](Renderer& r) {
    const LastError error = r.GetError();
    return error.file.empty() ? nullptr : r.Keep(error.file);
  });
}

uint32_t Kiln_KilnRenderer_getLastParserErrorFileLine(KilnRendererHandle renderer) {
  return WithRenderer<uint32_t>(renderer, 0, [](const Renderer& r) { return r.GetError().line; });
}

const char* Kiln_KilnRenderer_getLastParserErrorText(KilnRendererHandle renderer) {
  return WithRenderer<const char*>(renderer, nullptr, [](Renderer& r) -> const char* {
    const LastError error = r.GetError();
    return error.code == static_cast<int32_t>(formats::LoadError::kParser) ? r.Keep(error.text) : nullptr;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
