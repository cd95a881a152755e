// SPDX-License-Identifier: ISC
// The state that VINTAGE and MODERN carry and CLEAN does not. Their power stage follows the third
// waveshaper, T2; the filters named power lie before that one. It splits the signal: the highs go
// through a fourth waveshaper, T3, the lows around it.
#pragma once

namespace quellard {

struct PowerStageSplit {
  double splitLow = 0.0;   // one-pole lowpass, put out as 0.7 (this + the one before): 1.4 at DC
  double splitHigh = 0.0;  // one-pole, put out as this - the one before: 0 at DC
  double splitCoef = 0.0;  // the pole of both: 0.7095 at a sample rate of 48000 Hz, else 0.722

  explicit PowerStageSplit(bool at48k) : splitCoef(at48k ? 0.7095 : 0.722) {}

  void clearSplit() { splitLow = splitHigh = 0.0; }
};

}  // namespace quellard
