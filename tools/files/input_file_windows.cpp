// SPDX-License-Identifier: ISC
// InputFile for Windows.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <io.h>
#include <windows.h>

#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/files/input_file.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// More than any file has, and small enough for a reader to add offsets without overflow.
constexpr std::int64_t kEndless = std::int64_t{1} << 60;
// Longer than any header; more of a stream is not kept in memory.
constexpr std::size_t kLongestStart = std::size_t{1} << 20;
constexpr std::int64_t kMostAtOnce = 1 << 30;

int openInput(const fs::path& path) {
  if (!isStandardInput(path)) return _wopen(path.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
  const int copy = _dup(_fileno(stdin));
  if (copy >= 0) _setmode(copy, _O_BINARY);
  return copy;
}

bool isOnDisk(const FileDescriptor& file) {
  return GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(file.number()))) == FILE_TYPE_DISK;
}

void writeAll(int descriptor, const char* bytes, std::int64_t count, const std::string& name) {
  while (count > 0) {
    const int written =
        _write(descriptor, bytes, static_cast<unsigned>(std::min(count, kMostAtOnce)));
    if (written <= 0) {
      throw FileError(fmt::format("cannot keep {} in a temporary file: {}", name,
                                  systemMessage(written < 0 ? errno : ENOSPC)));
    }
    bytes += written;
    count -= written;
  }
}

}  // namespace

bool isStandardInput(const fs::path& path) { return path == "-"; }

InputFile::InputFile(const fs::path& path)
    : name_(isStandardInput(path) ? "standard input" : path.string()), file_(openInput(path)) {
  if (!file_) {
    const int error = errno;
    std::error_code unreached;
    throw FileError(complaint(fs::is_directory(path, unreached) ? EISDIR : error));
  }
  origin_ = isOnDisk(file_) ? _telli64(file_.number()) : -1;
  isStream_ = origin_ < 0;
}

std::string InputFile::complaint(int error) const {
  return fmt::format("cannot read {}: {}", name_, systemMessage(error));
}

void InputFile::spool() {
  FileDescriptor kept = openSpool();
  writeAll(kept.number(), start_.data(), std::ssize(start_), name_);
  forgetStart();
  std::array<char, 65536> piece = {};
  while (const std::int64_t got = readStream(piece.data(), piece.size())) {
    writeAll(kept.number(), piece.data(), got, name_);
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
  return std::max<std::int64_t>(_filelengthi64(file_.number()) - origin_, 0);
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
  _lseeki64(file_.number(), origin_ + position_, SEEK_SET);
  const int got = _read(file_.number(), bytes, static_cast<unsigned>(std::min(count, kMostAtOnce)));
  if (got < 0) failure_ = std::make_exception_ptr(FileError(complaint(errno)));
  return got;
}

std::int64_t InputFile::readStream(char* bytes, std::int64_t count) try {
  if (keepsStart_ && start_.size() >= kLongestStart) return 0;
  throwIfInterrupted();
  const int got = _read(file_.number(), bytes, static_cast<unsigned>(std::min(count, kMostAtOnce)));
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
