// SPDX-License-Identifier: ISC
#include "tools/files/user_folders.h"

#include <cstdlib>

namespace quellard {
namespace fs = std::filesystem;
namespace {

// Relative paths in these variables are to be ignored.
fs::path absoluteFrom(const char* variable) {
  fs::path path = pathFromVariable(variable);
  return path.is_absolute() ? path : fs::path();
}

fs::path folder(const char* variable, const char* belowHome) {
  const fs::path own = absoluteFrom(variable);
  if (!own.empty()) return own / "quellard";
  const fs::path home = homeFolder();
  return home.empty() ? home : home / belowHome / "quellard";
}

}  // namespace

fs::path homeFolder() { return absoluteFrom("HOME"); }

fs::path configurationFolder() { return folder("XDG_CONFIG_HOME", ".config"); }

fs::path stateFolder() { return folder("XDG_STATE_HOME", ".local/state"); }

fs::path pathFromVariable(const char* variable) {
  const char* const value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe)
  return value != nullptr ? value : "";
}

}  // namespace quellard
