// SPDX-License-Identifier: ISC
// File descriptors and unnamed files. These disappear when they are closed, also when the process
// is killed.
#pragma once

#include <cstdint>
#include <filesystem>
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

// Creates an unnamed file in a folder, for reading and writing, with the permissions of the umask;
// none where the file system does not support that.
FileDescriptor openUnnamedIn(const std::filesystem::path& folder);

// A hidden name with 128 random bits, which is unique even if several machines or containers write
// into the same folder.
std::filesystem::path temporaryNameIn(const std::filesystem::path& folder);

// Removes files with such names from a folder: what killed processes left where the file system has
// no unnamed files. Not while another process may be writing there.
void removeTemporaryFilesIn(const std::filesystem::path& folder);

// Creates an unnamed file for temporary data, in $TMPDIR, /var/tmp or /tmp. Throws FileError.
FileDescriptor openSpool();

// Waits until a pipe or device can be read (POLLIN) or written (POLLOUT). Throws Interrupted when a
// signal arrives, also if another thread receives it.
void waitFor(int descriptor, short events);

}  // namespace quellard
