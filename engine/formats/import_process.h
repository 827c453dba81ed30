// Runs a program that may crash or never end, gives it bytes, and takes its answer. The platform's part of
// the import of models.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace kiln::engine::formats {

struct ProcessLimits {
  std::chrono::milliseconds time{};
  uint64_t output_bytes = 0;
};

enum class ProcessEnd {
  kOk,          // it exited with 0, or somebody else took its exit code; `output` is what it wrote
  kMissing,     // there is no such program
  kNotStarted,  // the system refused; `reason` says why
  kCrashed,     // a signal ended it, or it exited with another code
  kTimeOut,
  kTooMuchOutput,
};

struct ProcessResult {
  ProcessEnd end = ProcessEnd::kOk;
  std::string output;
  std::string reason;
};

// Runs the program to its end: `input` is its standard input, and its standard output is the result's. What
// it writes to standard error is dropped. It is killed when it exceeds a limit; in every case nothing is left
// of it, no process and no descriptor. Signals, their handlers and the working directory of the host stay as
// they are, and a host that ignores or takes the end of children does no harm. Blocks; any thread. Throws
// std::bad_alloc, after the clean-up.
ProcessResult RunProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                         std::span<const std::byte> input, const ProcessLimits& limits);

// The folder of the library or program that holds this function, as it was when that was loaded.
const std::filesystem::path& OwnFolder();

}  // namespace kiln::engine::formats
