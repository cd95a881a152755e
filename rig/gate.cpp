// SPDX-License-Identifier: ISC
#include "rig/gate.h"

#include <algorithm>
#include <cmath>

#include "params/decibels.h"
#include "params/sizes.h"
#include "rig/samples.h"

namespace quellard {
namespace {

constexpr double kMeanSeconds = 0.005;
constexpr double kAttackSeconds = 0.0005;
constexpr double kHoldSeconds = 0.080;
constexpr double kReleaseSeconds = 0.100;  // for kReleaseDecibels
constexpr double kReleaseDecibels = 60.0;
constexpr double kHysteresisDecibels = 6.0;
constexpr double kClosedGain = 1e-6;  // -120 dB, and from there on silence

// A mean square this far below any threshold is 0, before it becomes a denormal number.
constexpr double kNoSquare = 1e-20;

}  // namespace

void Gate::prepare(double rate, int maxFrames) {
  gains_.resize(asSize(maxFrames));  // first, as it may throw
  meanStep_ = 1.0 - std::exp(-1.0 / (kMeanSeconds * rate));
  attackStep_ = std::min(1.0 / (kAttackSeconds * rate), 1.0);
  releaseFactor_ = gainFromDecibels(-kReleaseDecibels / (kReleaseSeconds * rate));
  holdFrames_ = static_cast<int>(std::clamp(kHoldSeconds * rate, 1.0, 1e9));
  closedFrames_ = 0;
  reset();
}

void Gate::reset() {
  meanSquare_ = 0.0;
  gain_ = openSquare_ > 0.0 ? 0.0 : 1.0;
  quietFrames_ = holdFrames_;
  isNeutral_ = gain_ == 1.0;
  isOpen_.store(isNeutral_, std::memory_order_relaxed);
}

// A sine's mean square is half the square of its peak.
void Gate::setThreshold(double level) {
  const double hysteresis = gainFromDecibels(-kHysteresisDecibels);
  openSquare_ = level * level / 2.0;
  closeSquare_ = openSquare_ * hysteresis * hysteresis;
}

double Gate::nextGain(double square) {
  meanSquare_ += (square - meanSquare_) * meanStep_;
  if (meanSquare_ < kNoSquare) meanSquare_ = 0.0;
  const bool isOpen = quietFrames_ < holdFrames_;
  if (meanSquare_ > (isOpen ? closeSquare_ : openSquare_)) {
    quietFrames_ = 0;
  } else if (isOpen) {
    ++quietFrames_;
  }
  if (quietFrames_ < holdFrames_) return std::min(gain_ + attackStep_, 1.0);
  const double fallen = gain_ * releaseFactor_;
  return fallen > kClosedGain ? fallen : 0.0;
}

void Gate::detect(std::span<double* const> sides, int frames) {
  if (openSquare_ == 0.0) quietFrames_ = 0;  // switched on, it begins open, with its whole hold
  if (openSquare_ == 0.0 && gain_ == 1.0) {
    isNeutral_ = true;
    isOpen_.store(true, std::memory_order_relaxed);
    return;
  }
  isNeutral_ = gain_ == 1.0;
  for (int i = 0; i < frames; ++i) {
    double square = 0.0;
    for (const double* samples : sides) {
      const double x = samples[i];
      if (std::isfinite(x)) square = std::max(square, x * x);
    }
    gain_ = openSquare_ > 0.0 ? nextGain(square) : std::min(gain_ + attackStep_, 1.0);
    at(gains_, i) = gain_;
    isNeutral_ = isNeutral_ && gain_ == 1.0;
    closedFrames_ += quietFrames_ < holdFrames_ ? 0 : 1;
  }
  isOpen_.store(quietFrames_ < holdFrames_ || openSquare_ == 0.0, std::memory_order_relaxed);
}

void Gate::apply(double* samples, int frames) const {
  for (int i = 0; i < frames; ++i) samples[i] *= at(gains_, i);
}

}  // namespace quellard
