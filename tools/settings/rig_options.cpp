// SPDX-License-Identifier: ISC
#include "tools/settings/rig_options.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>

#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/parsing.h"

namespace quellard {
float parseRigValue(int parameter, const char* name, std::string_view text) {
  if (parameter == kGateParameter && sameWord(trimmed(text), "off")) {
    return neutralValue(kGateParameter);
  }
  const std::string_view number = withoutDecibels(trimmed(text));
  if (parameter != kGateParameter) {
    return valueFromLevel_db(numberWithin(name, number, -kMostLevel_db, kMostLevel_db));
  }
  return valueFromGate_dbfs(numberWithin(name, number, kLowestGate_dbfs, kHighestGate_dbfs));
}

std::string rigValueText(int parameter, float value) {
  double exact = levelFromValue_db(value);
  if (parameter == kGateParameter) {
    const std::optional<double> threshold = gateFromValue_dbfs(value);
    if (!threshold.has_value()) return "off";
    exact = std::max(*threshold, kLowestGate_dbfs);
  }
  for (int digits = 1; digits <= 17; ++digits) {
    const auto shorter = parseNumber(fmt::format("{:.{}g}", exact, digits));
    std::string candidate = fmt::format("{}", shorter.value_or(exact));
    if (parseRigValue(parameter, "level", candidate) == value) return candidate;
  }
  return fmt::format("{}", exact);
}

void applyRig(const RigOptions& options, HostedValues& values) {
  const auto apply = [&](int parameter, const char* name, const std::string& text) {
    if (!text.empty()) values[parameter] = parseRigValue(parameter, name, text);
  };
  apply(kInputParameter, "--input", options.input);
  apply(kGateParameter, "--gate", options.gate);
  apply(kOutputParameter, "--output", options.output);
}

void applyCabinet(const RigOptions& options, CabinetChoice& cabinet) {
  if (!options.cab.empty()) cabinet.file = cabinetNamed(options.cab);
  if (cabinet.file.empty()) cabinet.level_db = 0.0;
  if (options.cabLevel.empty()) return;
  cabinet.level_db = parseCabinetLevel_db("--cab-level", options.cabLevel);
  if (cabinet.file.empty() && cabinet.level_db != 0.0)
    throw UsageError("--cab-level needs a cabinet: --cab FILE");
}

}  // namespace quellard
