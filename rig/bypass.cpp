// SPDX-License-Identifier: ISC
#include "rig/bypass.h"

#include <algorithm>
#include <cmath>

#include "rig/durations.h"

namespace quellard {

void Bypass::prepare(double rate) {
  const bool dry = position_ == fadeFrames_;
  fadeFrames_ = framesOf(kFadeSeconds, rate);
  jumpTo(dry);
}

int Bypass::positionAfter(bool engaged, int frames) const {
  return engaged ? position_ + std::min(frames, fadeFrames_ - position_)
                 : position_ - std::min(frames, position_);
}

// At either end one signal is taken unmixed: 0 times an infinite sample would be NaN.
void Bypass::mix(bool engaged, const double* dry, double* wet, int frames) const {
  for (int i = 0; i < frames; ++i) {
    const int position = positionAfter(engaged, i);
    if (position == 0) continue;
    const double share = static_cast<double>(position) / fadeFrames_;
    wet[i] = position == fadeFrames_ ? dry[i] : wet[i] + (dry[i] - wet[i]) * share;
  }
}

void Bypass::advance(bool engaged, int frames) { position_ = positionAfter(engaged, frames); }

}  // namespace quellard
