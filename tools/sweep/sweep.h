// SPDX-License-Identifier: ISC
// Many renders of the same takes, with settings that vary: the plan, and the way to do it on this
// machine. Elsewhere the tasks may be done by anything that maps a function over a list
// (sweep_task.h).
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "tools/host/batch.h"
#include "tools/host/plugin_host.h"
#include "tools/host/progress.h"
#include "tools/settings/chosen_settings.h"
#include "tools/sweep/axis.h"
#include "tools/sweep/manifest.h"
#include "tools/sweep/sweep_task.h"

namespace quellard {

struct SweepSettings {
  NamedSettings base;      // of every render
  std::vector<Axis> axes;  // what varies
  int random = 0;  // so many combinations for each take, drawn anew for each; 0: all there are
  int seed = 0;    // >= 0
  std::string automation;  // a file, or ""
  bool mono = false;
  double tailSeconds = 0.0;
  int blockLength = 512;
  std::string sampleFormat;  // see formatFor()
  std::string fileType = "wav";
};

class Sweep {
 public:
  // Finds the takes, reads them once for their digests, and checks all settings. takes: files and
  // folders, as of planJobs(); results of other sweeps in a folder are passed over. folder: of the
  // results. A take "a/b.flac" of the folder "a" has its results in folder/b/, each under the id of
  // its settings. Two combinations that mean the same become one task. Makes nothing. Throws
  // UsageError, Interrupted, and FileError for all but single takes.
  Sweep(const std::vector<std::filesystem::path>& takes, const std::filesystem::path& folder,
        const SweepSettings& settings);

  std::size_t size() const { return tasks_.size(); }
  const std::filesystem::path& folder() const { return conditions_->folder; }
  // Of the takes that cannot be read: one line each. They have no tasks.
  const std::vector<std::string>& errors() const { return errors_; }
  // The files below the folder, in the order of the sweep: take by take.
  std::vector<std::string> outputs() const;
  // number: 0 to size() - 1. known: see writeTask().
  std::string row(std::size_t number) const { return plannedRow(tasks_[number]); }
  std::string task(std::size_t number, const std::string& known) const {
    return writeTask(tasks_[number], known);
  }

  // Removes half-written files of processes that were killed. Not while a task runs.
  void removeLeftovers() const;

 private:
  void addTake(const Job& job, const std::filesystem::path& folder);
  void addTasks(const std::shared_ptr<const SourceFile>& take, const std::string& name);
  SweepTask taskFor(const Combination& combination);
  void refuseAxesWithoutEffect();
  const std::vector<Move>& movesFrom(int channel);
  std::string digestOf(const CabinetChoice& cabinet);

  SweepSettings settings_;
  std::shared_ptr<const SweepConditions> conditions_;
  std::map<std::filesystem::path, std::string> cabinets_;  // digests
  std::map<int, std::vector<Move>> moves_;  // of the automation, by the channel that plays first
  std::vector<SweepTask> tasks_;
  std::vector<std::string> errors_;
};

struct SweepResult {
  std::size_t made = 0;
  std::size_t kept = 0;                // were there, and whole
  std::vector<std::string> errors;     // one line for each take and each task that failed
  std::vector<std::string> rows;       // of the list, in the order of the sweep
  std::vector<std::string> truncated;  // one for each whose take was cut short or damaged
};

// Does all tasks on up to `threads` threads, and writes the manifest; a task that fails does not
// stop the others. threads: 1 to kMostThreads. Files and manifest are the same for any number of
// threads. stop: begins no more tasks. Throws FileError, Interrupted, also after a stop; what is
// done then needs not be done again.
SweepResult runSweep(const PluginModule& module, const Sweep& sweep, Manifest& manifest,
                     int threads, Progress& progress, const std::stop_token& stop = {});

}  // namespace quellard
