// SPDX-License-Identifier: ISC
// What VINTAGE and MODERN share: the cascade of four waveshapers inside the oversampled loop, which
// ends in a power stage that sends the lows around its last waveshaper.
#pragma once

#include "channels/signal_chain.h"

namespace quellard {

// The state that the two channels carry beyond a plain one.
struct PowerStageSplit {
  double splitLow = 0.0;   // one-pole lowpass branch
  double splitHigh = 0.0;  // one-pole high branch
  double splitCoef = 0.0;  // the pole of both: 0.7095 at 48000 Hz, else 0.722

  explicit PowerStageSplit(bool at48k) : splitCoef(at48k ? 0.7095 : 0.722) {}

  void clearSplit() { splitLow = splitHigh = 0.0; }
};

// The nonlinear stage of one sub-sample. [audio thread]
class Cascade {
 public:
  Cascade(const AmpChannelBase& channel, const Clipper& drive, PowerStageSplit& split)
      : channel_(channel), drive_(drive), split_(split) {}

  double operator()(double y) const {
    double w = drive_.lookup(y);
    runBank(channel_.postFilters, 0, channel_.postCount, w);
    w = cascadeClip[0].lookup(w);
    runBank(channel_.powerFilters, 0, channel_.powerCount, w);
    return powerStage(cascadeClip[1].lookup(w));
  }

 private:
  // Lows: gain 1.4 at DC. Highs: nothing at DC, gain 2 at half the oversampled rate.
  double powerStage(double p) const {
    const double low = (split_.splitLow - p) * split_.splitCoef + p;
    const double high = (split_.splitHigh + p) * split_.splitCoef + p;
    const double q = cascadeClip[2].lookup(high - split_.splitHigh);
    const double w = ((split_.splitLow + low) * 0.7 + q) * 0.66;
    split_.splitLow = low;
    split_.splitHigh = high;
    return w;
  }

  const AmpChannelBase& channel_;
  const Clipper& drive_;
  PowerStageSplit& split_;
};

}  // namespace quellard
