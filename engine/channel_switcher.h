// SPDX-License-Identifier: ISC
// The channel switch: 16 ms of fade-out, then 16 ms of fade-in, whose first sample is silent: there
// the incoming channel takes over.
#pragma once

#include <cstdint>
#include <memory>

namespace quellard {

class ChannelSwitcher {
 public:
  // sampleRate: Hz. select: the selector's value now, 0..1. Allocates both fades.
  ChannelSwitcher(double sampleRate, float select);

  // Takes a selector value as seen, so that it starts no switch. [audio thread]
  void adopt(float select) { lastSelect = select; }

  // Writes one gain per sample and moves the fade on. n below 1 writes nothing.
  // Start: a selector that differs from the recorded value, even by less than a channel, starts a
  // switch if none is running.
  // Choice: the first gain of the fade-in is 0. There the channel takes over that this block's
  // selector names. Returns where that sample stands in this block, n if it does not.
  // Later moves: a block records the selector's value unless it begins after that sample. Then the
  // value that chose the channel stays recorded, and the first block without a fade sees what has
  // moved since. So once the selector rests, its channel plays. [audio thread]
  int fillGain(float select, int n, double* gain);

  enum FadeState : std::int32_t { idle = 0, fadingOut = 1, fadingIn = 2 };

  std::int32_t fadeLength;                // samples in each half, at least 1
  std::unique_ptr<double[]> fadeInGain;   // 0, 1/N, ..., (N-1)/N
  std::unique_ptr<double[]> fadeOutGain;  // 1, (N-1)/N, ..., 1/N
  std::int32_t fadePos;
  float lastSelect;
  std::int32_t fadeState;

 private:
  int fillFade(const double* fade, FadeState next, int frames, double* gain);
};

}  // namespace quellard
