// SPDX-License-Identifier: ISC
#include "channels/quellard_ch2.h"

namespace quellard {

constexpr ChannelConstants QuellardCh2::kConstants = {
    .pre = vintage::kPre,
    .post = vintage::kPost,
    .eq = vintage::kEq,
    .power = vintage::kPower,
    .revise = vintage::kRevise,
    .postAndPower = PostAndPower::oversampled,
    .at48k = kR3,
    .elsewhere = kR2,
    .firstShaperCurve = {0.45, 28.8888888888889, 13.0},
    .driveLevel = 1.0,
    .masterScale = 0.56234133,  // -5 dB
    .lowBassRange = 6.0,
};

FirstShaper QuellardCh2::clip;

}  // namespace quellard
