// SPDX-License-Identifier: ISC
// OutputFile for Windows. The bytes are in a file with a random name that is marked as deleted, so
// that the system removes it with its handle, also when the process is killed. commit() takes the
// mark back and moves it over what has the name.
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <io.h>
#include <system_error>
#include <windows.h>

#include "params/sizes.h"
#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/files/output_file.h"
#include "tools/files/windows_errors.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

constexpr unsigned kMostAtOnce = 1U << 30;

HANDLE handleOf(const FileDescriptor& file) {
  return reinterpret_cast<HANDLE>(_get_osfhandle(file.number()));
}

bool markDeleted(const FileDescriptor& file, bool deleted) {
  FILE_DISPOSITION_INFO mark{.DeleteFile = static_cast<BOOLEAN>(deleted)};
  return SetFileInformationByHandle(handleOf(file), FileDispositionInfo, &mark, sizeof mark) != 0;
}

// The device that swallows everything, which has its name in every folder, and pipes.
bool isDevice(const fs::path& path) {
  const std::string name = lowered(path.filename().string());
  return name == "nul" || path.native().starts_with(LR"(\\.\)");
}

}  // namespace

bool isStandardOutput(const fs::path& path) { return path == "-"; }

bool isStream(const fs::path& path) { return isStandardOutput(path) || isDevice(path); }

fs::path withLinksFollowed(fs::path path) {
  std::error_code error;
  const fs::path target = fs::weakly_canonical(path, error);
  return error ? path : target;
}

void makeFolder(const fs::path& folder) {
  std::error_code error;
  std::error_code unreached;
  fs::create_directories(withLinksFollowed(folder), error);
  if (error && !fs::is_directory(folder, unreached)) {
    throw FileError(
        fmt::format("cannot make the folder {}: {}", folder.string(), systemMessage(error)));
  }
}

OutputFile::OutputFile(const fs::path& path)
    : shown_(isStandardOutput(path) ? "standard output" : path),
      target_(isStream(path) ? path : withLinksFollowed(path)),
      folder_(target_.has_parent_path() ? target_.parent_path() : fs::path(".")),
      toStream_(isStream(path)) {
  if (toStream_) {
    file_ = openSpool();
  } else {
    openBeside();
  }
}

void OutputFile::openBeside() {
  const DWORD existing = GetFileAttributesW(target_.c_str());
  if (existing != INVALID_FILE_ATTRIBUTES) {
    if ((existing & FILE_ATTRIBUTE_DIRECTORY) != 0) fail(EISDIR);
    if ((existing & FILE_ATTRIBUTE_READONLY) != 0) fail(EACCES);
  }
  openNamed();
}

void OutputFile::openNamed() {
  temporary_ = temporaryNameIn(folder_);
  const HANDLE handle =
      CreateFileW(temporary_.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_DELETE,
                  nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    temporary_.clear();
    fail(lastError());
  }
  file_ = FileDescriptor(_open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY));
  markDeleted(file_, true);
}

OutputFile::~OutputFile() {
  file_ = FileDescriptor();
  if (!temporary_.empty()) DeleteFileW(temporary_.c_str());  // where no mark was to be had
}

std::int64_t OutputFile::write(const void* bytes, std::int64_t count) {
  const char* from = static_cast<const char*>(bytes);
  std::int64_t done = 0;
  while (done < count) {
    const auto piece = static_cast<unsigned>(std::min<std::int64_t>(count - done, kMostAtOnce));
    const int written = _write(file_.number(), from + done, piece);
    if (written <= 0) {
      if (firstError_ == 0) firstError_ = written < 0 ? errno : ENOSPC;
      break;
    }
    done += written;
  }
  return done;
}

std::int64_t OutputFile::read(void* bytes, std::int64_t count) {
  const auto piece = static_cast<unsigned>(std::min<std::int64_t>(count, kMostAtOnce));
  return std::max(_read(file_.number(), bytes, piece), 0);
}

std::int64_t OutputFile::seek(std::int64_t offset, int whence) {
  return _lseeki64(file_.number(), offset, whence);
}

std::int64_t OutputFile::size() const { return _filelengthi64(file_.number()); }

void OutputFile::fail(int error) const {
  throw FileError(fmt::format("cannot write {}: {}", shown_.string(), systemMessage(error)));
}

void OutputFile::throwIfFailed() const {
  if (firstError_ != 0) fail(firstError_);
}

void OutputFile::commit() {
  throwIfFailed();
  if (toStream_) {
    const FileDescriptor opened = openStream();
    return copyTo(opened.number());
  }
  if (FlushFileBuffers(handleOf(file_)) == 0) fail(lastError());
  markDeleted(file_, false);
  file_ = FileDescriptor();
  constexpr DWORD kHow = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  if (MoveFileExW(temporary_.c_str(), target_.c_str(), kHow) == 0) fail(lastError());
  temporary_.clear();
}

FileDescriptor OutputFile::openStream() const {
  const int opened = isStandardOutput(target_) ? _dup(_fileno(stdout))
                                               : _wopen(target_.c_str(), _O_WRONLY | _O_BINARY);
  if (opened < 0) fail(errno);
  _setmode(opened, _O_BINARY);
  return FileDescriptor(opened);
}

void OutputFile::copyTo(int descriptor) {
  std::array<char, 65536> piece = {};
  seek(0, SEEK_SET);
  while (const std::int64_t count = read(piece.data(), piece.size())) {
    for (std::int64_t done = 0; done < count;) {
      throwIfInterrupted();
      const int written =
          _write(descriptor, piece.data() + done, static_cast<unsigned>(count - done));
      if (written < 0) fail(errno);
      done += written;
    }
  }
}

}  // namespace quellard
