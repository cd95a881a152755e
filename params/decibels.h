// SPDX-License-Identifier: ISC
// Levels as factors and in decibels. Any thread; nothing here allocates.
#pragma once

#include <cmath>

namespace quellard {

// 20 dB is 10.
inline double gainFromDecibels(double decibels) { return std::pow(10.0, decibels / 20.0); }

// gain: > 0; minus infinity for 0.
inline double decibelsFromGain(double gain) { return 20.0 * std::log10(gain); }

}  // namespace quellard
