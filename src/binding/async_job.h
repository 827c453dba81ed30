// The pattern of every operation with a Sync twin. An operation is one struct with the operands as plain
// data:
//
//   void Run();      calls the SDK; touches no V8; runs on a pool thread, or on the JavaScript thread for the
//   twin int Finish(Environment&, v8::Local<v8::Value>* arguments);
//                    on the JavaScript thread: makes the callback's arguments (at most kMaxCallbackArguments)
//                    and returns their count, or kNoCall when one can't be made
//   void Abandon();  optional; instead of Finish when nobody is called: there is no callback, or the
//                    environment ends
//   void Cancel();   optional; instead of all of them when the environment ends before Run has begun
//   kWaitsForRender  optional, a constant: Run ends when a render does, and so at the latest with the library
//
// What an operation owns goes with its destructor, which always runs on the JavaScript thread.
#pragma once

#include <node.h>
#include <uv.h>
#include <v8.h>

#include <utility>

#include "binding/environment.h"
#include "binding/members.h"

namespace KilnNodeWrapper {

inline constexpr int kMaxCallbackArguments = 4;
inline constexpr int kNoCall = -1;

// The head of every job. It keeps the receiver and the callback alive until the job has settled.
struct AsyncJob : Task {
  uv_work_t work;
  Environment* environment;
  v8::Global<v8::Object> self;
  v8::Global<v8::Function> callback;  // empty: nobody is told

  virtual void Run() = 0;
  virtual int Finish(v8::Local<v8::Value>* arguments) = 0;
  virtual void Abandon() = 0;
  virtual void Cancel() = 0;
  void End() final;
};

// Queues the job, which from here on owns itself. A job always runs, unless its environment ends before it
// begins.
void QueueJob(AsyncJob* job, Environment& environment, v8::Local<v8::Object> self,
              v8::Local<v8::Function> callback);

// The stay of a job inside the SDK.
class SdkStay {
 public:
  SdkStay();
  SdkStay(const SdkStay&) = delete;
  SdkStay& operator=(const SdkStay&) = delete;
  ~SdkStay();
};
// Waits some seconds for the jobs inside the SDK, save those that wait for a render. To be called before the
// library goes, when its table is empty.
void AwaitJobs();

template <class Operation>
struct JobOf final : AsyncJob {
  explicit JobOf(Operation&& operation) : operation(std::move(operation)) {}
  void Run() override {
    if constexpr (requires { Operation::kWaitsForRender; }) return operation.Run();
    const SdkStay stay;
    operation.Run();
  }
  int Finish(v8::Local<v8::Value>* arguments) override { return operation.Finish(*environment, arguments); }
  void Abandon() override {
    if constexpr (requires { operation.Abandon(); }) operation.Abandon();
  }
  void Cancel() override {
    if constexpr (requires { operation.Cancel(); }) operation.Cancel();
  }
  Operation operation;
};

// Runs the operation on the pool with the receiver of the call; the callback may be empty.
template <class Operation>
void Queue(const Arguments& info, v8::Local<v8::Function> callback, Operation operation) {
  QueueJob(new JobOf<Operation>(std::move(operation)), EnvironmentOf(info), info.This(), callback);
}

// The argument as a callback; empty when it is no function.
inline v8::Local<v8::Function> CallbackAt(const Arguments& info, int index) {
  return info[index]->IsFunction() ? info[index].As<v8::Function>() : v8::Local<v8::Function>();
}

// The callback's arguments of an operation without a value: null for success, an Error with the text for
// failure.
int FinishWithStatus(Environment& environment, bool ok, const char* error_text,
                     v8::Local<v8::Value>* arguments);

}  // namespace KilnNodeWrapper
