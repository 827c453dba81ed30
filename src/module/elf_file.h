// Looks into an ELF shared library before it is mapped.
#pragma once

#include <string>
#include <vector>

namespace KilnNodeWrapper {

struct ElfFile {
  std::string error;                // why it can't be loaded; empty when it can
  std::vector<std::string> needed;  // the libraries that it names
};

// Reads the headers and checks that every segment lies inside the file: the system's loader maps a truncated
// file without complaint and raises SIGBUS when it touches the missing part.
ElfFile InspectElfFile(const std::string& path);

}  // namespace KilnNodeWrapper
