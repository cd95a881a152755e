// SPDX-License-Identifier: ISC
// An input, opened once, whatever it is: a file, a pipe, a device or standard input. What cannot
// be read twice is read as it comes, or kept in a file without a name when somebody needs to seek.
#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/unnamed_file.h"

namespace quellard {

// Whether a name means standard input: "-", "/dev/stdin" and the like.
bool isStandardInput(const std::filesystem::path& path);

class InputFile {
 public:
  // Waits for the writer of a pipe. Throws FileError when the file is missing, unreadable or a
  // folder.
  explicit InputFile(const std::filesystem::path& path);
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // As messages call it.
  const std::string& name() const { return name_; }

  // Whether what has been read is gone. Its beginning can be read again until forgetStart().
  bool isStream() const { return isStream_; }
  void forgetStart() { keepsStart_ = false; }

  // Takes the rest of a stream into a file without a name, so that it is one no longer. Throws
  // FileError, when the disk is full above all, or Interrupted.
  void spool();

  // The first bytes, fewer when there are no more.
  std::string start(std::size_t count);

  // The last bytes of what is no stream.
  std::string end(std::size_t count);

  // As the POSIX calls of these names; read() gives fewer bytes only at the end, and none where a
  // stream has not come to. Errors are kept for throwIfFailed(), since libraries of C call these.
  std::int64_t size() const;
  std::int64_t seek(std::int64_t offset, int whence);
  std::int64_t read(void* bytes, std::int64_t count);
  void throwIfFailed() const;

  // Whether size() answers more than any file has: then a reader believes the header's figures,
  // where a file that was cut short or that is still coming has fewer bytes.
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
  std::vector<char> start_;    // what came of a stream while its start was kept
  std::int64_t consumed_ = 0;  // of a stream
  std::int64_t origin_ = 0;    // of what is no stream: where standard input stood
  std::int64_t position_ = 0;
  std::exception_ptr failure_;
};

}  // namespace quellard
