#include "renderer/on_filter_plugin.h"

#include "binding/async_job.h"
#include "binding/error.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

int32_t CallAppend(AppendFiltered load, KilnRendererHandle renderer, const std::vector<std::string>& strings,
                   KilnFilterFunction filter, void* carrier) {
  const std::vector<const char*> pointers = PointersOf(strings);
  return (sdk.*load)(renderer, pointers.data(), static_cast<int32_t>(pointers.size()), filter, carrier);
}

int32_t CallAppend(KilnRendererHandle renderer, const std::vector<KilnSceneBuffer>& buffers,
                   KilnFilterFunction filter, void* carrier) {
  return sdk.Kiln_KilnRenderer_appendMultiAsBufferFiltered(
      renderer, buffers.data(), static_cast<int32_t>(buffers.size()), filter, carrier);
}

bool CreateThread(uv_thread_t* thread, uv_thread_cb entry, void* carrier) {
  EnterSdkThread();
  if (uv_thread_create(thread, entry, carrier) == 0) return true;
  LeaveSdkThread();
  return false;
}

}  // namespace

OnFilterPluginMultiSceneBase::OnFilterPluginMultiSceneBase(const Arguments& info,
                                                           v8::Local<v8::Function> filter,
                                                           v8::Local<v8::Function> after_load)
    : environment_(EnvironmentOf(info)),
      wrapper_(RendererOf(info)),
      self_(info.GetIsolate(), info.This()),
      filter_(info.GetIsolate(), filter),
      after_load_(info.GetIsolate(), after_load),
      renderer_(wrapper_.renderer),
      port_(NewPort<Nothing>(environment_, this, OnWake)) {
  wrapper_.AddLoader(port_);
  environment_.Add(this);
}

bool OnFilterPluginMultiSceneBase::Begin() {
  begun_ = CreateThread(&thread_, Thread, this);
  return begun_;
}

void OnFilterPluginMultiSceneBase::End() {
  if (begun_) return;
  finished_ = true;
  uv_async_send(&port_->async);
}

void OnFilterPluginMultiSceneBase::Thread(void* carrier) {
  auto& self = *static_cast<OnFilterPluginMultiSceneBase*>(carrier);
  self.result_ = self.run();
  self.finished_ = true;
  uv_async_send(&self.port_->async);
  LeaveSdkThread();
}

const char* OnFilterPluginMultiSceneBase::FilterStep(const char* name1, const char* name2, void* carrier) {
  auto& self = *static_cast<OnFilterPluginMultiSceneBase*>(carrier);
  if (self.port_->closing) return nullptr;
  self.exchange_.Ask(name1, name2);
  DeliverAndWait(self.port_);
  return self.exchange_.Take();
}

void OnFilterPluginMultiSceneBase::OnWake(uv_async_t* async) {
  auto& self = *static_cast<OnFilterPluginMultiSceneBase*>(async->data);
  if (self.finished_) {
    self.Finish();
  } else if (!self.environment_.ending()) {
    self.ServeQuestion();
  }
}

void OnFilterPluginMultiSceneBase::ServeQuestion() {
  v8::Isolate* isolate = environment_.isolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Object> receiver = self_.Get(isolate);
  v8::Context::Scope context_scope(receiver->GetCreationContext().ToLocalChecked());
  v8::TryCatch try_catch(isolate);
  const bool served = exchange_.Serve(isolate, [&](v8::Local<v8::Value>* names) {
    v8::MaybeLocal<v8::Value> answer =
        node::MakeCallback(isolate, receiver, filter_.Get(isolate), 2, names, node::async_context{0, 0});
    return port_->closing ? v8::MaybeLocal<v8::Value>() : answer;
  });
  ReportCaught(isolate, try_catch);
  if (served) PostDone(port_);
}

// The end of the load. The environment is let go last: it may end with it.
void OnFilterPluginMultiSceneBase::Finish() {
  Environment& environment = environment_;
  if (begun_) {
    uv_thread_join(&thread_);
  } else {
    Cancel();
  }
  wrapper_.RemoveLoader(port_);
  ClosePort(port_);
  environment.Hold();
  environment.Remove(this);
  if (environment.ending()) {
    delete this;
  } else {
    CallAfterLoad();
  }
  environment.Drop();
}

void OnFilterPluginMultiSceneBase::CallAfterLoad() {
  Environment& environment = environment_;
  v8::Isolate* isolate = environment.isolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Object> receiver = self_.Get(isolate);
  v8::Local<v8::Function> after_load = after_load_.Get(isolate);
  v8::Context::Scope context_scope(receiver->GetCreationContext().ToLocalChecked());
  v8::TryCatch try_catch(isolate);
  const std::string error = result_ == 0 ? std::string() : LoadErrorText(renderer_);
  v8::Local<v8::Value> argument;
  const int count = FinishWithStatus(environment, result_ == 0, error.c_str(), &argument);
  delete this;
  if (count != kNoCall) {
    (void)node::MakeCallback(isolate, receiver, after_load, count, &argument, node::async_context{0, 0})
        .IsEmpty();
  }
  ReportCaught(isolate, try_catch);
}

OnFilterPluginSingleScene::OnFilterPluginSingleScene(const Arguments& info, v8::Local<v8::Function> filter,
                                                     v8::Local<v8::Function> after_load, LoadFiltered load,
                                                     std::string text)
    : OnFilterPluginMultiSceneBase(info, filter, after_load), load_(load), text_(std::move(text)) {}

