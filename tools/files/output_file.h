// SPDX-License-Identifier: ISC
// A file that appears under its name only when it is complete. Until commit() the bytes are in an
// unnamed file in the same folder, or in one with a random name where the file system has no
// unnamed files. If anything fails, a file that existed before stays as it was. Pipes and devices
// also get the bytes at commit(), since most formats write their header last.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "tools/files/pending_file.h"

namespace quellard {

// The path at the end of a chain of symbolic links, also where no file exists there.
std::filesystem::path withLinksFollowed(std::filesystem::path path);

// Makes a folder and those above it, where missing; a symbolic link to one is followed. Throws
// FileError.
void makeFolder(const std::filesystem::path& folder);

class OutputFile {
 public:
  // path: of the file or stream; a symbolic link is followed, so that its target is replaced, not
  // the link. Throws FileError when the folder is missing or not writable, or when the path is
  // something that cannot be written.
  explicit OutputFile(const std::filesystem::path& path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Like the POSIX functions, on the temporary file. write() returns the bytes written and keeps
  // the first error for commit(), since not every encoder reports errors.
  std::int64_t write(const void* bytes, std::int64_t count);
  std::int64_t read(void* bytes, std::int64_t count);
  std::int64_t seek(std::int64_t offset, int whence);
  std::int64_t size() const;

  // Throws FileError if a write has failed: "cannot write a.wav: the disk is full".
  void throwIfFailed() const;

  // Flushes the file to the disk and gives it its name, or writes the bytes to the stream. Throws
  // FileError, and then leaves no file; Interrupted while it waits for a stream's reader.
  void commit();

 private:
  const FileDescriptor& file() const { return pending_ ? pending_->file() : spool_; }
  FileDescriptor openWhenRead() const;
  void copyTo(const FileDescriptor& stream);

  std::filesystem::path shown_;   // as the user wrote it, for messages
  std::filesystem::path stream_;  // empty for a file
  FileDescriptor spool_;          // for a stream
  std::optional<PendingFile> pending_;
  int firstError_ = 0;
};

}  // namespace quellard
