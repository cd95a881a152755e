// SPDX-License-Identifier: ISC
// The state that VINTAGE and MODERN carry and CLEAN does not: their power stage sends the lows
// around its last waveshaper.
#pragma once

namespace quellard {

struct PowerStageSplit {
  double splitLow = 0.0;   // one-pole lowpass branch: gain 1.4 at DC
  double splitHigh = 0.0;  // one-pole high branch: nothing at DC, gain 2 at half the rate
  double splitCoef = 0.0;  // the pole of both: 0.7095 at 48000 Hz, else 0.722

  explicit PowerStageSplit(bool at48k) : splitCoef(at48k ? 0.7095 : 0.722) {}

  void clearSplit() { splitLow = splitHigh = 0.0; }
};

}  // namespace quellard
