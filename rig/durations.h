// SPDX-License-Identifier: ISC
// Durations in frames. Any thread; nothing here allocates.
#pragma once

#include <algorithm>
#include <cmath>

namespace quellard {

// The nearest whole number of frames, 1 to 1e9, so that a fade always has an end. rate: Hz.
inline int framesOf(double seconds, double rate) {
  return static_cast<int>(std::clamp(std::round(seconds * rate), 1.0, 1e9));
}

}  // namespace quellard
