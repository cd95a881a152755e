// SPDX-License-Identifier: ISC
// A file that appears under its name only when it is whole. Until commit() the bytes are in a
// temporary file in the same folder; whatever goes wrong, a file that was there before stays.
#pragma once

#include <cstdint>
#include <filesystem>

namespace quellard {

class OutputFile {
 public:
  // path: where the file shall appear; a symbolic link is followed, so that its target is
  // replaced and not the link. Throws FileError when the folder is missing or not writable, or
  // when something other than an ordinary writable file is there.
  explicit OutputFile(const std::filesystem::path& path);

  // Removes the temporary file unless it was committed.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // As the POSIX calls of these names, on the temporary file. Writes return the bytes written and
  // remember the first error for commit(), since not every writer of a format reports one.
  std::int64_t write(const void* bytes, std::int64_t count);
  std::int64_t read(void* bytes, std::int64_t count);
  std::int64_t seek(std::int64_t offset, int whence);
  std::int64_t size() const;

  // Throws FileError if a write has failed: "cannot write a.wav: No space left on device".
  void throwIfFailed() const;

  // Brings the bytes to the disk and the file to its name. Throws FileError and leaves nothing
  // when that fails.
  void commit();

  const std::filesystem::path& temporaryPath() const { return temporary_; }

 private:
  [[noreturn]] void fail(int error) const;

  std::filesystem::path shown_;   // as the user wrote it, for messages
  std::filesystem::path target_;  // with symbolic links followed
  std::filesystem::path temporary_;
  int descriptor_ = -1;
  int firstError_ = 0;
};

}  // namespace quellard
