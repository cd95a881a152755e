// SPDX-License-Identifier: ISC
#include <windows.h>

#include "tools/common/errors.h"
#include "tools/files/windows_errors.h"
#include "tools/host/loaded_library.h"

namespace quellard {
namespace fs = std::filesystem;

fs::path libraryName(const char* stem) { return std::string(stem) + ".dll"; }

fs::path programFile() {
  std::wstring name(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
    if (length == 0) return {};
    if (length < name.size()) return name.substr(0, length);
    name.resize(2 * name.size());
  }
}

// By its whole path, so that what the library itself needs is looked for beside it.
void* openLibrary(const fs::path& file, std::string& why) {
  fs::path path = fs::absolute(file);
  path.make_preferred();
  const HMODULE library = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (library != nullptr) return library;
  const bool foreign = GetLastError() == ERROR_BAD_EXE_FORMAT;
  why = foreign ? "not a library for this machine" : systemMessage(lastError());
  return nullptr;
}

void closeLibrary(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

void* symbolIn(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

}  // namespace quellard
