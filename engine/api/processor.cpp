// Figures of the machine, from where Linux tells them; elsewhere they are 0.
#include "engine/api/processor.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <fstream>
#include <map>
#include <mutex>
#include <thread>

namespace kiln::engine::api {
namespace {

using Clock = std::chrono::steady_clock;

// "name : value" lines, the first of each name.
std::map<std::string, std::string> ReadTable(const char* file) {
  std::map<std::string, std::string> table;
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    const size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    const size_t end = line.find_last_not_of(" \t", colon - 1);
    const size_t start = line.find_first_not_of(" \t", colon + 1);
    table.emplace(line.substr(0, end + 1), start == std::string::npos ? "" : line.substr(start));
  }
  return table;
}

double NumberAt(const std::map<std::string, std::string>& table, const char* name) {
  const auto found = table.find(name);
  return found != table.end() ? std::strtod(found->second.c_str(), nullptr) : 0;
}

Processor ReadProcessor() {
  const auto table = ReadTable("/proc/cpuinfo");
  Processor processor;
  const auto name = table.find("model name");
  if (name != table.end() && !name->second.empty()) processor.name = name->second;
  processor.frequency_mhz = static_cast<uint32_t>(std::clamp(NumberAt(table, "cpu MHz"), 0.0, 1e6));
  return processor;
}

struct Usage {
  std::mutex mutex;
  Clock::time_point at = Clock::now();
  std::clock_t used = std::clock();
};

Usage& TheUsage() {
  static Usage usage;
  return usage;
}

// From when the library is loaded, so that the first answer has something behind it.
[[maybe_unused]] const Usage& kFromTheStart = TheUsage();

}  // namespace

const Processor& TheProcessor() {
  static const Processor processor = ReadProcessor();
  return processor;
}

MemoryState ReadMemoryState() {
  constexpr double kKiBPerMiB = 1024;
  const auto table = ReadTable("/proc/meminfo");
  return {static_cast<float>(NumberAt(table, "MemTotal") / kKiBPerMiB),
          static_cast<float>(NumberAt(table, "MemAvailable") / kKiBPerMiB)};
}

float TakeUtilization() {
  Usage& usage = TheUsage();
  const std::lock_guard lock(usage.mutex);
  const Clock::time_point now = Clock::now();
  const std::clock_t used = std::clock();
  const double seconds = std::chrono::duration<double>(now - usage.at).count();
  const double busy = static_cast<double>(used - usage.used) / CLOCKS_PER_SEC;
  usage.at = now;
  usage.used = used;
  const unsigned threads = std::max(1U, std::thread::hardware_concurrency());
  return seconds > 0 ? static_cast<float>(std::clamp(busy / (seconds * threads), 0.0, 1.0)) : 0.0F;
}

}  // namespace kiln::engine::api
