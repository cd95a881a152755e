// SPDX-License-Identifier: ISC
#include "tools/files/pending_file.h"

#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "tools/common/errors.h"
#include "tools/files/unnamed_file.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

void syncFolder(const fs::path& folder) {
  const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened) fsync(opened.number());  // errors ignored: not every file system supports it
}

// The path by which the system can open an unnamed file.
std::string throughProcess(const FileDescriptor& file) {
  return fmt::format("/proc/self/fd/{}", file.number());
}

bool linkTo(const FileDescriptor& file, const fs::path& name) {
  const std::string from = throughProcess(file);
  return linkat(AT_FDCWD, from.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

}  // namespace

PendingFile::PendingFile(fs::path target, fs::path shown)
    : shown_(std::move(shown)),
      target_(std::move(target)),
      folder_(target_.has_parent_path() ? target_.parent_path() : fs::path(".")) {
  struct stat existing = {};
  const bool exists = stat(target_.c_str(), &existing) == 0;
  if (!exists && errno == ELOOP) failWriting(shown_, ELOOP);
  if (exists && S_ISDIR(existing.st_mode)) failWriting(shown_, EISDIR);
  if (exists && !S_ISREG(existing.st_mode)) {
    throw FileError(fmt::format("cannot write {}: not an ordinary file", shown_.string()));
  }
  if (exists && access(target_.c_str(), W_OK) != 0) failWriting(shown_, errno);

  file_ = openUnnamedIn(folder_);
  // Without /proc an unnamed file could not be given a name later.
  const bool canBeNamed = file_ && access(throughProcess(file_).c_str(), F_OK) == 0;
  if (!canBeNamed) openNamed();
  if (!exists) return;
  // A replaced file keeps its permissions, if the file system has any, and its owner, if we may set
  // it; without the owner the set-user-id and set-group-id bits are dropped.
  const bool owned = fchown(file_.number(), existing.st_uid, existing.st_gid) == 0;
  const mode_t kept = existing.st_mode & (owned ? 07777U : 00777U);
  if (fchmod(file_.number(), kept) != 0) errno = 0;
}

void PendingFile::openNamed() {
  do {
    temporary_ = temporaryNameIn(folder_);
    file_ = FileDescriptor(open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  } while (!file_ && errno == EEXIST);
  if (file_) return;
  temporary_.clear();
  failWriting(shown_, errno);
}

PendingFile::~PendingFile() {
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void PendingFile::replaceTarget() {
  if (fsync(file_.number()) != 0) failWriting(shown_, errno);
  if (temporary_.empty()) {
    // Linking works only where no file has the name. An existing file must be replaced by rename(),
    // for which the new one needs a name.
    if (!linkTo(file_, target_)) giveTemporaryName();
  }
  if (!temporary_.empty()) {
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) failWriting(shown_, errno);
    temporary_.clear();
  }
  file_ = FileDescriptor();
  syncFolder(folder_);
}

void PendingFile::giveTemporaryName() {
  do {
    temporary_ = temporaryNameIn(folder_);
    if (linkTo(file_, temporary_)) return;
  } while (errno == EEXIST);
  const int error = errno;
  temporary_.clear();
  failWriting(shown_, error);
}

}  // namespace quellard
