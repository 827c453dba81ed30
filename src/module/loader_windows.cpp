// The loader on Windows: the directory of the library reaches the system's loader only as the process's DLL
// directory, so that the libraries beside it are found there too, and the library itself is opened under its
// bare name.
#include <windows.h>

#include <vector>

#include "module/loader.h"

namespace KilnNodeWrapper::loader {

const std::string_view kDefaultName = "KilnSDKLibrary.dll";

namespace {

constexpr DWORD kMaxModulePath = 4100;
constexpr DWORD kNeutralLanguage = 1024;

std::wstring Widen(std::string_view text) {
  const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(length, L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), length);
  return wide;
}

std::string Narrow(std::wstring_view text) {
  const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0,
                                         nullptr, nullptr);
  std::string narrow(length, '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(), length, nullptr,
                      nullptr);
  return narrow;
}

// Makes a directory the process's DLL directory, and puts the old one, or none, back at the end of the scope.
class DllDirectory {
 public:
  explicit DllDirectory(const std::wstring& directory) {
    if (const DWORD size = GetDllDirectoryW(0, nullptr); size > 1) {
      old_.resize(size);
      old_.resize(GetDllDirectoryW(size, old_.data()));
    }
    set_ = SetDllDirectoryW(directory.c_str()) != 0;
  }
  ~DllDirectory() {
    if (!set_) return;
    const DWORD error = GetLastError();
    SetDllDirectoryW(old_.empty() ? nullptr : old_.c_str());
    SetLastError(error);  // the failure that is told is the load's
  }
  DllDirectory(const DllDirectory&) = delete;
  DllDirectory& operator=(const DllDirectory&) = delete;

 private:
  std::wstring old_;
  bool set_ = false;
};

HMODULE Load() {
  return LoadLibraryA(kDefaultName.data());
}

std::string SystemMessage(DWORD code) {
  wchar_t* text = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
      code, kNeutralLanguage, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  std::wstring_view message(text, length);
  while (!message.empty() && (message.back() == L'\r' || message.back() == L'\n')) message.remove_suffix(1);
  std::string result = Narrow(message);
  LocalFree(text);
  return result;
}

}  // namespace

std::string LibraryPath(std::string_view directory, bool add_bin) {
  return std::string(directory) + (add_bin ? "\\bin\\" : "\\") + std::string(kDefaultName);
}

void* Open(const std::string& path) {
  if (path.empty()) return Load();
  const DllDirectory directory(
      Widen(std::string_view(path).substr(0, path.size() - kDefaultName.size() - 1)));
  return Load();
}

void Close(void* library) {
  FreeLibrary(static_cast<HMODULE>(library));
}

void* Symbol(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

std::string ModulePath(void* library) {
  std::vector<wchar_t> path(kMaxModulePath);
  const DWORD length = GetModuleFileNameW(static_cast<HMODULE>(library), path.data(), kMaxModulePath);
  return length >= 1 && length < kMaxModulePath ? Narrow({path.data(), length}) : std::string();
}

std::string LastFailure() {
  const DWORD code = GetLastError();
  const std::string message = SystemMessage(code);
  return message.empty() ? message : message + " (" + std::to_string(static_cast<int32_t>(code)) + ")";
}

bool ReadVariable(const char* name, std::string* value) {
  const std::wstring wide_name = Widen(name);
  const DWORD size = GetEnvironmentVariableW(wide_name.c_str(), nullptr, 0);
  if (size == 0) return false;
  std::wstring wide(size, L'\0');
  wide.resize(GetEnvironmentVariableW(wide_name.c_str(), wide.data(), size));
  *value = Narrow(wide);
  return wide.empty() || !value->empty();
}

}  // namespace KilnNodeWrapper::loader
