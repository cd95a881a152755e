// SPDX-License-Identifier: ISC
// Lists of parameters, programs, presets and the plug-in's properties, for people and programs.
#pragma once

#include <string>
#include <vector>

#include "tools/host/batch.h"
#include "tools/host/plugin_host.h"
#include "tools/host/render.h"
#include "tools/settings/presets.h"

namespace quellard {

// Text for a terminal.

// One row per parameter: index, name on the command line, name in the plug-in, value in `start`,
// range.
std::string listParameters(const PluginModule& module, const StartingPoint& start);

// One row per program: number, name, channel and that channel's knobs.
std::string listPrograms(const PluginModule& module);

// One row per preset: name, channel and that channel's knobs, description.
std::string listPresets(const std::vector<Preset>& presets);

// What else a host can ask the plug-in: names, versions, id, capabilities, jacks.
std::string describePlugin(const PluginModule& module);

// The same as JSON, and the report of a render. docs/json.md describes the fields. Values that do
// not exist are null; bytes that are not UTF-8 become U+FFFD.

std::string parametersAsJson(const PluginModule& module, const StartingPoint& start);
std::string programsAsJson(const PluginModule& module);
std::string presetsAsJson(const std::vector<Preset>& presets);
std::string pluginAsJson(const PluginModule& module);
// outcomes: one for each job, in the same order.
std::string reportAsJson(const std::vector<Job>& jobs, const std::vector<Outcome>& outcomes);

}  // namespace quellard
