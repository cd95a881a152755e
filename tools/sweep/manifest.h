// SPDX-License-Identifier: ISC
// The list of a sweep's results: manifest.jsonl in its folder, one JSON object a line. While a
// sweep runs, its rows are added to manifest.partial.jsonl as they come, so that one that is killed
// can go on; a line that was cut by that is ignored. At the end the list is written as a whole, in
// the order of the sweep, and so is the same whatever came first. Rows of other sweeps in the same
// folder are kept behind them.
#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "tools/files/file_descriptor.h"

namespace quellard {

inline constexpr const char* kManifestName = "manifest.jsonl";

// The rows by the file that each describes, its name in the folder.
using ManifestRows = std::map<std::string, std::string>;

// The rows of a folder's list, also while a sweep runs; none where there is no list. Throws
// FileError.
ManifestRows readManifest(const std::filesystem::path& folder);

class Manifest {
 public:
  // Makes the folder if missing, and reads what is there. Throws FileError, also where another
  // process has the same folder's manifest open.
  explicit Manifest(const std::filesystem::path& folder);

  // The row of a file, by its name in the folder; "" without one.
  std::string find(const std::string& output) const;

  // Adds a row, or replaces that of the same file. Throws FileError, and UsageError for what is no
  // row. [any thread]
  void add(const std::string& row);

  // Writes the complete list, rows for `outputs` first, and returns those. Throws FileError.
  std::vector<std::string> finish(const std::vector<std::string>& outputs);

  // Lets others write. Nothing may be added any more.
  void close() { journal_ = FileDescriptor(); }

  const std::filesystem::path& file() const { return file_; }

 private:
  void append(const std::string& text) const;

  std::filesystem::path file_;
  std::filesystem::path partial_;
  FileDescriptor journal_;
  mutable std::mutex mutex_;
  ManifestRows rows_;
};

}  // namespace quellard
