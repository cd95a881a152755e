// SPDX-License-Identifier: ISC
// A cabinet as it was measured: what its microphone hears of one click. Not for the audio thread.
#pragma once

#include <vector>

namespace quellard {

// At the rate that it is to be played at. One side, or left and right, of equal length.
struct ImpulseResponse {
  double rate;  // Hz, > 0
  std::vector<std::vector<double>> sides;
};

// What is beyond is of the room, not of the cabinet; the end before is faded out.
inline constexpr double kLongestResponse_s = 1.0;

// Makes a response ready for an amplifier with that many sides: two play left and right, any other
// number plays their mean. Cuts it to kLongestResponse_s, the last tenth of that faded, and brings
// it to the level at which pink noise is as loud through it as without it: the mean of the sides'
// power, weighted as for the loudness of ITU-R BS.1770 from 20 Hz to 20 kHz. Throws
// std::invalid_argument with a reason ("nothing is heard of it within a second") for a response
// without samples, with samples that are not finite, or without anything to hear.
ImpulseResponse preparedResponse(ImpulseResponse response, int sides);

}  // namespace quellard
