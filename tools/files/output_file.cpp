// SPDX-License-Identifier: ISC
#include "tools/files/output_file.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

void syncFolder(const fs::path& folder) {
  const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened) fsync(opened.number());  // errors ignored: not every file system supports it
}

// The path by which the system can open an unnamed file.
std::string throughProcess(int descriptor) { return fmt::format("/proc/self/fd/{}", descriptor); }

bool linkTo(int descriptor, const fs::path& name) {
  const std::string from = throughProcess(descriptor);
  return linkat(AT_FDCWD, from.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

}  // namespace

bool isStandardOutput(const fs::path& path) {
  return path == "-" || path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
}

bool isStream(const fs::path& path) {
  struct stat status = {};
  if (isStandardOutput(path)) return true;
  if (stat(path.c_str(), &status) != 0) return false;
  return S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode);
}

fs::path withLinksFollowed(fs::path path) {
  constexpr int kMostLinks = 40;  // as many as the system itself follows
  std::error_code error;
  for (int i = 0; i < kMostLinks && fs::is_symlink(path, error); ++i) {
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  const fs::path target = fs::weakly_canonical(path, error);
  return error ? path : target;
}

void makeFolder(const fs::path& folder) {
  std::error_code error;
  std::error_code unreached;
  fs::create_directories(withLinksFollowed(folder), error);
  if (error && !fs::is_directory(folder, unreached)) {
    throw FileError(fmt::format("cannot make the folder {}: {}", folder.string(),
                                systemMessage(error.value())));
  }
}

OutputFile::OutputFile(const fs::path& path)
    : shown_(isStandardOutput(path) ? "standard output" : path),
      target_(isStream(path) ? path : withLinksFollowed(path)),
      folder_(target_.has_parent_path() ? target_.parent_path() : fs::path(".")),
      toStream_(isStream(path)) {
  if (toStream_) {
    refuseUnwritableStream();
    file_ = openSpool();
  } else {
    openBeside();
  }
}

void OutputFile::refuseUnwritableStream() const {
  if (isStandardOutput(target_)) {
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY) fail(EBADF);
  } else if (access(target_.c_str(), W_OK) != 0) {
    fail(errno);
  }
}

void OutputFile::openBeside() {
  struct stat existing = {};
  const bool exists = stat(target_.c_str(), &existing) == 0;
  if (!exists && errno == ELOOP) fail(ELOOP);
  if (exists && S_ISDIR(existing.st_mode)) fail(EISDIR);
  if (exists && !S_ISREG(existing.st_mode)) {
    throw FileError(fmt::format("cannot write {}: not an ordinary file", shown_.string()));
  }
  if (exists && access(target_.c_str(), W_OK) != 0) fail(errno);

  file_ = openUnnamedIn(folder_);
  // Without /proc an unnamed file could not be given a name later.
  const bool canBeNamed = file_ && access(throughProcess(file_.number()).c_str(), F_OK) == 0;
  if (!canBeNamed) openNamed();
  if (!exists) return;
  // A replaced file keeps its permissions, if the file system has any, and its owner, if we may set
  // it; without the owner the set-user-id and set-group-id bits are dropped.
  const bool owned = fchown(file_.number(), existing.st_uid, existing.st_gid) == 0;
  const mode_t kept = existing.st_mode & (owned ? 07777U : 00777U);
  if (fchmod(file_.number(), kept) != 0) errno = 0;
}

void OutputFile::openNamed() {
  do {
    temporary_ = temporaryNameIn(folder_);
    file_ = FileDescriptor(open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  } while (!file_ && errno == EEXIST);
  if (file_) return;
  temporary_.clear();
  fail(errno);
}

OutputFile::~OutputFile() {
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

std::int64_t OutputFile::write(const void* bytes, std::int64_t count) {
  const char* from = static_cast<const char*>(bytes);
  std::int64_t done = 0;
  while (done < count) {
    const ssize_t written = ::write(file_.number(), from + done, asSize(count - done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      if (firstError_ == 0) firstError_ = written < 0 ? errno : ENOSPC;
      break;
    }
    done += written;
  }
  return done;
}

std::int64_t OutputFile::read(void* bytes, std::int64_t count) {
  ssize_t got = 0;
  do {
    got = ::read(file_.number(), bytes, asSize(count));
  } while (got < 0 && errno == EINTR);
  return got < 0 ? 0 : got;
}

std::int64_t OutputFile::seek(std::int64_t offset, int whence) {
  return lseek(file_.number(), offset, whence);
}

std::int64_t OutputFile::size() const {
  struct stat now = {};
  return fstat(file_.number(), &now) == 0 ? now.st_size : -1;
}

void OutputFile::fail(int error) const {
  throw FileError(fmt::format("cannot write {}: {}", shown_.string(), systemMessage(error)));
}

void OutputFile::throwIfFailed() const {
  if (firstError_ != 0) fail(firstError_);
}

void OutputFile::commit() {
  throwIfFailed();
  if (toStream_) {
    const FileDescriptor opened = openStream();
    return copyTo(opened ? opened.number() : STDOUT_FILENO);
  }
  if (fsync(file_.number()) != 0) fail(errno);
  if (temporary_.empty()) {
    // Linking works only where no file has the name. An existing file must be replaced by rename(),
    // for which the new one needs a name.
    if (!linkTo(file_.number(), target_)) giveTemporaryName();
  }
  if (!temporary_.empty()) {
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail(errno);
    temporary_.clear();
  }
  file_ = FileDescriptor();
  syncFolder(folder_);
}

void OutputFile::giveTemporaryName() {
  do {
    temporary_ = temporaryNameIn(folder_);
    if (linkTo(file_.number(), temporary_)) return;
  } while (errno == EEXIST);
  const int error = errno;
  temporary_.clear();
  fail(error);
}

// Waits until a pipe has a reader. A blocking open() would not be interrupted by a signal that
// another thread receives.
FileDescriptor OutputFile::openStream() const {
  if (isStandardOutput(target_)) return {};
  FileDescriptor opened(open(target_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
  while (!opened && errno == ENXIO) {
    throwIfInterrupted();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    opened = FileDescriptor(open(target_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
  }
  if (!opened) fail(errno);
  return opened;
}

void OutputFile::copyTo(int descriptor) {
  std::array<char, 4096> piece = {};  // a pipe that is ready takes as much without blocking
  seek(0, SEEK_SET);
  while (const std::int64_t count = read(piece.data(), piece.size())) {
    for (std::int64_t done = 0; done < count;) {
      waitFor(descriptor, POLLOUT);
      const ssize_t written = ::write(descriptor, piece.data() + done, asSize(count - done));
      if (written < 0 && errno != EINTR && errno != EAGAIN) fail(errno);
      if (written > 0) done += written;
    }
  }
}

}  // namespace quellard
