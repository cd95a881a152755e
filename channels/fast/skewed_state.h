// SPDX-License-Identifier: ISC
// What a channel lends to the fast core for the length of a call, as plain arrays: filled from
// the channel's sections before the call and written back after it. No functions stand here, so
// that every instruction set's core can include it.
#pragma once

namespace quellard::fast {

// The sections at the sample rate stand in a rack of four lanes: lane 0 in front of the drive,
// lanes 1 to 3 behind the oversampled loop. A lane runs its four places one after the other.
inline constexpr int kLanes = 4;
inline constexpr int kPlaces = 4;

// All that a channel remembers from sample to sample.
struct Memory {
  double rack1[kPlaces][kLanes];  // state1
  double rack2[kPlaces][kLanes];  // state2
  double first[4];                // of the resampling lowpasses, {up, down, up, down}: s0
  double odd[4];                  // {s1 up, s1 down, s3 up, s3 down}
  double even[4];                 // {s2 up, s2 down, s4 up, s4 down}
  double sections[kLanes];        // state1 of post 0, power 0, power 1; the last one idles
  double split[2];                // {-high, low}
};

// A level that moves in a straight line: start + k * step at sample k.
struct Line {
  double start, step;
};

struct SkewedState {
  // Weights in the order of IIRFilter::coef; where a section glides, those at the glide's start.
  alignas(64) double rackCoef[kPlaces][5][kLanes];
  double rackStep[kPlaces][5][kLanes];  // what they move by in a sample; -0.0: by nothing
  double rackCount[kPlaces][kLanes];    // samples since the glide's start
  double lastPlaceUsed[kLanes];         // all bits set, or none where a lane's last place is empty
  Memory memory;
  double resampleA[5];
  double resampleB[3];
  double sectionsX[kLanes];  // weights of x[n] in post 0, power 0 and power 1
  double sectionsY[kLanes];  // of y[n-1]
  double splitCoef;
  const double* table[4];
  double halfSize;  // of all tables
  Line drive, level;
  int first;  // index of the call's first sample on the two lines
  int overSample;
  bool cascade;  // four tables with sections and a split between them, else a single table
  bool glides;
};

}  // namespace quellard::fast
