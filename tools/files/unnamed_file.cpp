// SPDX-License-Identifier: ISC
#include "tools/files/unnamed_file.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <fmt/format.h>
#include <string>
#include <sys/random.h>
#include <system_error>
#include <unistd.h>

#include "tools/common/errors.h"

namespace quellard {
namespace fs = std::filesystem;

FileDescriptor openUnnamedIn([[maybe_unused]] const fs::path& folder) {
#if defined(O_TMPFILE)
  return FileDescriptor(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
#else
  return {};
#endif
}

fs::path temporaryNameIn(const fs::path& folder) {
  std::array<std::uint64_t, 2> random = {};
  if (getentropy(random.data(), sizeof random) != 0) throw FileError("cannot get random numbers");
  return folder / fmt::format(".quellard-{:016x}{:016x}.part", random[0], random[1]);
}

void removeTemporaryFilesIn(const fs::path& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    std::error_code ignored;
    if (name.starts_with(".quellard-") && name.ends_with(".part")) {
      fs::remove(entry->path(), ignored);
    }
  }
}

FileDescriptor openSpool() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing in this process sets variables
  const char* wanted = std::getenv("TMPDIR");
  int error = 0;
  for (const char* folder : {wanted, "/var/tmp", "/tmp"}) {
    if (folder == nullptr || *folder == '\0') continue;
    if (FileDescriptor unnamed = openUnnamedIn(folder)) return unnamed;
    const fs::path name = temporaryNameIn(folder);
    FileDescriptor named(open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    error = errno;
    if (named) unlink(name.c_str());
    if (named) return named;
  }
  throw FileError(fmt::format("cannot make a temporary file: {}", systemMessage(error)));
}

}  // namespace quellard
