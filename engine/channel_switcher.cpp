// SPDX-License-Identifier: ISC
#include "engine/channel_switcher.h"

#include <algorithm>
#include <cmath>

namespace quellard {
namespace {

constexpr double kFadeSeconds = 0.016;
// 16 ms at 65 MHz. Beyond that a nonsensical rate would ask for gigabytes of fade.
constexpr double kLongestFade = 1 << 20;

std::int32_t fadeSamples(double sampleRate) {
  return static_cast<std::int32_t>(
      std::clamp(std::floor(kFadeSeconds * sampleRate), 1.0, kLongestFade));
}

// A NaN that stays is no change, though it differs from itself.
bool hasMoved(float select, float last) {
  return select != last && !(std::isnan(select) && std::isnan(last));
}

}  // namespace

ChannelSwitcher::ChannelSwitcher(double sampleRate, float select)
    : fadeLength(fadeSamples(sampleRate)),
      fadeInGain(std::make_unique<double[]>(static_cast<std::size_t>(fadeLength))),
      fadeOutGain(std::make_unique<double[]>(static_cast<std::size_t>(fadeLength))),
      fadePos(0),
      lastSelect(select),
      fadeState(idle) {
  const double r = 1.0 / fadeLength;
  for (std::int32_t k = 0; k < fadeLength; ++k) {
    const auto i = static_cast<std::size_t>(k);
    fadeInGain[i] = r * k;
    fadeOutGain[i] = (fadeLength - k) * r;
  }
}

int ChannelSwitcher::fillGain(float select, int n, double* gain) {
  // From its silent sample on, a fade-in belongs to the channel that was chosen there.
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

// Copies what is left of one half, as far as there is room, and enters the next state at its end.
int ChannelSwitcher::fillFade(const double* fade, FadeState next, int room, double* gain) {
  const int count = std::clamp(fadeLength - fadePos, 0, std::max(room, 0));
  std::copy_n(fade + fadePos, count, gain);
  fadePos += count;
  if (fadePos == fadeLength) {
    fadeState = next;
    fadePos = 0;
  }
  return count;
}

}  // namespace quellard
