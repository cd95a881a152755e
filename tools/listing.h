// SPDX-License-Identifier: ISC
// Lists of parameters, programs, presets and the plug-in's properties, as text for a terminal.
#pragma once

#include <string>
#include <vector>

#include "tools/plugin_host.h"
#include "tools/presets.h"
#include "tools/render.h"

namespace quellard {

// One row per parameter: index, name on the command line, name in the plug-in, value in `start`,
// range.
std::string listParameters(const PluginModule& module, const StartingPoint& start);

// One row per program: number, name, channel and that channel's knobs.
std::string listPrograms(const PluginModule& module);

// One row per preset: name, channel and that channel's knobs, description.
std::string listPresets(const std::vector<Preset>& presets);

// What else a host can ask the plug-in: names, versions, id, capabilities, jacks.
std::string describePlugin(const PluginModule& module);

}  // namespace quellard
