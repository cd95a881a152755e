// SPDX-License-Identifier: ISC
// The subcommand "sweep".
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "tools/settings/rig_options.h"
#include "tools/settings/settings_options.h"

namespace quellard {

// As they were typed.
struct SweepOptions {
  SettingsOptions knobs;
  RigOptions rig;
  std::vector<std::string> takes;
  std::vector<std::string> grid;
  std::string folder;
  std::string random;
  std::string seed = "0";
  std::string automation;
  std::string sampleFormat;
  std::string fileType = "wav";
  std::string block = "512";
  std::string tail = "0";
  std::string threads = "1";
  bool mono = false;
  bool dryRun = false;
  bool quiet = false;
  bool json = false;
};

// options must live until the command line is parsed.
void addSweepOptions(CLI::App& command, SweepOptions& options);

// Returns the exit status. Throws UsageError, FileError, Interrupted.
int sweep(const SweepOptions& options);

}  // namespace quellard
