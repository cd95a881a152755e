// SPDX-License-Identifier: ISC
#include "rig/level.h"

#include <algorithm>
#include <cmath>

#include "rig/durations.h"

namespace quellard {

void Level::prepare(double rate) {
  moveFrames_ = framesOf(kMoveSeconds, rate);
  jumpTo(target_);
}

void Level::jumpTo(double gain) {
  start_ = target_ = gain;
  framesLeft_ = 0;
}

void Level::moveTo(double gain) {
  if (gain == target_) return;
  start_ = gainAt(0);
  target_ = gain;
  framesLeft_ = moveFrames_;
}

// The last frame of a move has the target's own bits.
double Level::gainAt(int frame) const {
  const int left = framesLeft_ - 1 - frame;
  if (left <= 0) return target_;
  return target_ + (start_ - target_) * (static_cast<double>(left) / moveFrames_);
}

void Level::apply(double* samples, int frames) const {
  const int moving = std::min(frames, framesLeft_);
  for (int i = 0; i < moving; ++i) samples[i] *= gainAt(i);
  for (int i = moving; i < frames; ++i) samples[i] *= target_;
}

void Level::advance(int frames) { framesLeft_ -= std::min(frames, framesLeft_); }

}  // namespace quellard
