// The platform's loader of shared libraries. An implementation file per platform, and one of what
// those with dlopen share.
#pragma once

#include <string>
#include <string_view>

namespace KilnNodeWrapper::loader {

// The file name of the library on this platform.
extern const std::string_view kDefaultName;

// The library's full path below a directory, whose trailing separators are gone; the separators are the
// platform's.
std::string LibraryPath(std::string_view directory, bool add_bin);
// Whether a directory text ends in something to strip: the separators of every platform count.
inline bool IsSeparator(char c) {
  return c == '/' || c == '\\';
}

// Opens the library of that full path, or for an empty path the default name by the system's own search.
// Libraries that it depends on are found in its directory too. Null on failure; what is no library, or only a
// part of one, is a failure and never a signal.
void* Open(const std::string& path);
void Close(void* library);
void* Symbol(void* library, const char* name);
// The full path of an open library, UTF-8; empty when the system does not tell.
std::string ModulePath(void* library);
// What the system says of the last failure of Open or Symbol on this thread, as it stands between the square
// brackets of the error text, with its code where the system has one; empty when there is nothing to say.
std::string LastFailure();
// An environment variable as UTF-8; false when it is not set.
bool ReadVariable(const char* name, std::string* value);

}  // namespace KilnNodeWrapper::loader
