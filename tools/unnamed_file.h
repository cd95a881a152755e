// SPDX-License-Identifier: ISC
// Open files of the system, and those that have no name: they are gone when they are closed, and
// so when the process is killed.
#pragma once

#include <cstdint>
#include <filesystem>
#include <utility>

namespace quellard {

// Owns an open file. -1: none.
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

// A new file without a name in a folder, to read and to write, with the permissions that the umask
// leaves; nothing where the file system has no such files.
FileDescriptor openUnnamedIn(const std::filesystem::path& folder);

// A name that nothing else has, whichever machine or container writes into the same folder: 128
// random bits. A dot hides it from listings.
std::filesystem::path temporaryNameIn(const std::filesystem::path& folder);

// A new file without a name for what is only kept for a while, in TMPDIR or else where the system
// keeps large temporary files. Throws FileError.
FileDescriptor openSpool();

// Waits until a pipe, device or the like can be read (POLLIN) or written (POLLOUT). Throws
// Interrupted when a signal arrives meanwhile, whichever thread it finds.
void waitFor(int descriptor, short events);

}  // namespace quellard
