// SPDX-License-Identifier: ISC
#include "tools/files/file_identity.h"

#include <sys/stat.h>

#include "tools/files/streams.h"

namespace quellard {
namespace fs = std::filesystem;

std::optional<Identified> identify(const fs::path& path, int standardStream) {
  struct stat status = {};
  const bool standard = isStandardInput(path) || isStandardOutput(path);
  const int failed = standard ? fstat(standardStream, &status) : stat(path.c_str(), &status);
  const bool isPipe = S_ISFIFO(status.st_mode);
  if (failed != 0 || (!isPipe && !S_ISREG(status.st_mode))) return {};
  return Identified{{status.st_dev, status.st_ino}, isPipe};
}

fs::path comparableName(const fs::path& path) { return path; }

}  // namespace quellard
