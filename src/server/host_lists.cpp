#include "server/host_lists.h"

#include <vector>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"

namespace KilnNodeWrapper {
namespace {

constexpr HostFailure kAdd[] = {
    {-2, "Error adding host(s): Failed to resolve hostname or an empty/null string was passed"},
    {-1, "Error adding host(s): Renderer is invalid or in the PREPARING state"},
    {0, "Error adding host(s): Hosts were added to the list, but failed to connect"},
};
constexpr HostFailure kRemove[] = {{1, "Error removing host(s)"}, {-1, "Error removing host(s)"}};
constexpr HostFailure kReset[] = {{1, "Error resetting host(s)"}, {-1, "Error resetting host(s)"}};

// An array within itself ends the walk like one that can't be read.
constexpr int kDeepestArray = 1000;

struct HostWalk {
  v8::Local<v8::Context> context;
  std::string hosts{};
  v8::Local<v8::Function> callback{};

  bool Take(v8::Local<v8::Value> value, int depth) {
    if (value->IsString()) {
      Append(value.As<v8::String>());
    } else if (value->IsArray()) {
      return TakeArray(value.As<v8::Array>(), depth);
    } else if (value->IsFunction() && depth == 0) {
      callback = value.As<v8::Function>();
    }
    return true;
  }

 private:
  void Append(v8::Local<v8::String> host) {
    if (!hosts.empty()) hosts += ';';
    hosts += StringOf(v8::Isolate::GetCurrent(), host);
  }

  bool TakeArray(v8::Local<v8::Array> array, int depth) {
    v8::Isolate* isolate = v8::Isolate::GetCurrent();
    if (depth == kDeepestArray) {
      isolate->ThrowException(v8::Exception::RangeError(
          v8::String::NewFromUtf8Literal(isolate, "The arrays of hosts are nested too deep")));
      return false;
    }
    for (uint32_t i = 0; i < array->Length(); i++) {
      v8::Local<v8::Value> element;
      if (!array->Get(context, i).ToLocal(&element) || !Take(element, depth + 1)) return false;
    }
    return true;
  }
};

// Blanks are dropped wherever they stand; a separator at the very end adds no name.
std::vector<std::string> SplitHosts(const char* text) {
  std::vector<std::string> names;
  if (!text || !*text) return names;
  names.emplace_back();
  for (const char* c = text; *c; c++) {
    if (*c != ';' && *c != ',') {
      if (*c != ' ') names.back() += *c;
    } else if (c[1]) {
      names.emplace_back();
    }
  }
  return names;
}

v8::MaybeLocal<v8::Array> MakeHostArray(v8::Isolate* isolate, const std::vector<std::string>& names) {
  std::vector<v8::Local<v8::Value>> elements;
  for (const std::string& name : names) {
    v8::Local<v8::String> element;
    if (!NewText(isolate, name).ToLocal(&element)) return {};
    elements.push_back(element);
  }
  return v8::Array::New(isolate, elements.data(), elements.size());
}

std::vector<std::string> AskForHosts(HostsOwner owner, ListHosts function) {
  uint64_t slot = 0;
  char* text = (sdk.*function)(owner, &slot);
  std::vector<std::string> names = SplitHosts(text);
  // The empty text is a constant of the SDK's.
  if (text && *text) ReleaseBlock(text);
  return names;
}

struct HostChange {
  HostsOwner owner;
  ChangeHosts function;
  std::span<const HostFailure> failures;
  std::string hosts;
  int32_t result = 0;

  void Run() { result = (sdk.*function)(owner, hosts.c_str()); }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    const char* failure = nullptr;
    for (const HostFailure& row : failures) {
      if (row.code == result) failure = row.text;
    }
    return FinishWithStatus(environment, !failure, failure, arguments);
  }
};

struct HostList {
  HostsOwner owner;
  ListHosts function;
  std::vector<std::string> names{};

  void Run() { names = AskForHosts(owner, function); }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    v8::Local<v8::Array> array;
    if (!MakeHostArray(environment.isolate(), names).ToLocal(&array)) return kNoCall;
    arguments[0] = array;
    return 1;
  }
};

}  // namespace

const std::span<const HostFailure> kAddHostsFailures = kAdd;
const std::span<const HostFailure> kRemoveHostsFailures = kRemove;
const std::span<const HostFailure> kResetHostsFailures = kReset;

bool ReadHosts(const Arguments& info, std::string* hosts, v8::Local<v8::Function>* callback) {
  HostWalk walk{info.GetIsolate()->GetCurrentContext()};
  for (int i = 0; i < info.Length(); i++) {
    if (!walk.Take(info[i], 0)) return false;
  }
  *hosts = std::move(walk.hosts);
  if (callback) *callback = walk.callback;
  return true;
}

void QueueHostChange(const Arguments& info, HostsOwner owner, ChangeHosts function,
                     std::span<const HostFailure> failures) {
  HostChange operation{owner, function, failures, {}};
  v8::Local<v8::Function> callback;
  if (ReadHosts(info, &operation.hosts, &callback)) Queue(info, callback, std::move(operation));
}

void QueueHostList(const Arguments& info, HostsOwner owner, ListHosts function) {
  v8::Local<v8::Function> callback = CallbackAt(info, 0);
  if (callback.IsEmpty()) {
    return ThrowError(info.GetIsolate(), "Argument 0 (a callback function) should be passed");
  }
  Queue(info, callback, HostList{owner, function});
}

void ReturnHostList(const Arguments& info, HostsOwner owner, ListHosts function) {
  v8::Local<v8::Array> array;
  if (MakeHostArray(info.GetIsolate(), AskForHosts(owner, function)).ToLocal(&array)) {
    info.GetReturnValue().Set(array);
  }
}

}  // namespace KilnNodeWrapper
