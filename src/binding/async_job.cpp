#include "binding/async_job.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "binding/error.h"

namespace KilnNodeWrapper {
namespace {

constinit std::atomic<int> jobs_inside{0};

// A job that does not come back must not keep the library for ever.
constexpr auto kLongestWait = std::chrono::seconds(5);

void Work(uv_work_t* work) {
  static_cast<AsyncJob*>(work->data)->Run();
}

void Call(AsyncJob* owned) {
  std::unique_ptr<AsyncJob> job(owned);
  v8::Isolate* isolate = job->environment->isolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Object> self = job->self.Get(isolate);
  v8::Context::Scope context_scope(self->GetCreationContext().ToLocalChecked());
  v8::TryCatch try_catch(isolate);
  v8::Local<v8::Function> callback = job->callback.Get(isolate);
  v8::Local<v8::Value> arguments[kMaxCallbackArguments];
  const int count = job->Finish(arguments);
  job.reset();
  if (count != kNoCall) {
    // An empty result means an exception, which the TryCatch holds.
    (void)node::MakeCallback(isolate, self, callback, count, arguments, node::async_context{0, 0}).IsEmpty();
  }
  ReportCaught(isolate, try_catch);
}

void After(uv_work_t* work, int status) {
  auto* job = static_cast<AsyncJob*>(work->data);
  Environment* environment = job->environment;
  // Whatever happens below, the environment is told last: it may end with it.
  struct Settle {
    Environment* environment;
    ~Settle() { environment->Drop(); }
  } settle{environment};
  environment->Hold();
  if (environment->ending() || job->callback.IsEmpty()) {
    // What the operation uses must still be there, and goes at the latest with the last job of an ending
    // environment.
    if (status != UV_ECANCELED) job->Abandon();
    environment->Remove(job);
    delete job;
  } else {
    environment->Remove(job);
    Call(job);
  }
}

}  // namespace

// A job that is not counted yet finds the table empty: the fences order the count and the table on both
// sides.
SdkStay::SdkStay() {
  jobs_inside++;
  std::atomic_thread_fence(std::memory_order_seq_cst);
}

SdkStay::~SdkStay() {
  jobs_inside--;
}

void AwaitJobs() {
  std::atomic_thread_fence(std::memory_order_seq_cst);
  const auto end = std::chrono::steady_clock::now() + kLongestWait;
  while (jobs_inside > 0 && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void AsyncJob::End() {
  if (uv_cancel(reinterpret_cast<uv_req_t*>(&work)) == 0) Cancel();
}

void QueueJob(AsyncJob* job, Environment& environment, v8::Local<v8::Object> self,
              v8::Local<v8::Function> callback) {
  job->work.data = job;
  job->environment = &environment;
  job->self.Reset(environment.isolate(), self);
  if (!callback.IsEmpty()) job->callback.Reset(environment.isolate(), callback);
  environment.Add(job);
  uv_queue_work(environment.loop(), &job->work, Work, After);
}

int FinishWithStatus(Environment& environment, bool ok, const char* error_text,
                     v8::Local<v8::Value>* arguments) {
  if (ok) {
    arguments[0] = v8::Null(environment.isolate());
    return 1;
  }
  return MakeError(environment.isolate(), error_text).ToLocal(&arguments[0]) ? 1 : kNoCall;
}

}  // namespace KilnNodeWrapper
