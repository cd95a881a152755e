// SPDX-License-Identifier: ISC
#include "channels/quellard_ch1.h"

namespace quellard {

constexpr ChannelConstants QuellardCh1::kConstants = {
    .pre = clean::kPre,
    .post = clean::kPost,
    .eq = clean::kEq,
    .power = clean::kPower,
    .revise = clean::kRevise,
    .postAndPower = PostAndPower::atSampleRate,
    .at48k = kR1,
    .elsewhere = kR2,
    .firstShaperCurve = {0.98, 83.9795918367347, 82.3},
    .driveLevel = 1.0,
    .masterScale = 7.07945784,  // +17 dB
    .lowBassRange = 5.0,
};

FirstShaper QuellardCh1::clip;

}  // namespace quellard
