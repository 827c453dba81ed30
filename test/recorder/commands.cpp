// The commands of the control module: one JSON text in, one out.
#include <dlfcn.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>

#include "allocator.h"
#include "boundary.h"
#include "callbacks.h"
#include "codec.h"
#include "dispatch.h"
#include "kept.h"
#include "probes.h"
#include "rows.h"
#include "script.h"
#include "state.h"

namespace recorder {
namespace {

using Command = Json (*)(const Json& in);

struct Listeners {
  std::mutex mutex;
  std::map<void*, RecorderCompletion> all;
};

Listeners& TheListeners() {
  static auto* const listeners = new Listeners;
  return *listeners;
}

uint64_t NextTicket() {
  static std::atomic<uint64_t> ticket{0};
  return ++ticket;
}

void Tell(uint64_t ticket, Json result) {
  result["ticket"] = ticket;
  const std::string text = result.dump();
  Listeners& listeners = TheListeners();
  const std::lock_guard lock(listeners.mutex);
  for (const auto& [cookie, completion] : listeners.all) completion(cookie, text.c_str());
}

int RowOf(const Json& in) {
  const std::string name = in.at("name");
  const int row = FindRow(name);
  if (row < 0) throw std::invalid_argument("there is no entry point \"" + name + "\"");
  return row;
}

// Runs the work on a thread of the recorder if the command asks for it, and tells its result later.
Json Perform(const Json& in, std::function<Json()> work) {
  if (!in.value("async", false)) return work();
  const uint64_t ticket = NextTicket();
  RunOnThread([ticket, work = std::move(work)] { Tell(ticket, work()); });
  return {{"ticket", ticket}};
}

Json Entries(const Json&) {
  Json entries = Json::array();
  for (const Row& row : Rows()) {
    Json parameters = Json::array();
    for (const Parameter& parameter : row.parameters) {
      parameters.push_back({parameter.type, parameter.name, KnowsType(parameter.type)});
    }
    entries.push_back(
        {{"family", row.family}, {"result", row.result}, {"name", row.name}, {"parameters", parameters}});
  }
  return entries;
}

Json SetAnswers(const Json& in) {
  const int row = RowOf(in);
  const Answer answer = ToAnswer(row, in.at("answer"));
  if (in.contains("times")) {
    const int times = in["times"];
    for (int i = 0; i < times; ++i) QueueAnswer(row, answer);
  } else {
    SetAnswer(row, answer);
  }
  return {};
}

Json DropAnswers(const Json& in) {
  if (in.contains("name")) {
    ClearAnswers(RowOf(in));
  } else {
    for (size_t row = 0; row < Rows().size(); ++row) ClearAnswers(static_cast<int>(row));
  }
  return {};
}

Json Unused(const Json&) {
  Json unused = Json::object();
  for (size_t row = 0; row < Rows().size(); ++row) {
    if (const size_t queued = QueuedAnswers(static_cast<int>(row)); queued > 0)
      unused[Rows()[row].name] = queued;
  }
  return unused;
}

Json ListCalls(const Json& in) {
  const int only = in.contains("name") ? RowOf(in) : -1;
  Json calls = Json::array();
  for (const Call& call : Calls()) {
    if (only < 0 || call.row == only) calls.push_back(FromCall(call));
  }
  return calls;
}

Json ListCounts(const Json&) {
  Json counts = Json::object();
  const std::vector<uint64_t> all = CallCounts();
  for (size_t row = 0; row < all.size(); ++row) {
    if (all[row] > 0) counts[Rows()[row].name] = all[row];
  }
  return counts;
}

Json ListFaults(const Json&) {
  Json faults = Json::array();
  for (const Fault& fault : TakeFaults()) {
    faults.push_back({{"kind", fault.kind}, {"text", fault.text}, {"seq", fault.sequence}});
  }
  return faults;
}

Json ListLive(const Json&) {
  const AllocatorCounts counts = Counts();
  Json blocks = Json::array();
  for (const LiveBlock& block : LiveBlocks()) {
    blocks.push_back({{"address", FromWord(block.address)}, {"size", block.size}, {"origin", block.origin}});
  }
  Json handles = Json::array();
  for (const LiveHandle& handle : LiveHandles()) {
    handles.push_back(
        {{"handle", FromWord(handle.handle)}, {"kind", handle.kind}, {"references", handle.references}});
  }
  return {{"blocks", blocks},
          {"bytes", counts.live_bytes},
          {"allocated", counts.allocated},
          {"freed", counts.freed},
          {"handles", handles},
          {"vectors", LiveVectors()},
          {"kept", KeptMemory().size()},
          {"threads", RunningThreads()},
          {"callbacks", RunningCallbacks()}};
}

Json CountLive(const Json&) {
  const AllocatorCounts counts = Counts();
  return {{"blocks", counts.live},
          {"bytes", counts.live_bytes},
          {"allocated", counts.allocated},
          {"freed", counts.freed}};
}

Json RaiseCommand(const Json& in) {
  const RaiseRequest request = ToRaise(in);
  const uint64_t ticket = NextTicket();
  Raise(request, [ticket](const RaiseResult& result) { Tell(ticket, FromRaiseResult(result)); });
  return {{"ticket", ticket}};
}

Json ListRegistrations(const Json&) {
  Json all = Json::array();
  for (const Registration& one : Registrations()) {
    all.push_back({{"name", Rows()[one.row].name},
                   {"handle", FromWord(one.handle)},
                   {"function", FromWord(one.function)},
                   {"user", FromWord(one.user_data)},
                   {"set", one.set},
                   {"times", one.times}});
  }
  return all;
}

Json ListKept(const Json&) {
  Json all = Json::array();
  for (const Kept& kept : KeptMemory()) {
    all.push_back({{"id", kept.id},
                   {"name", kept.entry},
                   {"data", FromWord(kept.data)},
                   {"size", kept.size},
                   {"release", FromWord(kept.release)},
                   {"user", FromWord(kept.user)}});
  }
  return all;
}

Json ReleaseCommand(const Json& in) {
  const std::vector<uint64_t> ids = in.value("ids", std::vector<uint64_t>());
  return Perform(in, [ids] { return Json{{"released", ReleaseKept(ids)}}; });
}

Json ListLibraryEvents(const Json&) {
  Json events = Json::array();
  for (const LibraryEvent& event : LibraryEvents()) {
    events.push_back({{"loaded", event.loaded}, {"path", event.path}, {"seq", event.sequence}});
  }
  return events;
}

Json MakeCommand(const Json& in) {
  return {{"b", FromWord(Make(ToValue(in.at("value")), "test"))}};
}

Json InternCommand(const Json& in) {
  const char* const text = Intern(FromBase64(in.at("d").get<std::string>()));
  return {{"b", FromWord(reinterpret_cast<uint64_t>(text))}};
}

Json ReadCommand(const Json& in) {
  const auto* const address = reinterpret_cast<const char*>(ToWord(in.at("b")));
  return {{"d", ToBase64({address, in.at("size").get<size_t>()})}};
}

Json WriteCommand(const Json& in) {
  const std::string bytes = FromBase64(in.at("d").get<std::string>());
  std::memcpy(reinterpret_cast<char*>(ToWord(in.at("b"))), bytes.data(), bytes.size());
  return {};
}

// Memory for the life of the process, within reach so that a leak check does not take it for lost.
char* KeptForever(size_t size) {
  static std::mutex mutex;
  static auto* const all = new std::vector<char*>;
  const std::lock_guard lock(mutex);
  return all->emplace_back(static_cast<char*>(std::malloc(size)));
}

// One argument of a direct call: a word, or memory that is never freed, since the recorder may keep what it
// was given.
uint64_t ToCallArgument(const Json& json, std::vector<std::pair<char*, size_t>>& memories) {
  if (!json.is_object()) return ToWord(json);
  const Memory memory = ToMemory(json);
  char* const address = KeptForever(memory.bytes.size() + 1);
  Place(memory, address);
  memories.emplace_back(address, memory.bytes.size());
  return reinterpret_cast<uint64_t>(address);
}

Json CallEntry(const std::string& path, int row, const std::vector<Json>& in, bool counted) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return {{"error", dlerror()}};
  const auto invoke = reinterpret_cast<RecorderInvoke>(dlsym(library, "recorder_invoke"));
  std::vector<std::pair<char*, size_t>> memories;
  std::vector<uint64_t> arguments;
  for (const Json& argument : in) arguments.push_back(ToCallArgument(argument, memories));
  arguments.push_back(0);
  Json out;
  {
    const DirectCall direct(!counted);
    out["b"] = FromWord(invoke(row, arguments.data()));
  }
  out["after"] = Json::array();
  for (const auto& [address, size] : memories) out["after"].push_back(ToBase64({address, size}));
  dlclose(library);
  return out;
}

Json CallCommand(const Json& in) {
  const int row = RowOf(in);
  const std::string path = in.at("path");
  const std::vector<Json> arguments = in.at("args");
  if (arguments.size() != Rows()[row].parameters.size())
    throw std::invalid_argument("wrong number of arguments");
  const bool counted = in.value("counted", false);
  return Perform(in, [=] { return CallEntry(path, row, arguments, counted); });
}

Json ResolveCommand(const Json& in) {
  void* const library = dlopen(in.at("path").get<std::string>().c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return {{"error", dlerror()}};
  Json missing = Json::array();
  for (const Row& row : Rows()) {
    if (dlsym(library, row.name.c_str()) == nullptr) missing.push_back(row.name);
  }
  dlclose(library);
  return {{"missing", missing}};
}

Json Open(const Json& in) {
  if (in.contains("gate")) {
    OpenGate(in["gate"]);
  } else {
    OpenAllGates();
  }
  return {};
}

const std::map<std::string, Command>& Commands() {
  static const auto* const commands = new std::map<std::string, Command>{
      {"entries", Entries},
      {"answer", SetAnswers},
      {"drop_answers", DropAnswers},
      {"unused", Unused},
      {"calls", ListCalls},
      {"counts", ListCounts},
      {"clear_calls",
       [](const Json&) {
         ClearCalls();
         return Json();
       }},
      {"recording",
       [](const Json& in) {
         SetRecording(in.at("all").get<bool>() ? Recording::kAll : Recording::kCounts);
         return Json();
       }},
      {"ignore",
       [](const Json& in) {
         SetIgnored(RowOf(in), in.at("on"));
         return Json();
       }},
      {"faults", ListFaults},
      {"live", ListLive},
      {"count_live", CountLive},
      {"reset_allocator",
       [](const Json&) {
         ResetCounts();
         return Json();
       }},
      {"protect",
       [](const Json& in) {
         SetProtection(in.at("on"));
         return Json();
       }},
      {"fail_allocations",
       [](const Json& in) {
         FailAllocations(in.at("skip"), in.at("count"));
         return Json();
       }},
      {"open", Open},
      {"close_gate",
       [](const Json& in) {
         CloseGate(in.at("gate"));
         return Json();
       }},
      {"waiting",
       [](const Json& in) {
         return Json{{"count", WaitingAt(in.at("gate"))}};
       }},
      {"raise", RaiseCommand},
      {"registrations", ListRegistrations},
      {"kept", ListKept},
      {"release", ReleaseCommand},
      {"library_events", ListLibraryEvents},
      {"join_on_unload",
       [](const Json& in) {
         SetJoinOnUnload(in.at("on"));
         return Json();
       }},
      {"make", MakeCommand},
      {"intern", InternCommand},
      {"read", ReadCommand},
      {"write", WriteCommand},
      {"call", CallCommand},
      {"resolve", ResolveCommand},
      {"probes", [](const Json&) { return ProbeAddresses(); }},
      {"probe_calls", [](const Json&) { return TakeProbeCalls(); }},
      {"thread",
       [](const Json&) {
         return Json{{"id", ThreadId()}};
       }},
  };
  return *commands;
}

Json Execute(const std::string& text) {
  try {
    const Json in = Json::parse(text);
    const auto command = Commands().find(in.at("op").get<std::string>());
    if (command == Commands().end())
      return {{"refused", "there is no such command: " + in["op"].get<std::string>()}};
    return {{"ok", command->second(in)}};
  } catch (const std::exception& error) {
    return {{"refused", error.what()}};
  }
}

}  // namespace
}  // namespace recorder

char* recorder_command(const char* text, uint64_t size) {
  return strdup(recorder::Execute({text, size}).dump().c_str());
}

void recorder_free_text(char* text) {
  std::free(text);
}

void recorder_add_listener(RecorderCompletion completion, void* cookie) {
  const std::lock_guard lock(recorder::TheListeners().mutex);
  recorder::TheListeners().all[cookie] = completion;
}

void recorder_remove_listener(void* cookie) {
  const std::lock_guard lock(recorder::TheListeners().mutex);
  recorder::TheListeners().all.erase(cookie);
}
