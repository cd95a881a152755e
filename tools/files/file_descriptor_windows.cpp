// SPDX-License-Identifier: ISC
#include <algorithm>
#include <cstdio>
#include <io.h>
#include <windows.h>

#include "tools/files/file_descriptor.h"

namespace quellard {
namespace {

// What is read or written at once: counts have 32 bits here.
unsigned piece(std::int64_t count) {
  constexpr std::int64_t kMost = 1 << 30;
  return static_cast<unsigned>(std::min(count, kMost));
}

}  // namespace

FileDescriptor::~FileDescriptor() {
  if (number_ >= 0) _close(number_);
}

std::int64_t readSome(const FileDescriptor& file, void* bytes, std::int64_t count) {
  return _read(file.number(), bytes, piece(count));
}

std::int64_t readSomeAt(const FileDescriptor& file, void* bytes, std::int64_t count,
                        std::int64_t offset) {
  return seekTo(file, offset, SEEK_SET) < 0 ? -1 : readSome(file, bytes, count);
}

std::int64_t writeSome(const FileDescriptor& file, const void* bytes, std::int64_t count) {
  return _write(file.number(), bytes, piece(count));
}

std::int64_t seekTo(const FileDescriptor& file, std::int64_t offset, int whence) {
  return _lseeki64(file.number(), offset, whence);
}

std::int64_t sizeOf(const FileDescriptor& file) { return _filelengthi64(file.number()); }

std::int64_t positionInFile(const FileDescriptor& file) {
  auto* const handle = reinterpret_cast<HANDLE>(_get_osfhandle(file.number()));
  return GetFileType(handle) == FILE_TYPE_DISK ? seekTo(file, 0, SEEK_CUR) : -1;
}

}  // namespace quellard
