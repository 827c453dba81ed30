#include "utilities/host_check.h"

#include <cstdio>
#include <string>

#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/object_builder.h"
#include "binding/sdk_memory.h"
#include "binding/text.h"
#include "module/module.h"
#include "module/sdk_library.h"
#include "utilities.h"

namespace KilnNodeWrapper {
namespace {

constexpr int32_t kReady = 0;

struct Status {
  int32_t value;
  const char* text;
};
constexpr Status kStatuses[] = {
    {-3, "Error Resolve"}, {-2, "Error Connect"}, {-1, "Error Timeout"}, {kReady, "Server Ready"},
    {1, "Server Unknown"}, {2, "Server Error"},   {3, "Server Busy"},
};

v8::MaybeLocal<v8::Object> MakeResult(v8::Isolate* isolate, const HostCheckResult& record) {
  ObjectBuilder object(isolate);
  object.Flag("ready", record.status == kReady);
  for (const Status& status : kStatuses) {
    if (status.value == record.status) object.Text("status", status.text);
  }
  if (record.cpu_count != 0) object.Number("cpuCount", record.cpu_count);
  if (record.version != 0) {
    char text[16];
    std::snprintf(text, sizeof(text), "%u.%02u.%02u", record.version >> 16, (record.version >> 8) & 0xFF,
                  record.version & 0xFF);
    object.Text("kilnVersion", text);
  }
  if (record.host_resolved) object.Text("hostResolved", record.host_resolved);
  if (record.host_connected_to) object.Text("hostConnectedTo", record.host_connected_to);
  if (record.revision_time) object.Text("revisionTime", record.revision_time);
  return object.Take();
}

struct CheckHost {
  std::string host;
  HostCheckResult* result = nullptr;

  void Run() { result = sdk.Kiln_checkDRHost(host.c_str()); }

  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    v8::Isolate* isolate = environment.isolate();
    arguments[1] = v8::Undefined(isolate);
    if (!result) return MakeError(isolate, "Memory error").ToLocal(&arguments[0]) ? 2 : kNoCall;
    v8::Local<v8::Object> object;
    const bool made = MakeResult(isolate, *result).ToLocal(&object);
    Abandon();
    if (!made) return kNoCall;
    arguments[0] = v8::Null(isolate);
    arguments[1] = object;
    return 2;
  }

  void Abandon() { ReleaseBlock(result); }
};

}  // namespace

void CheckDRHost(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info.Length() < 2 || !info[1]->IsFunction()) {
    return ThrowError(isolate, "Missing argument 0 (host: string) or argument 1 (callback function)");
  }
  CheckHost operation;
  if (!ReadString(isolate->GetCurrentContext(), info[0], &operation.host)) return;
  Queue(info, CallbackAt(info, 1), std::move(operation));
}

void CheckDRHostSync(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!EnsureBound(isolate)) return;
  if (info.Length() == 0) return ThrowError(isolate, "Missing 'hostName' or 'host:port' argument");
  Text host;
  if (!host.Read(isolate->GetCurrentContext(), info[0])) return;
  HostCheckResult* result = sdk.Kiln_checkDRHost(host.c_str());
  if (!result) return;
  v8::Local<v8::Object> object;
  if (MakeResult(isolate, *result).ToLocal(&object)) info.GetReturnValue().Set(object);
  ReleaseBlock(result);
}

}  // namespace KilnNodeWrapper
