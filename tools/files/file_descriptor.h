// SPDX-License-Identifier: ISC
// File descriptors, and the operations on them that each system names and bounds in its own way.
#pragma once

#include <cerrno>
#include <cstdint>
#include <utility>

namespace quellard {

// Owns a file descriptor; -1 is none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~FileDescriptor();

  int number() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }

 private:
  int number_ = -1;
};

// Like the POSIX functions: the bytes read or written, which may be fewer than asked for, or -1
// with the reason in errno. readSomeAt() leaves the descriptor at a position that is not defined.
std::int64_t readSome(const FileDescriptor& file, void* bytes, std::int64_t count);
std::int64_t readSomeAt(const FileDescriptor& file, void* bytes, std::int64_t count,
                        std::int64_t offset);
std::int64_t writeSome(const FileDescriptor& file, const void* bytes, std::int64_t count);
std::int64_t seekTo(const FileDescriptor& file, std::int64_t offset, int whence);

// In bytes; -1 where it has none.
std::int64_t sizeOf(const FileDescriptor& file);

// Where an ordinary file stands; -1 for pipes and devices.
std::int64_t positionInFile(const FileDescriptor& file);

// Whether a signal has interrupted the operation that has just failed.
inline bool wasInterrupted() { return errno == EINTR; }

// Writes everything. The bytes written are fewer only when the file takes no more, for the reason
// in errno.
inline std::int64_t writeAll(const FileDescriptor& file, const char* bytes, std::int64_t count) {
  std::int64_t done = 0;
  while (done < count) {
    const std::int64_t written = writeSome(file, bytes + done, count - done);
    if (written < 0 && wasInterrupted()) continue;
    if (written == 0) errno = ENOSPC;
    if (written <= 0) break;
    done += written;
  }
  return done;
}

}  // namespace quellard
