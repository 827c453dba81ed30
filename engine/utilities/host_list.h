// A list of render hosts, as text and as names.
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace kiln::engine {

// A host is a name, an IPv4 address, or an IPv6 address that stands in brackets where a port follows; then
// perhaps a colon and a port from 1 to 65535.
bool IsHostEntry(std::string_view entry);

// Hosts in the order in which they were added, each once. Texts separate them by semicolons or commas; blanks
// around them and empty pieces mean nothing. Any thread.
class HostList {
 public:
  // False, and nothing changes, for a text without a host or with a piece that is none.
  bool Add(std::string_view text);
  // False, and nothing changes, unless the text names hosts that are all in the list.
  bool Remove(std::string_view text);
  // Puts the hosts in place of all; a text without one empties the list. False, and nothing changes, for a
  // text with a piece that is none.
  bool Reset(std::string_view text);
  // Separated by semicolons.
  std::string Text() const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> hosts_;
};

}  // namespace kiln::engine
