// Entry points that set callbacks and what the events carry.
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"

namespace kiln::engine::api {
namespace {

void SetCallback(KilnRendererHandle renderer, EventKind kind, const CallbackDescriptor* callback) {
  WithRenderer(renderer, [&](Renderer& r) { r.events.SetCallback(kind, callback); });
}

}  // namespace

extern "C" {

void Kiln_KilnRenderer_setBucketInitCallback(KilnRendererHandle renderer,
                                             const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kBucketInit, callback);
}

void Kiln_KilnRenderer_setBucketReadyCallback(KilnRendererHandle renderer,
                                              const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kBucketReady, callback);
}

void Kiln_KilnRenderer_setBucketFailedCallback(KilnRendererHandle renderer,
                                               const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kBucketFailed, callback);
}

void Kiln_KilnRenderer_setImageUpdatedCallback(KilnRendererHandle renderer,
                                               const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kImageUpdated, callback);
}

void Kiln_KilnRenderer_setStateChangedCallback(KilnRendererHandle renderer,
                                               const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kStateChanged, callback);
}

void Kiln_KilnRenderer_setDumpMessageCallback(KilnRendererHandle renderer, const CallbackDescriptor* callback,
                                              int32_t min_level) {
  WithRenderer(renderer, [&](Renderer& r) {
    r.events.SetMessageLevel(min_level);
    r.events.SetCallback(EventKind::kMessage, callback);
  });
}

void Kiln_KilnRenderer_setRendererCloseCallback(KilnRendererHandle renderer,
                                                const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kRendererClosed, callback);
}

void Kiln_KilnRenderer_setProgressCallback(KilnRendererHandle renderer, const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kProgress, callback);
}

void Kiln_KilnRenderer_setRenderViewChangedCallback(KilnRendererHandle renderer,
                                                    const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kRenderViewChanged, callback);
}

void Kiln_KilnRenderer_setRenderLastCallback(KilnRendererHandle renderer,
                                             const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kRenderLast, callback);
}

void Kiln_KilnRenderer_setRenderInteractiveStartCallback(KilnRendererHandle renderer,
                                                         const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kRenderInteractiveStart, callback);
}

void Kiln_KilnRenderer_setKVWClosedCallback(KilnRendererHandle renderer, const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kWindowClosed, callback);
}

void Kiln_KilnRenderer_setPostEffectsUpdatedCallback(KilnRendererHandle renderer,
                                                     const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kPostEffectsUpdated, callback);
}

void Kiln_KilnRenderer_setShowMessagesWindowCallback(KilnRendererHandle renderer,
                                                     const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kShowMessagesWindow, callback);
}

void Kiln_KilnRenderer_setDRHostConnectedCallback(KilnRendererHandle renderer,
                                                  const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kHostConnected, callback);
}

void Kiln_KilnRenderer_setDRHostDisconnectedCallback(KilnRendererHandle renderer,
                                                     const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kHostDisconnected, callback);
}

void Kiln_KilnRenderer_setKvwContextMenuSelectedCallback(KilnRendererHandle renderer,
                                                         const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kContextMenu, callback);
}

void Kiln_KilnRenderer_setLightMixTransferToSceneCallback(KilnRendererHandle renderer,
                                                          const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kLightMix, callback);
}

void Kiln_KilnRenderer_setUploadToCollaborationCallback(KilnRendererHandle renderer,
                                                        const CallbackDescriptor* callback) {
  SetCallback(renderer, EventKind::kUpload, callback);
}

void Kiln_KilnRenderer_setKeepRTframesInCallback(KilnRendererHandle renderer, int32_t keep) {
  WithRenderer(renderer, [&](Renderer& r) { r.events.SetImagesKept(EventKind::kImageUpdated, keep != 0); });
}

void Kiln_KilnRenderer_setKeepBucketsInCallback(KilnRendererHandle renderer, int32_t keep) {
  WithRenderer(renderer, [&](Renderer& r) { r.events.SetImagesKept(EventKind::kBucketReady, keep != 0); });
}

void Kiln_KilnRenderer_setImageUpdatedHasBuffer(KilnRendererHandle renderer, int32_t has_buffer) {
  WithRenderer(renderer,
               [&](Renderer& r) { r.events.SetImagesWanted(EventKind::kImageUpdated, has_buffer != 0); });
}

int32_t Kiln_KilnRenderer_getImageUpdatedHasBuffer(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(
      renderer, 0, [](const Renderer& r) { return r.events.ImagesWanted(EventKind::kImageUpdated); });
}

void Kiln_KilnRenderer_setBucketReadyHasBuffer(KilnRendererHandle renderer, int32_t has_buffer) {
  WithRenderer(renderer,
               [&](Renderer& r) { r.events.SetImagesWanted(EventKind::kBucketReady, has_buffer != 0); });
}

int32_t Kiln_KilnRenderer_getBucketReadyHasBuffer(KilnRendererHandle renderer) {
  return WithRenderer<int32_t>(
      renderer, 0, [](const Renderer& r) { return r.events.ImagesWanted(EventKind::kBucketReady); });
}

}  // extern "C"
}  // namespace kiln::engine::api
