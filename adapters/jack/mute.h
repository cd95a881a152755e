// SPDX-License-Identifier: ISC
// Mutes the output without a click, by fades of 10 ms.
#pragma once

#include <algorithm>
#include <atomic>

namespace quellard {

class Mute {
 public:
  static constexpr double kFadeSeconds = 0.010;

  // rate: Hz, > 0. Not while process() runs.
  void prepare(double rate) { step_ = static_cast<float>(1.0 / (kFadeSeconds * rate)); }

  // [any thread]
  void set(bool muted) { muted_ = muted; }

  // Fades the channels in place; unmuted they keep every bit. [audio thread]
  void process(float* const* channels, int count, unsigned frames) {
    const float target = muted_ ? 0.0F : 1.0F;
    if (gain_ == target && target == 1.0F) return;
    for (unsigned i = 0; i < frames; ++i) {
      gain_ += std::clamp(target - gain_, -step_, step_);
      for (int channel = 0; channel < count; ++channel) channels[channel][i] *= gain_;
    }
  }

 private:
  std::atomic<bool> muted_ = false;
  float gain_ = 1.0F;
  float step_ = 1.0F;
};

}  // namespace quellard
