// SPDX-License-Identifier: ISC
#include "engine/channel_switcher.h"

#include <algorithm>
#include <cmath>

#include "params/sizes.h"

namespace quellard {
namespace {

constexpr double kFadeSeconds = 0.016;
// 16 ms at 65 MHz. Beyond that a nonsensical rate would ask for gigabytes of fade.
constexpr double kLongestFade = 1 << 20;

std::int32_t fadeSamples(double sampleRate) {
  return static_cast<std::int32_t>(
      std::clamp(std::floor(kFadeSeconds * sampleRate), 1.0, kLongestFade));
}

std::unique_ptr<double[]> makeFade(std::int32_t samples) {
  return std::make_unique<double[]>(asSize(samples));
}

// NaN != NaN; a selector that stays NaN must not start a fade every block.
bool hasMoved(float select, float last) {
  return select != last && !(std::isnan(select) && std::isnan(last));
}

}  // namespace

ChannelSwitcher::ChannelSwitcher(double sampleRate, float select)
    : fadeLength(fadeSamples(sampleRate)),
      fadeInGain(makeFade(fadeLength)),
      fadeOutGain(makeFade(fadeLength)),
      fadePos(0),
      lastSelect(select),
      fadeState(idle) {
  const double r = 1.0 / fadeLength;
  for (std::int32_t k = 0; k < fadeLength; ++k) {
    fadeInGain.get()[k] = r * k;
    fadeOutGain.get()[k] = (fadeLength - k) * r;
  }
}

int ChannelSwitcher::fillGain(float select, int n, double* gain) {
  // The incoming channel has been chosen at the silent sample.
  const bool incomingIsChosen = fadeState == fadingIn && fadePos > 0;
  if (fadeState == idle && hasMoved(select, lastSelect)) fadeState = fadingOut;

  int done = 0;
  if (fadeState == fadingOut) done += fillFade(fadeOutGain.get(), fadingIn, n, gain);
  const int switchPoint = fadeState == fadingIn && fadePos == 0 ? done : n;
  if (fadeState == fadingIn) done += fillFade(fadeInGain.get(), idle, n - done, gain + done);
  if (done < n) std::fill(gain + done, gain + n, 1.0);

  if (!incomingIsChosen) lastSelect = select;
  return switchPoint;
}

// Copies what is left of one half, at most `frames` samples, and enters the next state at its end.
int ChannelSwitcher::fillFade(const double* fade, FadeState next, int frames, double* gain) {
  const int count = std::clamp(fadeLength - fadePos, 0, std::max(frames, 0));
  std::copy_n(fade + fadePos, count, gain);
  fadePos += count;
  if (fadePos == fadeLength) {
    fadeState = next;
    fadePos = 0;
  }
  return count;
}

}  // namespace quellard
