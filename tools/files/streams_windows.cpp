// SPDX-License-Identifier: ISC
#include <cstdio>
#include <fcntl.h>
#include <io.h>

#include "params/words.h"
#include "tools/common/interrupt.h"
#include "tools/files/streams.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// As bytes, not as lines of text.
FileDescriptor binary(int descriptor) {
  if (descriptor >= 0) _setmode(descriptor, _O_BINARY);
  return FileDescriptor(descriptor);
}

// The device that swallows everything, which has its name in every folder, and pipes.
bool isDevice(const fs::path& path) {
  const std::string name = lowered(path.filename().string());
  return name == "nul" || path.native().starts_with(LR"(\\.\)");
}

}  // namespace

bool isStandardInput(const fs::path& path) { return path == "-"; }
bool isStandardOutput(const fs::path& path) { return path == "-"; }
bool isStream(const fs::path& path) { return isStandardOutput(path) || isDevice(path); }

FileDescriptor openInput(const fs::path& path) {
  if (isStandardInput(path)) return binary(_dup(_fileno(stdin)));
  FileDescriptor file(_wopen(path.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT));
  const int error = errno;
  std::error_code unreached;
  errno = !file && fs::is_directory(path, unreached) ? EISDIR : error;
  return file;
}

FileDescriptor openStream(const fs::path& path) {
  return binary(isStandardOutput(path)
                    ? _dup(_fileno(stdout))
                    : _wopen(path.c_str(), _O_WRONLY | _O_BINARY | _O_NOINHERIT));
}

int writeAccessError(const fs::path& /*stream*/) { return 0; }

// Reading and writing wait themselves, until the other end of a pipe answers or is closed.
void waitToRead(const FileDescriptor& /*file*/) { throwIfInterrupted(); }
void waitToWrite(const FileDescriptor& /*file*/) { throwIfInterrupted(); }

}  // namespace quellard
