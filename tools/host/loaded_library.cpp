// SPDX-License-Identifier: ISC
#include "tools/host/loaded_library.h"

#include <array>
#include <cerrno>
#include <dlfcn.h>
#include <system_error>
#include <unistd.h>

#include "tools/common/errors.h"
#if defined(__APPLE__)
#include <mach-o/dyld.h>
#endif

namespace quellard {
namespace fs = std::filesystem;

#if defined(__APPLE__)
fs::path libraryName(const char* stem) {
  return fs::path(std::string(stem) + ".vst") / "Contents/MacOS" / stem;
}

fs::path programFile() {
  std::array<char, 4096> buffer = {};
  std::uint32_t size = buffer.size();
  return _NSGetExecutablePath(buffer.data(), &size) == 0 ? fs::path(buffer.data()) : fs::path();
}
#else
fs::path libraryName(const char* stem) { return std::string(stem) + ".so"; }

fs::path programFile() {
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error);
}
#endif

// dlopen() looks up a name without a slash in the system's library folders.
void* openLibrary(const fs::path& file, std::string& why) {
  const fs::path path = fs::absolute(file);
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library != nullptr) return library;
  const bool there = access(path.c_str(), R_OK) == 0;
  why = there ? "not a library for this machine" : systemMessage(errno);
  return nullptr;
}

void closeLibrary(void* library) { dlclose(library); }

void* symbolIn(void* library, const char* name) { return dlsym(library, name); }

}  // namespace quellard
