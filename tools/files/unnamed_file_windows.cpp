// SPDX-License-Identifier: ISC
// Windows has no files without a name. Those here are marked to disappear with their handle
// instead.
#include "tools/files/unnamed_file.h"

// In this order, since the later headers use the types of windows.h.
// clang-format off
#include <windows.h>
#include <ntsecapi.h>
// clang-format on
#include <array>
#include <cstdint>
#include <fcntl.h>
#include <fmt/format.h>
#include <io.h>

#include "tools/common/errors.h"

namespace quellard {
namespace fs = std::filesystem;

FileDescriptor openUnnamedIn(const fs::path& folder) {
  const HANDLE handle = CreateFileW(temporaryNameIn(folder).c_str(),
                                    GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return {};
  return FileDescriptor(_open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY));
}

fs::path temporaryNameIn(const fs::path& folder) {
  std::array<std::uint64_t, 2> random = {};
  if (RtlGenRandom(random.data(), sizeof random) == 0) throw FileError("cannot get random numbers");
  return folder / fmt::format(".quellard-{:016x}{:016x}.part", random[0], random[1]);
}

// Those that are being written are marked, and cannot be opened: what is left is whole and was
// about to get its name.
void removeTemporaryFilesIn(const fs::path& folder) {
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    const std::string name = it->path().filename().string();
    if (name.starts_with(".quellard-") && name.ends_with(".part")) {
      DeleteFileW(it->path().c_str());
    }
  }
}

FileDescriptor openSpool() {
  std::error_code error;
  const fs::path folder = fs::temp_directory_path(error);
  FileDescriptor unnamed = error ? FileDescriptor() : openUnnamedIn(folder);
  if (!unnamed) throw FileError("cannot make a temporary file in " + folder.string());
  return unnamed;
}

}  // namespace quellard
