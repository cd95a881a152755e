// SPDX-License-Identifier: ISC
#include "tools/files/locked_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/common/errors.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// Of a file that another process has removed since it was opened, as it had finished.
bool isGone(const FileDescriptor& file) {
  struct stat status = {};
  return fstat(file.number(), &status) == 0 && status.st_nlink == 0;
}

}  // namespace

FileDescriptor openLocked(const fs::path& file) {
  for (;;) {
    FileDescriptor opened(open(file.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666));
    if (!opened) failWriting(file, errno);
    // File systems that have no locks go without.
    if (flock(opened.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return {};
    if (!isGone(opened)) return opened;
  }
}

void removeLocked(const fs::path& file) { unlink(file.c_str()); }

}  // namespace quellard
