// kiln-import: reads a model from its standard input and answers with a scene, for the engine's library,
// which is safe from whatever the model does to this process.
// Arguments: size of the model in bytes, seconds of the processor, bytes of memory, the model's file name
// (where its materials and images lie; empty when it comes from a buffer), extension without the dot.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>
#include <shared_mutex>
#include <string>
#include <vector>

#include "engine/formats/import_answer.h"
#include "engine/formats/scene_text.h"
#include "engine/importer/import_here.h"
#ifdef __linux__
#include <sys/prctl.h>

#include <csignal>
#endif

namespace kiln::engine::importer {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kLimitMemory = false;  // they reserve most of the address space for themselves
#else
constexpr bool kLimitMemory = true;
#endif

struct Request {
  uint64_t model_bytes = 0;
  uint64_t seconds = 0;
  uint64_t memory_bytes = 0;
  std::filesystem::path file;
  std::string extension;
};

std::optional<uint64_t> Number(const char* text) {
  uint64_t number = 0;
  const char* end = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

std::optional<Request> ReadArguments(int count, char** arguments) {
  if (count != 6) return std::nullopt;
  const auto model_bytes = Number(arguments[1]);
  const auto seconds = Number(arguments[2]);
  const auto memory_bytes = Number(arguments[3]);
  if (!model_bytes || !seconds || !memory_bytes) return std::nullopt;
  return Request{*model_bytes, *seconds, *memory_bytes, arguments[4], arguments[5]};
}

void SetLimit(int resource, uint64_t value) {
  rlimit limit{};
  if (getrlimit(static_cast<decltype(RLIMIT_AS)>(resource), &limit) != 0) return;
  limit.rlim_cur = std::min<rlim_t>(value, limit.rlim_max);
  limit.rlim_max = limit.rlim_cur;
  setrlimit(static_cast<decltype(RLIMIT_AS)>(resource), &limit);
}

// The host's end is ours, and what we can take from the machine is limited.
void Confine(const Request& request) {
#ifdef __linux__
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // When memory gets short, this process goes before the host.
  if (const int score = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC); score >= 0) {
    const ssize_t ignored = write(score, "1000", 4);
    static_cast<void>(ignored);
    close(score);
  }
#endif
  SetLimit(RLIMIT_CORE, 0);
  SetLimit(RLIMIT_CPU, request.seconds);
  if (kLimitMemory) SetLimit(RLIMIT_AS, request.memory_bytes);
}

// What the readers print must not get between the bytes of the answer.
int TakeOutput() {
  const int output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (output < 0 || nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0) return -1;
  close(nowhere);
  return output;
}

bool ReadInput(std::vector<std::byte>& bytes) {
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t got = read(STDIN_FILENO, bytes.data() + done, bytes.size() - done);
    if (got == 0 || (got < 0 && errno != EINTR)) return false;
    if (got > 0) done += static_cast<size_t>(got);
  }
  return true;
}

bool WriteOutput(int output, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = write(output, bytes.data(), bytes.size());
    if (sent < 0 && errno != EINTR) return false;
    if (sent > 0) bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

// The model as an answer; nothing when the host went away.
std::optional<std::string> Answer(const Request& request) {
  try {
    std::vector<std::byte> bytes(request.model_bytes);
    if (!ReadInput(bytes)) return std::nullopt;
    scene::Scene scene;
    const formats::LoadResult result = ImportModelHere(scene, bytes, request.file, request.extension);
    const std::shared_lock lock(scene.mutex);
    return formats::EncodeAnswer(result,
                                 result.ok() ? formats::WriteText(formats::SceneCopy(scene)) : std::string());
  } catch (const std::bad_alloc&) {
    return formats::EncodeAnswer(
        {formats::LoadError::kOutOfMemory, {}, 0, "there is not enough memory for the scene"}, {});
  }
}

int Main(int count, char** arguments) {
  const auto request = ReadArguments(count, arguments);
  if (!request) {
    std::fputs("kiln-import reads model files for the engine, which starts it.\n", stderr);
    return 2;
  }
  Confine(*request);
  const int output = TakeOutput();
  if (output < 0) return 3;
  const auto answer = Answer(*request);
  return answer && WriteOutput(output, *answer) ? 0 : 4;
}

}  // namespace
}  // namespace kiln::engine::importer

int main(int argc, char** argv) {
  // What a reader left in a bad state is not worth cleaning up.
  _exit(kiln::engine::importer::Main(argc, argv));
}
