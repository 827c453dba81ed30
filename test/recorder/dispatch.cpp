// The path of a call: it is recorded, answered as the script says, and its result noted.
#include "dispatch.h"

#include <chrono>
#include <cstring>
#include <thread>

#include "allocator.h"
#include "boundary.h"
#include "coverage.h"
#include "defaults.h"
#include "kept.h"
#include "rows.h"
#include "script.h"
#include "state.h"

namespace recorder {
namespace {

using Clock = std::chrono::steady_clock;

thread_local bool direct_call = false;

double Since(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void SleepFor(double milliseconds) {
  if (milliseconds > 0) std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(milliseconds));
}

void RunRaises(const Answer& answer) {
  for (const RaiseRequest& request : answer.raises) {
    if (answer.wait_for_raises) {
      RaiseAndWait(request);
    } else {
      Raise(request, nullptr);
    }
  }
}

FilterStep AskFilter(KilnFilterFunction filter, void* user,
                     const std::pair<std::optional<std::string>, std::string>& names) {
  const char* const second = names.second.c_str();
  const char* const answer = filter(names.first ? names.first->c_str() : nullptr, second, user);
  FilterStep step{names.first.value_or(""), names.second, 'r', ""};
  if (answer == nullptr) {
    step.outcome = 'l';
  } else if (answer == second) {
    step.outcome = 'k';
  } else {
    step.name = answer;
    Free(const_cast<char*>(answer));
  }
  return step;
}

void RunFilter(const Row& row, const uint64_t* arguments, const Answer& answer, Call& call) {
  const int function = row.Find("filter");
  const int user = row.Find("user");
  if (function < 0 || arguments[function] == 0) return;
  const auto filter = reinterpret_cast<KilnFilterFunction>(arguments[function]);
  for (const auto& names : answer.filter) {
    AddFilterStep(call, AskFilter(filter, reinterpret_cast<void*>(arguments[user]), names));
  }
}

void WriteOut(const Out& out, const std::string& origin, const uint64_t* arguments) {
  auto* address = reinterpret_cast<char*>(arguments[out.argument]);
  if (address == nullptr) return;
  address += out.offset;
  if (out.through) std::memcpy(&address, address, sizeof(address));
  if (address == nullptr) return;
  if (out.value) {
    const uint64_t word = Make(*out.value, origin);
    std::memcpy(address, &word, sizeof(word));
  } else {
    std::memcpy(address, out.bytes.data(), out.bytes.size());
  }
}

void Complete(const Row& row, const uint64_t* arguments, const Completion& completion) {
  const int parameter = row.Find("request");
  if (parameter < 0) return;
  auto* const request = reinterpret_cast<KilnDenoiseRequest*>(arguments[parameter]);
  if (request == nullptr || request->completion == nullptr) return;
  // A completion that comes late, or twice, finds the request gone.
  const auto finish = [request, complete = request->completion, completion] {
    SleepFor(completion.delay);
    void* const image =
        completion.width > 0 ? NewImage(completion.width, completion.height, "denoise completion") : nullptr;
    complete(image, request);
  };
  if (completion.same_thread) {
    finish();
  } else {
    RunOnThread(finish);
  }
}

void Registered(int index, const Row& row, const uint64_t* arguments) {
  const int callback = row.Find("callback");
  if (callback < 0) return;
  SetCallback(index, arguments[0], reinterpret_cast<const CallbackDescriptor*>(arguments[callback]));
}

std::shared_ptr<Call> Record(int index, const Row& row, const uint64_t* arguments) {
  auto call = std::make_shared<Call>();
  call->row = index;
  call->thread = ThreadId();
  call->arguments.reserve(row.parameters.size());
  for (size_t i = 0; i < row.parameters.size(); ++i) call->arguments.push_back(Capture(row, arguments, i));
  call->stale_handle = !row.parameters.empty() && WasHandle(arguments[0]);
  LogCall(call);
  return call;
}

uint64_t Respond(int index, const Row& row, const uint64_t* arguments, Call& call) {
  const Answer answer = TakeAnswer(index);
  SleepFor(answer.delay);
  if (!answer.gate.empty()) WaitAt(answer.gate);
  RunRaises(answer);
  RunFilter(row, arguments, answer, call);
  const uint64_t result = answer.result ? Make(*answer.result, row.name) : DefaultAnswer(index, arguments);
  for (const Out& out : answer.outs) WriteOut(out, row.name, arguments);
  KeepMemory(row, call.arguments, answer.keep);
  if (answer.completion) Complete(row, arguments, *answer.completion);
  return result;
}

}  // namespace

DirectCall::DirectCall(bool on) {
  direct_call = on;
}
DirectCall::~DirectCall() {
  direct_call = false;
}

}  // namespace recorder

using namespace recorder;

uint64_t recorder_dispatch(int32_t index, const uint64_t* arguments) {
  const Row& row = Rows()[index];
  const auto start = Clock::now();
  if (!direct_call) Touch(index, row.name);
  const std::shared_ptr<Call> call = Record(index, row, arguments);
  Registered(index, row, arguments);
  const uint64_t result = Respond(index, row, arguments, *call);
  FinishCall(*call, result, Since(start));
  return result;
}

void recorder_library_loaded(const char* path) {
  AddLibraryEvent(true, path);
}

void recorder_library_unloading(const char* path) {
  AddLibraryEvent(false, path);
  JoinIfWanted();
}
