// SPDX-License-Identifier: ISC
#include "tools/files/streams.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/common/interrupt.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

void waitFor(int descriptor, short events) {
  constexpr int kPatience_ms = 100;  // a signal that another thread receives does not end poll()
  pollfd polled = {descriptor, events, 0};
  do {
    throwIfInterrupted();
  } while (poll(&polled, 1, kPatience_ms) <= 0);
}

}  // namespace

bool isStandardInput(const fs::path& path) {
  return path == "-" || path == "/dev/stdin" || path == "/dev/fd/0" || path == "/proc/self/fd/0";
}

bool isStandardOutput(const fs::path& path) {
  return path == "-" || path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
}

bool isStream(const fs::path& path) {
  struct stat status = {};
  if (isStandardOutput(path)) return true;
  if (stat(path.c_str(), &status) != 0) return false;
  return S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode);
}

FileDescriptor openInput(const fs::path& path) {
  FileDescriptor file(isStandardInput(path)
                          ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                          : open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status = {};
  if (!file || fstat(file.number(), &status) != 0) return {};
  if (!S_ISDIR(status.st_mode)) return file;
  errno = EISDIR;
  return {};
}

FileDescriptor openStream(const fs::path& path) {
  return FileDescriptor(isStandardOutput(path)
                            ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
                            : open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
}

int writeAccessError(const fs::path& stream) {
  if (!isStandardOutput(stream)) return access(stream.c_str(), W_OK) != 0 ? errno : 0;
  const int flags = fcntl(STDOUT_FILENO, F_GETFL);
  return flags < 0 || (flags & O_ACCMODE) == O_RDONLY ? EBADF : 0;
}

void waitToRead(const FileDescriptor& file) { waitFor(file.number(), POLLIN); }
void waitToWrite(const FileDescriptor& file) { waitFor(file.number(), POLLOUT); }

}  // namespace quellard
