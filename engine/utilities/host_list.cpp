#include "engine/utilities/host_list.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace kiln::engine {
namespace {

using Hosts = std::vector<std::string>;

constexpr std::string_view kBlanks = " \t\r\n";

bool IsPort(std::string_view text) {
  int port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  return error == std::errc() && end == text.data() + text.size() && port >= 1 && port <= 65535;
}

bool Contains(const Hosts& hosts, const std::string& host) {
  return std::find(hosts.begin(), hosts.end(), host) != hosts.end();
}

void AddOnce(Hosts& hosts, const Hosts& more) {
  for (const std::string& host : more) {
    if (!Contains(hosts, host)) hosts.push_back(host);
  }
}

// Nothing when a piece is no host.
std::optional<Hosts> Split(std::string_view text) {
  Hosts hosts;
  while (!text.empty()) {
    const size_t end = std::min(text.find_first_of(";,"), text.size());
    std::string_view entry = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    entry.remove_prefix(std::min(entry.find_first_not_of(kBlanks), entry.size()));
    if (entry.empty()) continue;
    entry = entry.substr(0, entry.find_last_not_of(kBlanks) + 1);
    if (!IsHostEntry(entry)) return {};
    hosts.emplace_back(entry);
  }
  return hosts;
}

}  // namespace

bool IsHostEntry(std::string_view entry) {
  const bool printable = std::none_of(entry.begin(), entry.end(), [](char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == 0x7f || c == ';' || c == ',';
  });
  if (entry.empty() || !printable) return false;
  if (entry.front() == '[') {
    const size_t end = entry.find(']');
    if (end == entry.npos || end < 2) return false;
    const std::string_view rest = entry.substr(end + 1);
    return rest.empty() || (rest.front() == ':' && IsPort(rest.substr(1)));
  }
  if (std::count(entry.begin(), entry.end(), ':') != 1) return true;
  const size_t colon = entry.find(':');
  return colon > 0 && IsPort(entry.substr(colon + 1));
}

bool HostList::Add(std::string_view text) {
  const std::optional<Hosts> hosts = Split(text);
  if (!hosts || hosts->empty()) return false;
  const std::lock_guard lock(mutex_);
  AddOnce(hosts_, *hosts);
  return true;
}

bool HostList::Remove(std::string_view text) {
  const std::optional<Hosts> hosts = Split(text);
  if (!hosts || hosts->empty()) return false;
  const std::lock_guard lock(mutex_);
  const auto known = [this](const std::string& host) { return Contains(hosts_, host); };
  if (!std::all_of(hosts->begin(), hosts->end(), known)) return false;
  std::erase_if(hosts_, [&](const std::string& host) { return Contains(*hosts, host); });
  return true;
}

bool HostList::Reset(std::string_view text) {
  const std::optional<Hosts> hosts = Split(text);
  if (!hosts) return false;
  const std::lock_guard lock(mutex_);
  hosts_.clear();
  AddOnce(hosts_, *hosts);
  return true;
}

std::string HostList::Text() const {
  const std::lock_guard lock(mutex_);
  std::string text;
  for (const std::string& host : hosts_) {
    if (!text.empty()) text += ';';
    text += host;
  }
  return text;
}

}  // namespace kiln::engine
