// SPDX-License-Identifier: ISC
// A file that appears under its name only when it is whole. Until commit() the bytes are in a file
// without a name in the same folder, or, where the file system has none such, under a random one;
// whatever goes wrong, a file that was there before stays. Pipes and devices get the bytes at
// commit(), too, since most formats complete their header last.
#pragma once

#include <cstdint>
#include <filesystem>

#include "tools/unnamed_file.h"

namespace quellard {

// Whether a name means standard output: "-", "/dev/stdout" and the like.
bool isStandardOutput(const std::filesystem::path& path);

// Whether what is written there cannot appear at once: standard output, a pipe, a device.
bool isStream(const std::filesystem::path& path);

// The path that a chain of symbolic links ends at, also when nothing is there yet.
std::filesystem::path withLinksFollowed(std::filesystem::path path);

class OutputFile {
 public:
  // path: where the file shall appear, or a stream; a symbolic link is followed, so that its
  // target is replaced or made and not the link. Throws FileError when the folder is missing or
  // not writable, or when something is there that cannot be written.
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

  // Throws FileError if a write has failed: "cannot write a.wav: the disk is full".
  void throwIfFailed() const;

  // Brings the bytes to the disk and the file to its name, or the bytes to the stream. Throws
  // FileError and leaves nothing when that fails; Interrupted while it waits for a stream's reader.
  void commit();

 private:
  [[noreturn]] void fail(int error) const;
  void refuseUnwritableStream() const;
  void openBeside();
  void openNamed();
  void giveTemporaryName();
  void copyTo(int descriptor);
  FileDescriptor openStream() const;

  std::filesystem::path shown_;   // as the user wrote it, for messages
  std::filesystem::path target_;  // with symbolic links followed
  std::filesystem::path folder_;
  std::filesystem::path temporary_;  // empty while the file has no name
  FileDescriptor file_;
  bool toStream_;
  int firstError_ = 0;
};

}  // namespace quellard
