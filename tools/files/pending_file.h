// SPDX-License-Identifier: ISC
// A file beside the one that it is to replace. It has no name, or a random one, until it takes that
// one's place.
#pragma once

#include <filesystem>

#include "tools/files/file_descriptor.h"

namespace quellard {

class PendingFile {
 public:
  // target: with symbolic links followed. shown: as the user wrote it, for messages. Throws
  // FileError when the folder is missing or not writable, or when the target cannot be replaced.
  PendingFile(std::filesystem::path target, std::filesystem::path shown);

  // Removes the file unless it has taken its place.
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  // For reading and writing; none after replaceTarget().
  const FileDescriptor& file() const { return file_; }

  // Flushes the file to the disk and gives it the target's name. Throws FileError, and then leaves
  // the target as it was.
  void replaceTarget();

 private:
  void openNamed();
  void giveTemporaryName();

  std::filesystem::path shown_;
  std::filesystem::path target_;
  std::filesystem::path folder_;
  std::filesystem::path temporary_;  // empty while the file has no name
  FileDescriptor file_;
};

}  // namespace quellard
