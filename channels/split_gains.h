// SPDX-License-Identifier: ISC
// How the power stage mixes its two branches. Constants alone, for the reason that ramp.h gives.
#pragma once

namespace quellard {

inline constexpr double kSplitLowGain = 0.7;   // of the low branch, twice its level: 1.4 at DC
inline constexpr double kSplitMixGain = 0.66;  // of the low branch and the shaped high one together

}  // namespace quellard
