// SPDX-License-Identifier: ISC
// A file with a random name that is marked as deleted, so that the system removes it with its
// handle, also when the process is killed. replaceTarget() takes the mark back and moves it over
// what has the name.
#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <utility>
#include <windows.h>

#include "tools/common/errors.h"
#include "tools/files/pending_file.h"
#include "tools/files/unnamed_file.h"
#include "tools/files/windows_errors.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

HANDLE handleOf(const FileDescriptor& file) {
  return reinterpret_cast<HANDLE>(_get_osfhandle(file.number()));
}

bool markDeleted(const FileDescriptor& file, bool deleted) {
  FILE_DISPOSITION_INFO mark{.DeleteFile = static_cast<BOOLEAN>(deleted)};
  return SetFileInformationByHandle(handleOf(file), FileDispositionInfo, &mark, sizeof mark) != 0;
}

}  // namespace

PendingFile::PendingFile(fs::path target, fs::path shown)
    : shown_(std::move(shown)),
      target_(std::move(target)),
      folder_(target_.has_parent_path() ? target_.parent_path() : fs::path(".")) {
  const DWORD existing = GetFileAttributesW(target_.c_str());
  if (existing != INVALID_FILE_ATTRIBUTES) {
    if ((existing & FILE_ATTRIBUTE_DIRECTORY) != 0) failWriting(shown_, EISDIR);
    if ((existing & FILE_ATTRIBUTE_READONLY) != 0) failWriting(shown_, EACCES);
  }
  openNamed();
}

void PendingFile::openNamed() {
  temporary_ = temporaryNameIn(folder_);
  const HANDLE handle =
      CreateFileW(temporary_.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_DELETE,
                  nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    const int error = lastError();
    temporary_.clear();
    failWriting(shown_, error);
  }
  file_ = FileDescriptor(_open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY));
  if (!file_) {  // too many are open
    CloseHandle(handle);
    DeleteFileW(temporary_.c_str());
    failWriting(shown_, EMFILE);
  }
  markDeleted(file_, true);
}

PendingFile::~PendingFile() {
  file_ = FileDescriptor();
  if (!temporary_.empty()) DeleteFileW(temporary_.c_str());  // where no mark was to be had
}

void PendingFile::replaceTarget() {
  if (FlushFileBuffers(handleOf(file_)) == 0) failWriting(shown_, lastError());
  markDeleted(file_, false);
  file_ = FileDescriptor();
  constexpr DWORD kHow = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  if (MoveFileExW(temporary_.c_str(), target_.c_str(), kHow) == 0) failWriting(shown_, lastError());
  temporary_.clear();
}

}  // namespace quellard
