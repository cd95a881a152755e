// SPDX-License-Identifier: ISC
// One render of a sweep, as a text that says everything about it. It may wait, travel to another
// machine that sees the same files under the same names, and be done more than once: each time it
// leaves the same file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "rig/rig_parameters.h"
#include "tools/host/plugin_host.h"
#include "tools/host/progress.h"
#include "tools/settings/cabinet_choice.h"

namespace quellard {

// A file that a sweep reads. path: as it was given. The digest tells whether it is still the same.
struct SourceFile {
  std::filesystem::path path;
  std::string sha256;

  bool operator==(const SourceFile&) const = default;
};

// What all tasks of a sweep have in common.
struct SweepConditions {
  std::filesystem::path folder;  // of the results, absolute
  std::filesystem::path origin;  // the folder that relative paths start from, absolute
  std::optional<SourceFile> automation;
  bool mono = false;
  double tailSeconds = 0.0;
  int blockLength = 512;
  std::string sampleFormat;  // see formatFor(); "" is float
};

struct SweepTask {
  std::shared_ptr<const SweepConditions> common;
  std::shared_ptr<const SourceFile> take;
  std::string output;                           // the file, below the folder
  HostedValues values = defaultHostedValues();  // at the start
  CabinetChoice cabinet = {};
  std::string cabinetSha256;
};

// The row of the manifest without the results: a JSON object in one line, with output, input, all
// settings, and what else the bits depend on.
std::string plannedRow(const SweepTask& task);

// What tells the task's settings apart from all others of the same take: 16 hexadecimal digits.
std::string settingsId(const SweepTask& task);

// The task as text and back. known: its row in a manifest, or "". Throws UsageError for a text that
// is none.
std::string writeTask(const SweepTask& task, const std::string& known);

struct DoneTask {
  std::string row;  // of the manifest, with the results
  bool kept;        // the file was there, and whole
  bool truncated;   // the take was cut short or damaged
};

// Renders a task, unless its row is known and the file of it is there, whole and made of the same:
// then neither is touched. The file appears only when it is complete. Throws UsageError for a text
// that is no task, FileError, Interrupted. May run on several threads at once. [any thread]
DoneTask runTask(const PluginModule& module, const std::string& task, Progress& progress);

}  // namespace quellard
