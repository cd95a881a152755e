// SPDX-License-Identifier: ISC
#include "tools/files/output_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fmt/format.h>
#include <system_error>
#include <thread>

#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/files/streams.h"
#include "tools/files/unnamed_file.h"

namespace quellard {
namespace fs = std::filesystem;

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
    throw FileError(
        fmt::format("cannot make the folder {}: {}", folder.string(), systemMessage(error)));
  }
}

OutputFile::OutputFile(const fs::path& path)
    : shown_(isStandardOutput(path) ? "standard output" : path) {
  if (isStream(path)) {
    stream_ = path;
    if (const int error = writeAccessError(path)) failWriting(shown_, error);
    spool_ = openSpool();
  } else {
    pending_.emplace(withLinksFollowed(path), shown_);
  }
}

std::int64_t OutputFile::write(const void* bytes, std::int64_t count) {
  const std::int64_t done = writeAll(file(), static_cast<const char*>(bytes), count);
  if (done < count && firstError_ == 0) firstError_ = errno;
  return done;
}

std::int64_t OutputFile::read(void* bytes, std::int64_t count) {
  std::int64_t got = 0;
  do {
    got = readSome(file(), bytes, count);
  } while (got < 0 && wasInterrupted());
  return std::max<std::int64_t>(got, 0);
}

std::int64_t OutputFile::seek(std::int64_t offset, int whence) {
  return seekTo(file(), offset, whence);
}

std::int64_t OutputFile::size() const { return sizeOf(file()); }

void OutputFile::throwIfFailed() const {
  if (firstError_ != 0) failWriting(shown_, firstError_);
}

void OutputFile::commit() {
  throwIfFailed();
  if (pending_) return pending_->replaceTarget();
  copyTo(openWhenRead());
}

// A blocking open would not be interrupted by a signal that another thread receives.
FileDescriptor OutputFile::openWhenRead() const {
  FileDescriptor opened = openStream(stream_);
  while (!opened && errno == ENXIO) {
    throwIfInterrupted();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    opened = openStream(stream_);
  }
  if (!opened) failWriting(shown_, errno);
  return opened;
}

void OutputFile::copyTo(const FileDescriptor& stream) {
  std::array<char, 4096> piece = {};  // what a pipe of Linux that is ready takes without blocking
  seek(0, SEEK_SET);
  while (const std::int64_t count = read(piece.data(), std::ssize(piece))) {
    for (std::int64_t done = 0; done < count;) {
      waitToWrite(stream);
      const std::int64_t written = writeSome(stream, piece.data() + done, count - done);
      if (written < 0 && !wasInterrupted() && errno != EAGAIN) failWriting(shown_, errno);
      if (written > 0) done += written;
    }
  }
}

}  // namespace quellard
