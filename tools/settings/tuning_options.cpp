// SPDX-License-Identifier: ISC
#include "tools/settings/tuning_options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <vector>

#include "tools/common/errors.h"
#include "tools/common/parsing.h"
#include "tools/settings/settings_options.h"

namespace quellard {
namespace {

std::vector<std::string> allNames() {
  std::vector<std::string> names;
  for (const Tuning& tuning : tunings()) names.emplace_back(tuning.name);
  return names;
}

}  // namespace

void addTuningOptions(CLI::App& command, TuningOptions& options) {
  constexpr const char* kGroup = "Tuner";
  addValue(command, "--reference", options.reference, "HZ", "Pitch of the A above middle C (440)",
           kGroup);
  addValue(command, "--tuning", options.tuning, "NAME",
           "Tell the nearest open string too, of one of the tunings below", kGroup);
}

std::string tuningNames() { return fmt::format("{}", fmt::join(allNames(), ", ")); }

TuningSettings tuningFrom(const TuningOptions& options) {
  TuningSettings settings;
  settings.reference_hz =
      numberWithin("--reference", options.reference, kLowestReference_hz, kHighestReference_hz);
  if (options.tuning.empty()) return settings;
  settings.tuning = findTuning(options.tuning);
  if (settings.tuning != nullptr) return settings;
  throw UsageError(fmt::format("there is no tuning '{}'{}", options.tuning,
                               suggestion(options.tuning, allNames())));
}

}  // namespace quellard
