// SPDX-License-Identifier: ISC
// The subcommand "sweep".
#pragma once

#include <string>
#include <vector>

#include "tools/common/command_line_parser.h"
#include "tools/render_options.h"

namespace quellard {

// As they were typed.
struct SweepOptions {
  RenderOptions render;
  std::vector<std::string> takes;
  std::vector<std::string> grid;
  std::string folder;
  std::string random;
  std::string seed = "0";
  bool dryRun = false;
  bool json = false;
};

// options must live until the command line is parsed.
void addSweepOptions(CLI::App& command, SweepOptions& options);

// Returns the exit status. Throws UsageError, FileError, Interrupted.
int sweep(const SweepOptions& options);

}  // namespace quellard
