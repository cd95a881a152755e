// SPDX-License-Identifier: ISC
// The signal chain of a channel, the same for all three:
//
//   CLEAN    pre, post, power   drive   F x [ up  T0                                down ]  eq ...
//   VINTAGE  pre                drive   F x [ up  T0  post  T1  power  T2  split    down ]  eq ...
//   MODERN   pre                drive   F x [ up  T0  post  T1  power  T2  split    down ]  eq ...
//
// T0 to T2 are waveshapers; the split holds a fourth, T3. Up and down are the resampling lowpasses
// around F sub-samples per sample. After this oversampled part follow the tone stack (eq), the
// output EQ (revise), the DC blocker and the output level.
//
// scalar_chain.h plays it one sample after the other, fast/ many stages at once (a software
// pipeline); the bits are the same. [audio thread] Allocates nothing.
#pragma once

#include "channels/amp_channel.h"
#include "channels/power_stage_split.h"
#include "channels/ramp.h"

namespace quellard {

// What the chain needs of a channel beside AmpChannelBase.
struct ChainParts {
  const Clipper& firstShaper;  // T0
  PowerStageSplit* split;      // null in CLEAN, whose filters all run at the sample rate
};

// A part of a block, from sample `begin` to before sample `end`. Pointers and ramps are those of
// the whole block.
struct Segment {
  const double* in;
  double* out;
  int begin;
  int end;
  Ramp drive;
  Ramp level;
};

// See AmpChannelBase::signalProcess.
void playChannel(AmpChannelBase& channel, const ChainParts& parts, const double* in, double* out,
                 int n);

}  // namespace quellard
