// SPDX-License-Identifier: ISC
#include "tools/files/input_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fmt/format.h>

#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/files/streams.h"
#include "tools/files/unnamed_file.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// More than any file has, and small enough for a reader to add offsets without overflow.
constexpr std::int64_t kEndless = std::int64_t{1} << 60;
// Longer than any header; more of a stream is not kept in memory.
constexpr std::size_t kLongestStart = std::size_t{1} << 20;

void keep(const FileDescriptor& spool, const char* bytes, std::int64_t count,
          const std::string& name) {
  if (writeAll(spool, bytes, count) == count) return;
  throw FileError(
      fmt::format("cannot keep {} in a temporary file: {}", name, systemMessage(errno)));
}

}  // namespace

InputFile::InputFile(const fs::path& path)
    : name_(isStandardInput(path) ? "standard input" : path.string()), file_(openInput(path)) {
  if (!file_) throw FileError(complaint(errno));
  origin_ = positionInFile(file_);
  isStream_ = origin_ < 0;
}

std::string InputFile::complaint(int error) const {
  return fmt::format("cannot read {}: {}", name_, systemMessage(error));
}

void InputFile::spool() {
  FileDescriptor kept = openSpool();
  keep(kept, start_.data(), std::ssize(start_), name_);
  forgetStart();
  std::array<char, 65536> piece = {};
  while (const std::int64_t got = readStream(piece.data(), piece.size())) {
    keep(kept, piece.data(), got, name_);
  }
  throwIfFailed();
  file_ = std::move(kept);
  start_.clear();
  isStream_ = false;
  origin_ = position_ = 0;
}

std::string InputFile::start(std::size_t count) {
  std::string bytes(count, '\0');
  seek(0, SEEK_SET);
  bytes.resize(asSize(read(bytes.data(), std::ssize(bytes))));
  throwIfFailed();
  return bytes;
}

std::string InputFile::end(std::size_t count) {
  pretendEndless(false);
  std::string bytes(count, '\0');
  seek(std::max<std::int64_t>(size() - std::ssize(bytes), 0), SEEK_SET);
  bytes.resize(asSize(read(bytes.data(), std::ssize(bytes))));
  return bytes;
}

std::int64_t InputFile::size() const {
  if (isStream_ || pretendsEndless_) return kEndless;
  return std::max<std::int64_t>(sizeOf(file_) - origin_, 0);
}

std::int64_t InputFile::seek(std::int64_t offset, int whence) {
  const std::int64_t from =
      whence == SEEK_CUR ? position_ : (whence == SEEK_END ? size() : std::int64_t{0});
  if (from + offset < 0) return -1;
  return position_ = from + offset;
}

std::int64_t InputFile::read(void* bytes, std::int64_t count) {
  auto* to = static_cast<char*>(bytes);
  std::int64_t done = 0;
  while (done < count && !failure_) {
    const std::int64_t got = readOnce(to + done, count - done);
    if (got <= 0) break;
    done += got;
    position_ += got;
  }
  return done;
}

std::int64_t InputFile::readOnce(char* bytes, std::int64_t count) {
  const auto kept = std::ssize(start_);
  if (isStream_ && position_ < kept) {
    const std::int64_t length = std::min(count, kept - position_);
    std::copy_n(start_.begin() + position_, length, bytes);
    return length;
  }
  if (isStream_) return position_ == consumed_ ? readStream(bytes, count) : 0;
  std::int64_t got = 0;
  do {
    got = readSomeAt(file_, bytes, count, origin_ + position_);
  } while (got < 0 && wasInterrupted());
  if (got < 0) failure_ = std::make_exception_ptr(FileError(complaint(errno)));
  return got;
}

std::int64_t InputFile::readStream(char* bytes, std::int64_t count) try {
  if (keepsStart_ && start_.size() >= kLongestStart) return 0;
  std::int64_t got = 0;
  do {
    waitToRead(file_);
    got = readSome(file_, bytes, count);
  } while (got < 0 && (wasInterrupted() || errno == EAGAIN));
  if (got < 0) throw FileError(complaint(errno));
  if (keepsStart_) start_.insert(start_.end(), bytes, bytes + got);
  consumed_ += got;
  return got;
} catch (...) {
  failure_ = std::current_exception();
  return 0;
}

void InputFile::throwIfFailed() const {
  if (failure_) std::rethrow_exception(failure_);
}

}  // namespace quellard
