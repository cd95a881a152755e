// SPDX-License-Identifier: ISC
// A table of distortion and level over GAIN, for sines from the end of a note to a hard stroke.
#pragma once

#include <string>

#include "tools/host/plugin_host.h"
#include "tools/settings/settings_options.h"

namespace quellard {

// One row per channel and GAIN at 0, 2.5, 5, 7.5, 10 and its value in `start`; the other knobs have
// their values in `start`. Each row gives, for inputs of -54, -30, -18 and -6 dBFS peak, the
// output's level in dBFS (0 for a full-scale sine) and its total harmonic distortion in %. rate:
// Hz. note_hz: the sine's frequency.
std::string listGains(const PluginModule& module, const StartingPoint& start, int rate,
                      double note_hz);

}  // namespace quellard
