// SPDX-License-Identifier: ISC
// An input: a file, a pipe, a device or standard input. A stream is read as it comes, or copied
// into an unnamed file where seeking is needed.
#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/files/file_descriptor.h"

namespace quellard {

class InputFile {
 public:
  // Throws FileError when the file is missing, unreadable or a folder. Does not wait for the writer
  // of a pipe; read() does.
  explicit InputFile(const std::filesystem::path& path);
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // For messages.
  const std::string& name() const { return name_; }

  // Whether the input cannot seek. The start of a stream is kept, and can be read again, until
  // forgetStart().
  bool isStream() const { return isStream_; }
  void forgetStart() { keepsStart_ = false; }

  // Copies a stream into an unnamed file, after which it can seek. Throws FileError, for instance
  // when the disk is full, or Interrupted.
  void spool();

  // The first bytes, fewer when there are no more.
  std::string start(std::size_t count);

  // The last bytes of an input that is no stream.
  std::string end(std::size_t count);

  // Like the POSIX functions; read() returns fewer bytes only at the end, and none at a position
  // that a stream has not reached. Errors are kept for throwIfFailed(), since a C library calls
  // these functions.
  std::int64_t size() const;
  std::int64_t seek(std::int64_t offset, int whence);
  std::int64_t read(void* bytes, std::int64_t count);
  void throwIfFailed() const;

  // Makes size() return more than any file has. Then the library believes the length in the header,
  // although a truncated file or a stream has fewer bytes.
  void pretendEndless(bool pretends) { pretendsEndless_ = pretends; }

 private:
  std::string complaint(int error) const;
  std::int64_t readOnce(char* bytes, std::int64_t count);
  std::int64_t readStream(char* bytes, std::int64_t count);

  std::string name_;
  FileDescriptor file_;
  bool isStream_ = false;
  bool pretendsEndless_ = false;
  bool keepsStart_ = true;
  std::vector<char> start_;    // of a stream, kept until forgetStart()
  std::int64_t consumed_ = 0;  // bytes read from a stream
  std::int64_t origin_ = 0;  // the file's offset when it was opened: standard input may not be at 0
  std::int64_t position_ = 0;
  std::exception_ptr failure_;
};

}  // namespace quellard
