// SPDX-License-Identifier: ISC
// What the plug-in tells about itself, as text for a terminal.
#pragma once

#include <string>
#include <vector>

#include "tools/plugin_host.h"
#include "tools/presets.h"
#include "tools/render.h"

namespace quellard {

// A row for each parameter with the knobs at start: index, name on the command line, name and value
// as shown, range.
std::string listParameters(const PluginModule& module, const StartingPoint& start);

// A row for each program: number, name, and the knobs of the channel that it selects.
std::string listPrograms(const PluginModule& module);

// A row for each preset: name, its channel and that channel's knobs, what it is good for.
std::string listPresets(const std::vector<Preset>& presets);

// All else that a host can ask: names, versions, identity, abilities, jacks.
std::string describePlugin(const PluginModule& module);

}  // namespace quellard
