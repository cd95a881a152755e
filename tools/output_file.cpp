// SPDX-License-Identifier: ISC
#include "tools/output_file.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "tools/errors.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// A dot hides the file from folder listings, the number keeps parallel renders apart.
fs::path temporaryNameIn(const fs::path& folder) {
  static std::atomic<int> counter{0};
  return folder / fmt::format(".quellard-{}-{}.part", getpid(), counter++);
}

fs::path withLinksFollowed(const fs::path& path) {
  std::error_code error;
  fs::path target = fs::weakly_canonical(path, error);
  return error ? path : target;
}

void syncFolder(const fs::path& folder) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  fsync(descriptor);  // not every file system can; the file itself is safe already
  close(descriptor);
}

}  // namespace

OutputFile::OutputFile(const fs::path& path) : shown_(path), target_(withLinksFollowed(path)) {
  struct stat existing = {};
  const bool exists = stat(target_.c_str(), &existing) == 0;
  if (exists && S_ISDIR(existing.st_mode)) fail(EISDIR);
  if (exists && !S_ISREG(existing.st_mode)) {
    throw FileError(fmt::format("cannot write {}: not an ordinary file", shown_.string()));
  }
  if (exists && access(target_.c_str(), W_OK) != 0) fail(errno);

  const fs::path folder = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
  temporary_ = temporaryNameIn(folder);
  descriptor_ = open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor_ < 0) fail(errno);
  // A replaced file keeps its permissions. Where the file system has none, there are none to keep.
  if (exists && fchmod(descriptor_, existing.st_mode & 07777) != 0) errno = 0;
}

OutputFile::~OutputFile() {
  if (descriptor_ < 0) return;
  close(descriptor_);
  unlink(temporary_.c_str());
}

std::int64_t OutputFile::write(const void* bytes, std::int64_t count) {
  const char* from = static_cast<const char*>(bytes);
  std::int64_t done = 0;
  while (done < count) {
    const ssize_t written =
        ::write(descriptor_, from + done, static_cast<std::size_t>(count - done));
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
    got = ::read(descriptor_, bytes, static_cast<std::size_t>(count));
  } while (got < 0 && errno == EINTR);
  return got < 0 ? 0 : got;
}

std::int64_t OutputFile::seek(std::int64_t offset, int whence) {
  return lseek(descriptor_, offset, whence);
}

std::int64_t OutputFile::size() const {
  struct stat now = {};
  return fstat(descriptor_, &now) == 0 ? now.st_size : -1;
}

void OutputFile::fail(int error) const {
  throw FileError(fmt::format("cannot write {}: {}", shown_.string(), systemMessage(error)));
}

void OutputFile::throwIfFailed() const {
  if (firstError_ != 0) fail(firstError_);
}

void OutputFile::commit() {
  throwIfFailed();
  if (fsync(descriptor_) != 0) fail(errno);
  const int descriptor = std::exchange(descriptor_, -1);
  if (close(descriptor) != 0 || std::rename(temporary_.c_str(), target_.c_str()) != 0) {
    const int error = errno;
    unlink(temporary_.c_str());
    fail(error);
  }
  syncFolder(target_.parent_path());
}

}  // namespace quellard
