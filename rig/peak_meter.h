// SPDX-License-Identifier: ISC
// How loud a signal just was, for meters: the audio thread raises a peak, which is held long enough
// for a meter that is drawn 30 times a second to see it, and then falls.
#pragma once

#include <algorithm>
#include <atomic>
#include <cmath>
#include <span>

namespace quellard {

class PeakMeter {
 public:
  static constexpr double kHoldSeconds = 0.1;
  static constexpr double kFallSeconds = 0.1;  // to a tenth

  // rate: Hz, > 0. Not while process() runs.
  void prepare(double rate) {
    holdFrames_ = static_cast<int>(kHoldSeconds * rate);
    fallPerFrame_ = std::log(0.1) / (kFallSeconds * rate);
    clear();
  }

  void clear() { peak_.store(0.0F, std::memory_order_relaxed); }

  // sides: arrays of this many samples, heard at the same time. NaN counts as silence. [audio
  // thread] Never allocates.
  void process(std::span<const double* const> sides, int frames) {
    double highest = 0.0;
    for (const double* const samples : sides) {
      for (int i = 0; i < frames; ++i) {
        const double magnitude = std::fabs(samples[i]);
        highest = magnitude > highest ? magnitude : highest;
      }
    }
    blocks_.store(blocks_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    const auto heard = static_cast<float>(std::min(highest, 1e30));
    const float now = peak_.load(std::memory_order_relaxed);
    if (heard >= now) {
      age_ = 0;
      peak_.store(heard, std::memory_order_relaxed);
      return;
    }
    age_ = std::min(age_ + frames, 1 << 24);
    if (age_ < holdFrames_) return;
    const double fallen = static_cast<double>(now) * std::exp(fallPerFrame_ * frames);
    peak_.store(fallen > 1e-6 ? std::max(static_cast<float>(fallen), heard) : heard,
                std::memory_order_relaxed);
  }

  // The largest magnitude of the last moment; full scale is 1. [any thread]
  float peak() const { return peak_.load(std::memory_order_relaxed); }
  // How many blocks were heard: where it stands still, so does the peak. [any thread]
  unsigned blocks() const { return blocks_.load(std::memory_order_relaxed); }

 private:
  std::atomic<unsigned> blocks_ = 0;
  std::atomic<float> peak_ = 0.0F;
  int age_ = 0;  // of the peak, frames
  int holdFrames_ = 0;
  double fallPerFrame_ = 0.0;
};

}  // namespace quellard
