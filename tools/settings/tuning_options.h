// SPDX-License-Identifier: ISC
// The options that say what players tune to.
#pragma once

#include <string>

#include "rig/tunings.h"
#include "tools/common/command_line_parser.h"

namespace quellard {

struct TuningSettings {
  double reference_hz = kConcertPitch_hz;
  const Tuning* tuning = nullptr;  // whose strings are named; null: none
};

// As they were typed.
struct TuningOptions {
  std::string reference = "440";  // Hz
  std::string tuning;             // "": none
};

// Adds --reference and --tuning. options must live until the command line is parsed.
void addTuningOptions(CLI::App& command, TuningOptions& options);

// "standard, drop d, ...", for help texts.
std::string tuningNames();

// Throws UsageError, with a suggestion for a name that is no tuning's.
TuningSettings tuningFrom(const TuningOptions& options);

}  // namespace quellard
