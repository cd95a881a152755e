// SPDX-License-Identifier: ISC
// The options that the subcommands "render" and "sweep" share.
#pragma once

#include <string>

#include "tools/common/command_line_parser.h"
#include "tools/settings/chosen_settings.h"

namespace quellard {

// As they were typed.
struct RenderOptions {
  NamedSettings settings;
  std::string automation;
  std::string sampleFormat;
  std::string fileType = "wav";
  std::string block = "512";
  std::string tail = "0";
  std::string threads = "1";
  bool mono = false;
  bool quiet = false;
};

// options must live until the command line is parsed.
void addSharedRenderOptions(CLI::App& command, RenderOptions& options);

// Within render_limits.h. They throw UsageError.
int blockLengthFrom(const RenderOptions& options);
double tailSecondsFrom(const RenderOptions& options);
int threadsFrom(const RenderOptions& options);

}  // namespace quellard
