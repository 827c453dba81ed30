// What a test has scripted.
#include "script.h"

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <set>

#include "allocator.h"
#include "state.h"

namespace recorder {
namespace {

struct Script {
  std::mutex mutex;
  std::map<int, Answer> fixed;
  std::map<int, std::deque<Answer>> queued;
};

struct Gates {
  std::mutex mutex;
  std::condition_variable changed;
  std::set<std::string> open;
  std::map<std::string, int> waiting;
  bool all_open = false;
};

Script& TheScript() {
  static auto* const script = new Script;
  return *script;
}

Gates& TheGates() {
  static auto* const gates = new Gates;
  return *gates;
}

}  // namespace

void SetAnswer(int row, const Answer& answer) {
  const std::lock_guard lock(TheScript().mutex);
  TheScript().fixed[row] = answer;
}

void QueueAnswer(int row, const Answer& answer) {
  const std::lock_guard lock(TheScript().mutex);
  TheScript().queued[row].push_back(answer);
}

void ClearAnswers(int row) {
  const std::lock_guard lock(TheScript().mutex);
  TheScript().fixed.erase(row);
  TheScript().queued.erase(row);
}

Answer TakeAnswer(int row) {
  Script& script = TheScript();
  const std::lock_guard lock(script.mutex);
  if (const auto queue = script.queued.find(row); queue != script.queued.end()) {
    Answer answer = std::move(queue->second.front());
    queue->second.pop_front();
    if (queue->second.empty()) script.queued.erase(queue);
    return answer;
  }
  const auto fixed = script.fixed.find(row);
  return fixed == script.fixed.end() ? Answer{} : fixed->second;
}

size_t QueuedAnswers(int row) {
  const std::lock_guard lock(TheScript().mutex);
  const auto queue = TheScript().queued.find(row);
  return queue == TheScript().queued.end() ? 0 : queue->second.size();
}

uint64_t Make(const Value& value, const std::string& origin) {
  switch (value.kind) {
    case Value::Kind::kBits:
      return value.bits;
    case Value::Kind::kBlock: {
      void* const block = Allocate(value.memory.bytes.size(), origin);
      Place(value.memory, block);
      return reinterpret_cast<uint64_t>(block);
    }
    case Value::Kind::kImage:
      return reinterpret_cast<uint64_t>(NewImage(value.width, value.height, origin));
    case Value::Kind::kVector:
      return NewVector(value.texts);
    case Value::Kind::kHandle:
      return NewHandle(value.handle_kind);
  }
  return 0;
}

void OpenGate(const std::string& gate) {
  const std::lock_guard lock(TheGates().mutex);
  TheGates().open.insert(gate);
  TheGates().changed.notify_all();
}

void CloseGate(const std::string& gate) {
  const std::lock_guard lock(TheGates().mutex);
  TheGates().open.erase(gate);
}

void OpenAllGates() {
  const std::lock_guard lock(TheGates().mutex);
  TheGates().all_open = true;
  TheGates().changed.notify_all();
}

int WaitingAt(const std::string& gate) {
  const std::lock_guard lock(TheGates().mutex);
  const auto found = TheGates().waiting.find(gate);
  return found == TheGates().waiting.end() ? 0 : found->second;
}

void WaitAt(const std::string& gate) {
  Gates& gates = TheGates();
  std::unique_lock lock(gates.mutex);
  ++gates.waiting[gate];
  gates.changed.wait(lock, [&] { return gates.all_open || gates.open.count(gate) != 0; });
  --gates.waiting[gate];
}

}  // namespace recorder
