// Functions of a test host.
#include "probes.h"

#include <cstring>
#include <mutex>
#include <string_view>

#include "allocator.h"
#include "codec.h"
#include "script.h"
#include "state.h"

namespace recorder {
namespace {

struct Probes {
  std::mutex mutex;
  Json calls = Json::array();
};

Probes& The() {
  static auto* const probes = new Probes;
  return *probes;
}

void Note(Json call) {
  call["thread"] = ThreadId();
  const std::lock_guard lock(The().mutex);
  The().calls.push_back(std::move(call));
}

// Answers the count of its calls so far, so that a test can add them up.
int32_t Callback(void* record) {
  if (record == nullptr) {
    Note({{"probe", "callback"}});
    return -1;
  }
  KilnEventHead head;
  std::memcpy(&head, record, sizeof(head));
  Note({{"probe", "callback"},
        {"user", FromWord(reinterpret_cast<uint64_t>(head.user_data))},
        {"time", head.time}});
  return 7;
}

// Stands still until the gate "probe" is open, as a callback does whose host is busy.
int32_t BlockingCallback(void*) {
  Note({{"probe", "blocking_callback"}});
  WaitAt("probe");
  return 1;
}

void Release(void* memory, uint64_t size, void* cookie) {
  Note({{"probe", "release"},
        {"memory", FromWord(reinterpret_cast<uint64_t>(memory))},
        {"size", size},
        {"cookie", FromWord(reinterpret_cast<uint64_t>(cookie))}});
}

// Leaves out what is called "drop", renames what is called "old" to "new" and keeps everything else.
const char* Filter(const char* first, const char* second, void* user) {
  Note({{"probe", "filter"},
        {"first", first},
        {"second", second},
        {"user", FromWord(reinterpret_cast<uint64_t>(user))}});
  const std::string_view name = second;
  if (name == "drop") return nullptr;
  if (name != "old") return second;
  constexpr char kNew[] = "new";
  return static_cast<char*>(std::memcpy(Allocate(sizeof(kNew), "filter"), kNew, sizeof(kNew)));
}

void Completed(KilnImageHandle image, KilnDenoiseRequest* request) {
  Note({{"probe", "completion"},
        {"image", FromWord(reinterpret_cast<uint64_t>(image))},
        {"request", FromWord(reinterpret_cast<uint64_t>(request))}});
}

template <class Function>
std::string Address(Function* function) {
  return FromWord(reinterpret_cast<uint64_t>(function));
}

}  // namespace

Json ProbeAddresses() {
  return {{"callback", Address(&Callback)},
          {"blocking_callback", Address(&BlockingCallback)},
          {"release", Address(&Release)},
          {"filter", Address(&Filter)},
          {"completion", Address(&Completed)}};
}

Json TakeProbeCalls() {
  const std::lock_guard lock(The().mutex);
  return std::exchange(The().calls, Json::array());
}

}  // namespace recorder
