// SPDX-License-Identifier: ISC
#include "channels/quellard_ch3.h"

namespace quellard {

constexpr ChannelConstants QuellardCh3::kConstants = {
    .pre = modern::kPre,
    .post = modern::kPost,
    .eq = modern::kEq,
    .power = modern::kPower,
    .revise = modern::kRevise,
    .postAndPower = PostAndPower::oversampled,
    .at48k = kR3,
    .elsewhere = kR4,
    .firstShaperCurve = {0.45, 43.7555555555556, 19.69},
    .driveLevel = 0.501187233,  // -6 dB
    .masterScale = 0.5,         // -6.02 dB
    .lowBassRange = 6.0,
};

FirstShaper QuellardCh3::clip;

}  // namespace quellard
