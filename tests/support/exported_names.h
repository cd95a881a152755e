// SPDX-License-Identifier: ISC
// The names of all that a module exports, as its file lists them.
#pragma once

#include <cstdio>
#include <set>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace quellard::test {

#if defined(_WIN32)

// The table that GetProcAddress() looks into, in the loaded module.
inline std::set<std::string> exportedNames(const char* file) {
  const auto* const base = reinterpret_cast<const unsigned char*>(LoadLibraryA(file));
  std::set<std::string> names;
  if (base == nullptr) return names;
  const auto& dos = *reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto& headers = *reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos.e_lfanew);
  const DWORD place =
      headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
  const auto& table = *reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place);
  const auto* const offsets = reinterpret_cast<const DWORD*>(base + table.AddressOfNames);
  for (DWORD i = 0; i < table.NumberOfNames; ++i) {
    names.insert(reinterpret_cast<const char*>(base + offsets[i]));
  }
  return names;
}

#else

inline std::set<std::string> exportedNames(const char* file) {
  std::set<std::string> names;
  FILE* const list = popen(("nm -D --defined-only '" + std::string(file) + "'").c_str(), "r");
  if (list == nullptr) return names;
  char address[64], kind, name[512];
  while (std::fscanf(list, "%63s %c %511s", address, &kind, name) == 3) names.insert(name);
  return pclose(list) == 0 ? names : std::set<std::string>();
}

#endif

}  // namespace quellard::test
