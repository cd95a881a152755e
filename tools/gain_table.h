// SPDX-License-Identifier: ISC
// What GAIN does: distortion and level of a sine, from the end of a note to a hard stroke.
#pragma once

#include <string>

#include "tools/plugin_host.h"
#include "tools/settings_options.h"

namespace quellard {

// A row for each channel with GAIN at 0, 2.5, 5, 7.5, 10 and where start puts it; the other knobs
// stay as start has them. In each row, for input of -54, -30, -18 and -6 dBFS peak, the level of
// what comes out in dBFS (a full-scale sine is 0) and its overtones beside the fundamental in %.
// rate: Hz. note_hz: the sine's frequency.
std::string listGains(const PluginModule& module, const StartingPoint& start, int rate,
                      double note_hz);

}  // namespace quellard