int32_t OnFilterPluginSingleScene::run() {
  return (sdk.*load_)(renderer(), text_.c_str(), FilterStep, this);
}

OnFilterPluginMultiScene::OnFilterPluginMultiScene(const Arguments& info, v8::Local<v8::Function> filter,
                                                   v8::Local<v8::Function> after_load, AppendFiltered load,
                                                   std::vector<std::string> strings)
    : OnFilterPluginMultiSceneBase(info, filter, after_load), load_(load), strings_(std::move(strings)) {}

int32_t OnFilterPluginMultiScene::run() {
  return CallAppend(load_, renderer(), strings_, FilterStep, this);
}

OnFilterPluginMultiSceneFromBuffer::OnFilterPluginMultiSceneFromBuffer(const Arguments& info,
                                                                       v8::Local<v8::Function> filter,
                                                                       v8::Local<v8::Function> after_load,
                                                                       SceneOperands buffers)
    : OnFilterPluginMultiSceneBase(info, filter, after_load), buffers_(std::move(buffers)) {}

int32_t OnFilterPluginMultiSceneFromBuffer::run() {
  return CallAppend(renderer(), buffers_.buffers, FilterStep, this);
}

OnFilterPluginSync::OnFilterPluginSync(KilnRendererHandle renderer) : renderer_(renderer) {
  uv_sem_init(&request_, 0);
  OpenParkingPlace(&reply_);
}

OnFilterPluginSync::~OnFilterPluginSync() {
  CloseParkingPlace(&reply_);
  uv_sem_destroy(&request_);
}

void OnFilterPluginSync::Thread(void* carrier) {
  auto& self = *static_cast<OnFilterPluginSync*>(carrier);
  self.result_ = self.run();
  self.finished_ = true;
  uv_sem_post(&self.request_);
  LeaveSdkThread();
}

const char* OnFilterPluginSync::FilterStep(const char* name1, const char* name2, void* carrier) {
  auto& self = *static_cast<OnFilterPluginSync*>(carrier);
  if (self.reply_.closing) return nullptr;
  self.exchange_.Ask(name1, name2);
  uv_sem_post(&self.request_);
  uv_sem_wait(&self.reply_.done);
  return self.exchange_.Take();
}

void OnFilterPluginSync::Serve(const Arguments& info, v8::Local<v8::Function> filter) {
  v8::Isolate* isolate = info.GetIsolate();
  uv_thread_t thread;
  if (!CreateThread(&thread, Thread, this)) {
    Cancel();
    return ThrowError(isolate, kNoThreadMessage);
  }
  RendererWrapper& wrapper = RendererOf(info);
  wrapper.AddLoader(&reply_);
  const bool threw = ServeQuestions(info, filter);
  wrapper.RemoveLoader(&reply_);
  uv_thread_join(&thread);
  if (!threw && result_ != 0) ThrowError(isolate, LoadErrorText(renderer_).c_str());
}

// An exception of the filter leaves its plugin out and the load goes on; the first one is thrown when the
// load is over. After a termination nothing is asked any more.
bool OnFilterPluginSync::ServeQuestions(const Arguments& info, v8::Local<v8::Function> filter) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Global<v8::Value> thrown;
  {
    v8::TryCatch try_catch(isolate);
    for (uv_sem_wait(&request_); !finished_; uv_sem_wait(&request_)) {
      v8::HandleScope scope(isolate);
      const bool served = exchange_.Serve(isolate, [&](v8::Local<v8::Value>* names) {
        if (try_catch.HasTerminated()) return v8::MaybeLocal<v8::Value>();
        v8::MaybeLocal<v8::Value> answer = filter->Call(context, info.This(), 2, names);
        return reply_.closing ? v8::MaybeLocal<v8::Value>() : answer;
      });
      if (try_catch.HasCaught() && !try_catch.HasTerminated()) {
        if (thrown.IsEmpty()) thrown.Reset(isolate, try_catch.Exception());
        try_catch.Reset();
      }
      if (served) PostDone(&reply_);
    }
    if (try_catch.HasTerminated()) {
      try_catch.ReThrow();
      return true;
    }
  }
  if (thrown.IsEmpty()) return false;
  isolate->ThrowException(thrown.Get(isolate));
  return true;
}

OnFilterPluginSingleSceneSync::OnFilterPluginSingleSceneSync(KilnRendererHandle renderer, LoadFiltered load,
                                                             const char* text)
    : OnFilterPluginSync(renderer), load_(load), text_(text) {}

int32_t OnFilterPluginSingleSceneSync::run() {
  return (sdk.*load_)(renderer(), text_, FilterStep, this);
}

OnFilterPluginMultiSceneSync::OnFilterPluginMultiSceneSync(KilnRendererHandle renderer, AppendFiltered load,
                                                           const std::vector<std::string>& strings)
    : OnFilterPluginSync(renderer), load_(load), strings_(strings) {}

int32_t OnFilterPluginMultiSceneSync::run() {
  return CallAppend(load_, renderer(), strings_, FilterStep, this);
}

OnFilterPluginMultiSceneFromBufferSync::OnFilterPluginMultiSceneFromBufferSync(KilnRendererHandle renderer,
                                                                               SceneOperands buffers)
    : OnFilterPluginSync(renderer), buffers_(std::move(buffers)) {}

int32_t OnFilterPluginMultiSceneFromBufferSync::run() {
  return CallAppend(renderer(), buffers_.buffers, FilterStep, this);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
