// SPDX-License-Identifier: ISC
// What the knobs do to the filters: the fitted polynomials of a passive tone stack and of the
// input shelf, and the retunes they lead to. Audio thread, under the effect's lock; no allocation.
#pragma once

#include "channels/amp_channel.h"

namespace quellard {

// Knobs after their tapers, 0..1. Outside that the polynomials extrapolate, and designFilter
// replaces a Q or a frequency outside its range.
struct ToneKnobs {
  double treble;
  double mid;
  double bass;
  double presence;
};

// Retunes tone-stack sections 0 to 5 with a glide over n samples. lowBassRange: dB, the low bass
// peak moves from -range to +range over the BASS knob.
void retuneToneStack(AmpChannelBase& channel, const ToneKnobs& knobs, double lowBassRange, int n);

// Retunes the input shelf, which cuts bass before the drive: at DC by 37 dB without gain, by 10 dB
// at full gain. Its corner rises with the gain.
void retuneInputShelf(AmpChannelBase& channel, double gain, int n);

// The output level at full MASTER, before the channel's own make-up: -1 dB.
inline constexpr double kMasterLevel = 0.8912509381337455;

}  // namespace quellard
