// SPDX-License-Identifier: ISC
#include "tools/files/file_descriptor.h"

#include <sys/stat.h>
#include <unistd.h>

#include "params/sizes.h"

namespace quellard {

FileDescriptor::~FileDescriptor() {
  const int error = errno;  // of a call before this one, which may yet be looked at
  if (number_ >= 0) close(number_);
  errno = error;
}

std::int64_t readSome(const FileDescriptor& file, void* bytes, std::int64_t count) {
  return read(file.number(), bytes, asSize(count));
}

std::int64_t readSomeAt(const FileDescriptor& file, void* bytes, std::int64_t count,
                        std::int64_t offset) {
  return pread(file.number(), bytes, asSize(count), offset);
}

std::int64_t writeSome(const FileDescriptor& file, const void* bytes, std::int64_t count) {
  return write(file.number(), bytes, asSize(count));
}

std::int64_t seekTo(const FileDescriptor& file, std::int64_t offset, int whence) {
  return lseek(file.number(), offset, whence);
}

std::int64_t sizeOf(const FileDescriptor& file) {
  struct stat status = {};
  return fstat(file.number(), &status) == 0 ? status.st_size : -1;
}

std::int64_t positionInFile(const FileDescriptor& file) {
  struct stat status = {};
  if (fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) return -1;
  return lseek(file.number(), 0, SEEK_CUR);
}

}  // namespace quellard
