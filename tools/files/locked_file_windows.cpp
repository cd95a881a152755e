// SPDX-License-Identifier: ISC
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "tools/common/errors.h"
#include "tools/files/locked_file.h"
#include "tools/files/windows_errors.h"

namespace quellard {
namespace fs = std::filesystem;

// The system itself keeps others from opening it for writing.
FileDescriptor openLocked(const fs::path& file) {
  const HANDLE handle = CreateFileW(file.c_str(), FILE_APPEND_DATA | FILE_READ_DATA | SYNCHRONIZE,
                                    FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle != INVALID_HANDLE_VALUE) {
    const auto number = reinterpret_cast<std::intptr_t>(handle);
    return FileDescriptor(_open_osfhandle(number, _O_BINARY | _O_APPEND));
  }
  if (GetLastError() != ERROR_SHARING_VIOLATION) failWriting(file, lastError());
  return {};
}

void removeLocked(const fs::path& file) { DeleteFileW(file.c_str()); }

}  // namespace quellard
