// SPDX-License-Identifier: ISC
// A channel packed for the pipeline: coefficients, glides and state of its sections in arrays that
// load as vectors. Records without functions, for the reason that ramp.h gives.
#pragma once

#include "channels/ramp.h"

namespace quellard::fast {

// The sections at the sample rate are a cascade in four vector lanes of up to four sections each:
// lane 0 runs before the drive; lanes 1, 2 and 3, one after the other, after the oversampled part.
inline constexpr int kLanes = 4;
inline constexpr int kSectionsPerLane = 4;

// The states of all filters. How far a section has glided is in PackedChannel.
struct PackedState {
  double biquad1[kSectionsPerLane][kLanes];  // IIRFilter::state1
  double biquad2[kSectionsPerLane][kLanes];  // IIRFilter::state2
  // States s0 to s4 of the two resampling lowpasses, up beside down.
  double s0[4];               // {s0 up, s0 down} twice
  double s13[4];              // {s1 up, s1 down, s3 up, s3 down}
  double s24[4];              // {s2 up, s2 down, s4 up, s4 down}
  double interstage[kLanes];  // state1 of post 0, power 0 and power 1; the last lane is idle
  double split[2];            // {-splitHigh, splitLow}
};

struct PackedChannel {
  // In the order of IIRFilter::coef; of a section that glides, those at the start of its glide.
  alignas(64) double biquadCoef[kSectionsPerLane][5][kLanes];
  double biquadStep[kSectionsPerLane][5]
                   [kLanes];  // their change per sample; -0.0 for none: x + -0.0 is x, bit by bit
  double glideCount[kSectionsPerLane][kLanes];  // samples since the start of the glide
  // All bits set; none in lanes 1 to 3 where the last section is missing. In lane 0 sections that
  // pass x on take the place of missing ones.
  double lastSectionUsed[kLanes];
  PackedState state;
  double resampleA[5];
  double resampleB[3];         // the other three are the same backwards
  double interstageX[kLanes];  // weights of x[n] in post 0, power 0 and power 1
  double interstageY[kLanes];  // weights of y[n-1]
  double splitCoef;
  const double* table[4];
  double halfSize;  // of all tables
  Ramp drive, level;
  int rampOffset;  // index of the segment's first sample on the two ramps
  int overSample;
  bool multistage;  // four waveshapers with filters and a split between them, else a single one
  bool glides;      // whether any section does
};

}  // namespace quellard::fast
