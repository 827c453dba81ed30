// The KilnRenderer class and its factory.
#pragma once

#include <span>

#include "binding/environment.h"
#include "binding/members.h"
#include "renderer.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

void RegisterKilnRenderer(v8::Isolate* isolate, v8::Local<v8::External> external,
                          v8::Local<v8::Object> exports);
// createKilnRenderer([options,] callback).
void CreateKilnRenderer(const Arguments& info);

bool isRenderer(Environment& environment, v8::Local<v8::Value> value);
// The handle of a KilnRenderer; null for any other value.
KilnRendererHandle RendererHandleOf(Environment& environment, v8::Local<v8::Value> value);

// The members, by file. Their order on the prototype is the class's own (kiln_renderer.cpp).
void Start(const Arguments& info);  // render_control.cpp
void StartSync(const Arguments& info);
void Stop(const Arguments& info);
void WaitForRenderEnd(const Arguments& info);
void WaitForSequenceEnd(const Arguments& info);
void BucketRenderNearest(const Arguments& info);
void GetImage(const Arguments& info);
void RenderSequence(const Arguments& info);              // render_sequence.cpp
void SetImprovedDefaultSettings(const Arguments& info);  // render_settings.cpp
void SetInteractiveSampleLevel(const Arguments& info);
void SetInteractiveNoiseThreshold(const Arguments& info);
void SetInteractiveTimeout(const Arguments& info);
void SetProgressiveImageUpdateDifference(const Arguments& info);
void SetProgressiveImageUpdateTimeout(const Arguments& info);
void ClearAllPropertyValuesUpToTime(const Arguments& info);
void ClearPropertyValuesUpToTime(const Arguments& info);
void DeletePlugins(const Arguments& info);  // plugin_deletion.cpp
void DeletePluginsSync(const Arguments& info);
void ExportScene(const Arguments& info);  // scene_export.cpp
void ExportSceneSync(const Arguments& info);
extern const std::span<const Accessor> kRendererAccessors;  // renderer_properties.cpp
void GetBoundingBox(const Arguments& info);
void GetAutoExposureResult(const Arguments& info);
void SetDREnabled(const Arguments& info);  // distributed_hosts.cpp
void GetDREnabled(const Arguments& info);
void EnableDRClient(const Arguments& info);
void DisableDRClient(const Arguments& info);
void IsDRClientEnabled(const Arguments& info);
void AddHosts(const Arguments& info);
void AddHostsSync(const Arguments& info);
void RemoveHosts(const Arguments& info);
void RemoveHostsSync(const Arguments& info);
void ResetHosts(const Arguments& info);
void ResetHostsSync(const Arguments& info);
void GetAllHosts(const Arguments& info);
void GetAllHostsSync(const Arguments& info);
void GetActiveHosts(const Arguments& info);
void GetActiveHostsSync(const Arguments& info);
void GetInactiveHosts(const Arguments& info);
void GetInactiveHostsSync(const Arguments& info);
void PickPlugin(const Arguments& info);  // picking.cpp
void PickPluginSync(const Arguments& info);
void PickPlugins(const Arguments& info);
void PickPluginsSync(const Arguments& info);
void GetInteractiveStatistics(const Arguments& info);  // statistics.cpp
void SetResumableRendering(const Arguments& info);     // side_features.cpp
void SetBitmapCache(const Arguments& info);
void SetIncludePaths(const Arguments& info);
void SetKilnProfiler(const Arguments& info);
void DenoiseNow(const Arguments& info);              // denoising.cpp
void SetKVWContextMenuItems(const Arguments& info);  // context_menu.cpp
void SetKVWContextMenuItemValue(const Arguments& info);
void GetKVWContextMenuItemValue(const Arguments& info);

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
