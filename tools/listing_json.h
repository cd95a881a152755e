// SPDX-License-Identifier: ISC
// The lists of listing.h and the report of a render as JSON, for other programs. docs/json.md
// describes the fields. Values that do not exist are null; bytes that are not UTF-8 become U+FFFD.
#pragma once

#include <string>
#include <vector>

#include "tools/batch.h"
#include "tools/plugin_host.h"
#include "tools/presets.h"
#include "tools/render.h"

namespace quellard {

std::string parametersAsJson(const PluginModule& module, const StartingPoint& start);
std::string programsAsJson(const PluginModule& module);
std::string presetsAsJson(const std::vector<Preset>& presets);
std::string pluginAsJson(const PluginModule& module);

// outcomes: one for each job, in the same order.
std::string reportAsJson(const std::vector<Job>& jobs, const std::vector<Outcome>& outcomes);

}  // namespace quellard
