// The library's loader on Windows, run against libraries made for the purpose. The working directory holds
// the folders `complete`, `incomplete`, `empty` and one with a name outside ASCII; each case closes with a
// line of its own.
#include <windows.h>

#include <cstdio>
#include <string>

#include "module/process.h"
#include "module/sdk_library.h"

namespace {

int passed = 0;
int failed = 0;

void Check(bool ok, const char* what) {
  (ok ? passed : failed)++;
  if (!ok) std::printf("FAILED: %s\n  %s\n", what, KilnNodeWrapper::SdkErrorText().c_str());
}

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}
bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

int LoadFrom(const char* directory) {
  KilnNodeWrapper::SdkUnload(true);
  KilnNodeWrapper::SdkSetDirectory(directory, false);
  return KilnNodeWrapper::SdkLoad();
}

void FindsALibraryInADirectory() {
  Check(LoadFrom("complete") == 0, "a bare name is found through the DLL directory");
  Check(KilnNodeWrapper::SdkState() == KilnNodeWrapper::SdkBound, "a complete library is bound");
  Check(KilnNodeWrapper::SdkErrorText().rfind("SDK library loaded correctly (", 0) == 0,
        "the text of a success");
  Check(EndsWith(KilnNodeWrapper::SdkErrorText(), "\\complete\\KilnSDKLibrary.dll)"),
        "the text names the module's path");
  wchar_t directory[8] = L"";
  Check(GetDllDirectoryW(8, directory) == 0, "the DLL directory is put back to none");
  SetDllDirectoryW(L"C:\\kept");
  LoadFrom("complete");
  Check(GetDllDirectoryW(8, directory) == 7 && std::wstring(directory) == L"C:\\kept",
        "an old DLL directory is kept");
  SetDllDirectoryW(nullptr);
}

void StripsTrailingSeparators() {
  Check(LoadFrom("complete\\//\\") == 0, "trailing separators of every kind are stripped");
  Check(KilnNodeWrapper::SdkPath() == "complete\\KilnSDKLibrary.dll", "and one is put back");
  KilnNodeWrapper::SdkSetDirectory("//\\", false);
  Check(KilnNodeWrapper::SdkPath().empty(), "nothing but separators is the default");
}

void ReportsAMissingName() {
  Check(LoadFrom("incomplete") == 1, "the missing names are counted");
  Check(KilnNodeWrapper::SdkMissingNames().size() == 1 &&
            std::string(KilnNodeWrapper::SdkMissingNames()[0]) == "Kiln_KilnRenderer_getState",
        "and listed");
  Check(KilnNodeWrapper::sdk.Kiln_KilnRenderer_getState(nullptr) == 0, "a missing entry point answers 0");
  const std::string& text = KilnNodeWrapper::SdkErrorText();
  Check(text.rfind("Incorrect SDK library loaded! Number of missing functions: 1. [", 0) == 0,
        "the text tells how many");
  Check(Contains(text, " (127)] (") && EndsWith(text, "\\incomplete\\KilnSDKLibrary.dll)"), "why, and where");
}

void ReportsAMissingLibrary() {
  Check(LoadFrom("empty") == -1, "a missing library is an error");
  Check(KilnNodeWrapper::SdkErrorText().rfind("Error loading SDK Library. [", 0) == 0, "with its text");
  Check(Contains(KilnNodeWrapper::SdkErrorText(), " (126)] (empty\\KilnSDKLibrary.dll)"),
        "its code and its path");
  Check(LoadFrom(nullptr) == -1, "a bare name goes to the system's own search");
  Check(EndsWith(KilnNodeWrapper::SdkErrorText(), "] (KilnSDKLibrary.dll)"), "and is told as it is");
}

void ReadsNamesOutsideAscii() {
  Check(LoadFrom("Gr\xC3\xB6\xC3\x9F"
                 "e \xE6\x97\xA5\xE6\x9C\xAC") == 0,
        "a directory's name may be any text");
  SetEnvironmentVariableW(L"KILN_ENGKIT_BIN", L"Gr\u00F6\u00DFe \u65E5\u672C\\");
  Check(KilnNodeWrapper::SdkSetDirectoryFromEnvironment("KILN_ENGKIT_BIN", false), "and so may a variable");
  Check(KilnNodeWrapper::SdkLoad() == 0, "which is found");
  SetEnvironmentVariableW(L"KILN_SDK", L"complete");
  Check(KilnNodeWrapper::SdkSetDirectoryFromEnvironment("KILN_SDK", true), "the SDK's root is read");
  Check(KilnNodeWrapper::SdkPath() == "complete\\bin\\KilnSDKLibrary.dll", "and its bin directory taken");
  Check(!KilnNodeWrapper::SdkSetDirectoryFromEnvironment("KILN_NO_SUCH_VARIABLE", false),
        "a variable that is not set is skipped");
}

void UnloadsAndForces() {
  LoadFrom("complete");
  KilnNodeWrapper::SdkUnload(true);
  Check(!KilnNodeWrapper::SdkIsLoaded() && KilnNodeWrapper::SdkErrorText().empty() &&
            KilnNodeWrapper::SdkPath().empty(),
        "an unload forgets everything");
  LoadFrom("incomplete");
  KilnNodeWrapper::SdkForce();
  Check(KilnNodeWrapper::SdkState() == KilnNodeWrapper::SdkForced && KilnNodeWrapper::SdkEnsureBound() == 0,
        "a partial library may be forced");
}

void SetsThePriority() {
  Check(KilnNodeWrapper::process::SetPriority(0, KilnNodeWrapper::process::Priority::kBelowNormal),
        "of the current process");
  Check(GetPriorityClass(GetCurrentProcess()) == BELOW_NORMAL_PRIORITY_CLASS, "to the class of its name");
  Check(!KilnNodeWrapper::process::SetPriority(0x7FFFFFF0, KilnNodeWrapper::process::Priority::kNormal),
        "and of no other");
  Check(!KilnNodeWrapper::process::SetNumaNode(0, 200), "a node that is not there is refused");
}

}  // namespace

int main() {
  FindsALibraryInADirectory();
  StripsTrailingSeparators();
  ReportsAMissingName();
  ReportsAMissingLibrary();
  ReadsNamesOutsideAscii();
  UnloadsAndForces();
  SetsThePriority();
  std::printf("%d passed, %d failed\n", passed, failed);
  return failed == 0 && passed > 20 ? 0 : 1;
}
