// SPDX-License-Identifier: ISC
// The road of a block through a channel, the same for all three:
//
//   CLEAN    pre, post, power   drive   F x [ up  T0                                down ]  eq ...
//   VINTAGE  pre                drive   F x [ up  T0  post  T1  power  T2  split    down ]  eq ...
//   MODERN   pre                drive   F x [ up  T0  post  T1  power  T2  split    down ]  eq ...
//
// and behind the oversampled loop: tone stack (eq), voicing (revise), DC blocker, output level.
// Whatever plays a stretch of it, plain_chain.h one sample after the other or fast/ many stages at
// once, gives the same bits. [audio thread] Allocates nothing.
#pragma once

#include "channels/amp_channel.h"
#include "channels/power_stage_split.h"

namespace quellard {

// What a channel lends to the chain beside itself.
struct ChainParts {
  const Clipper& drive;    // its first waveshaper
  PowerStageSplit* split;  // null in CLEAN, whose banks all run at the sample rate
};

// A level that moves in a straight line across a block: the first sample plays the level that the
// last block reached, the last sample the target. With one sample it does not move.
struct BlockRamp {
  double start;
  double step;

  BlockRamp(double current, double target, int n)
      : start(current), step((target - current) * (n > 1 ? 1.0 / (n - 1) : 0.0)) {}

  double at(double sample) const { return sample * step + start; }
};

// A part of a block, from sample `first` to before sample `end`.
struct Stretch {
  const double* in;  // of the whole block
  double* out;
  int first;
  int end;
  BlockRamp drive;
  BlockRamp level;
};

// See AmpChannelBase::signalProcess.
void playChannel(AmpChannelBase& channel, const ChainParts& parts, const double* in, double* out,
                 int n);

}  // namespace quellard
