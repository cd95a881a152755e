// SPDX-License-Identifier: ISC
// A built module, loaded as a host does. It stays loaded, since a sanitizer reports leaks in it at
// the end of the process.
#pragma once

#include <stdexcept>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace quellard::test {

// A function or table of the module, null where it does not export the name. Throws where it cannot
// be loaded.
inline void* exportOf(const char* file, const char* name) {
#if defined(_WIN32)
  // What a module itself needs is looked for beside it, which takes a path in Windows' own form.
  std::string path = file;
  for (char& c : path) c = c == '/' ? '\\' : c;
  const HMODULE module = LoadLibraryExA(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (module == nullptr) {
    throw std::runtime_error(path + ": error " + std::to_string(GetLastError()));
  }
  return reinterpret_cast<void*>(GetProcAddress(module, name));
#else
  void* const module = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) throw std::runtime_error(dlerror());
  return dlsym(module, name);
#endif
}

// The same, but an export that is missing throws too.
inline void* symbolOf(const char* file, const char* name) {
  void* const symbol = exportOf(file, name);
  return symbol != nullptr ? symbol : throw std::runtime_error(std::string("no ") + name);
}

}  // namespace quellard::test
