// The carriers of a filtered load: each joins a thread that runs the SDK's loader, which asks about one
// plugin after the other, with the JavaScript thread, where the script's filter answers. A thread of its own
// and not one of libuv's pool, because it spends its time waiting for JavaScript.
//
// When the renderer closes, the environment ends or the process exits, the loader is let go: it leaves out
// what it asks about from then on, so that the SDK comes to an end without JavaScript.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "binding/environment.h"
#include "binding/event_port.h"
#include "binding/members.h"
#include "module/sdk_table.h"
#include "renderer/filter_exchange.h"
#include "renderer/renderer_wrapper.h"
#include "renderer/scene_sources.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

using LoadFiltered = int32_t (*SdkTable::*)(KilnRendererHandle, const char*, KilnFilterFunction, void*);
using AppendFiltered = int32_t (*SdkTable::*)(KilnRendererHandle, const char* const*, int32_t,
                                              KilnFilterFunction, void*);

inline constexpr char kNoThreadMessage[] = "Cannot create thread internal error!";

// --- Asynchronous: the filter is called from the loop. A carrier owns itself from its begin on.

class OnFilterPluginMultiSceneBase : public Task {
 public:
  OnFilterPluginMultiSceneBase(const OnFilterPluginMultiSceneBase&) = delete;
  OnFilterPluginMultiSceneBase& operator=(const OnFilterPluginMultiSceneBase&) = delete;
  // JavaScript thread. False when there is no thread to be had: the carrier then stays, and keeps the loop
  // alive, until its environment ends.
  bool Begin();
  void End() override;

 protected:
  OnFilterPluginMultiSceneBase(const Arguments& info, v8::Local<v8::Function> filter,
                               v8::Local<v8::Function> after_load);
  // The SDK's call, on the carrier's thread: its result.
  virtual int32_t run() = 0;
  // The carrier ends without its thread's ever having begun.
  virtual void Cancel() {}
  static const char* FilterStep(const char* name1, const char* name2, void* carrier);

  KilnRendererHandle renderer() const { return renderer_; }

 private:
  static void Thread(void* carrier);
  static void OnWake(uv_async_t* async);
  void ServeQuestion();
  void Finish();
  void CallAfterLoad();

  Environment& environment_;
  RendererWrapper& wrapper_;  // alive as long as self_ is
  v8::Global<v8::Object> self_;
  v8::Global<v8::Function> filter_;
  v8::Global<v8::Function> after_load_;
  KilnRendererHandle renderer_;
  struct Nothing {};
  PortOf<Nothing>* port_;
  FilterExchange exchange_;
  uv_thread_t thread_{};
  bool begun_ = false;
  std::atomic<bool> finished_{false};
  int32_t result_ = 0;
};

class OnFilterPluginSingleScene final : public OnFilterPluginMultiSceneBase {
 public:
  OnFilterPluginSingleScene(const Arguments& info, v8::Local<v8::Function> filter,
                            v8::Local<v8::Function> after_load, LoadFiltered load, std::string text);

 private:
  int32_t run() override;

  LoadFiltered load_;
  std::string text_;
};

class OnFilterPluginMultiScene final : public OnFilterPluginMultiSceneBase {
 public:
  OnFilterPluginMultiScene(const Arguments& info, v8::Local<v8::Function> filter,
                           v8::Local<v8::Function> after_load, AppendFiltered load,
                           std::vector<std::string> strings);

 private:
  int32_t run() override;

  AppendFiltered load_;
  std::vector<std::string> strings_;
};

class OnFilterPluginMultiSceneFromBuffer final : public OnFilterPluginMultiSceneBase {
 public:
  OnFilterPluginMultiSceneFromBuffer(const Arguments& info, v8::Local<v8::Function> filter,
                                     v8::Local<v8::Function> after_load, SceneOperands buffers);

 private:
  int32_t run() override;
  void Cancel() override { buffers_.GiveBack(); }

  SceneOperands buffers_;
};

// --- Blocking: the JavaScript thread stays in the call and serves the filter itself. On its stack.

class OnFilterPluginSync {
 public:
  OnFilterPluginSync(const OnFilterPluginSync&) = delete;
  OnFilterPluginSync& operator=(const OnFilterPluginSync&) = delete;
  // Loads, with whatever goes wrong thrown: no thread, the first exception of the filter, a failed load.
  void Serve(const Arguments& info, v8::Local<v8::Function> filter);

 protected:
  explicit OnFilterPluginSync(KilnRendererHandle renderer);
  ~OnFilterPluginSync();
  virtual int32_t run() = 0;
  virtual void Cancel() {}
  static const char* FilterStep(const char* name1, const char* name2, void* carrier);

  KilnRendererHandle renderer() const { return renderer_; }

 private:
  static void Thread(void* carrier);
  bool ServeQuestions(const Arguments& info, v8::Local<v8::Function> filter);

  KilnRendererHandle renderer_;
  uv_sem_t request_;
  ParkingPlace reply_;
  FilterExchange exchange_;
  std::atomic<bool> finished_{false};
  int32_t result_ = 0;
};

class OnFilterPluginSingleSceneSync final : public OnFilterPluginSync {
 public:
  // The text is the caller's.
  OnFilterPluginSingleSceneSync(KilnRendererHandle renderer, LoadFiltered load, const char* text);

 private:
  int32_t run() override;

  LoadFiltered load_;
  const char* text_;
};

class OnFilterPluginMultiSceneSync final : public OnFilterPluginSync {
 public:
  // The strings are the caller's.
  OnFilterPluginMultiSceneSync(KilnRendererHandle renderer, AppendFiltered load,
                               const std::vector<std::string>& strings);

 private:
  int32_t run() override;

  AppendFiltered load_;
  const std::vector<std::string>& strings_;
};

class OnFilterPluginMultiSceneFromBufferSync final : public OnFilterPluginSync {
 public:
  OnFilterPluginMultiSceneFromBufferSync(KilnRendererHandle renderer, SceneOperands buffers);

 private:
  int32_t run() override;
  void Cancel() override { buffers_.GiveBack(); }

  SceneOperands buffers_;
};

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
