// SPDX-License-Identifier: ISC
#include <io.h>
#include <windows.h>

#include "tools/files/file_identity.h"
#include "tools/files/streams.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

std::optional<Identified> identify(HANDLE file) {
  if (GetFileType(file) == FILE_TYPE_PIPE) {
    return Identified{{0, reinterpret_cast<std::uint64_t>(file)}, true};
  }
  BY_HANDLE_FILE_INFORMATION about = {};
  if (GetFileType(file) != FILE_TYPE_DISK || GetFileInformationByHandle(file, &about) == 0)
    return {};
  const std::uint64_t number = std::uint64_t{about.nFileIndexHigh} << 32U | about.nFileIndexLow;
  return Identified{{about.dwVolumeSerialNumber, number}, false};
}

}  // namespace

std::optional<Identified> identify(const fs::path& path, int standardStream) {
  if (isStandardInput(path) || isStandardOutput(path)) {
    return identify(reinterpret_cast<HANDLE>(_get_osfhandle(standardStream)));
  }
  constexpr DWORD kAnyShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE file = CreateFileW(path.c_str(), 0, kAnyShare, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return {};
  const std::optional<Identified> identified = identify(file);
  CloseHandle(file);
  return identified;
}

fs::path comparableName(const fs::path& path) {
  std::wstring name = path.native();
  const auto length = static_cast<int>(name.size());
  const std::wstring given = name;
  LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, given.data(), length, name.data(), length,
                nullptr, nullptr, 0);
  return name;
}

}  // namespace quellard
