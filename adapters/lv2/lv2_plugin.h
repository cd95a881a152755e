// SPDX-License-Identifier: ISC
// An instance of the LV2 plug-in: the amplifier with its ports.
#pragma once

#include <array>
#include <cstdint>

#include "adapters/lv2/identity.h"
#include "rig/hosted_amp.h"

namespace quellard {

class Lv2Plugin {
 public:
  // The block length to prepare for where a host does not announce one: the longest period of JACK.
  // Longer blocks are played in several pieces.
  static constexpr int kUnannouncedFrames = 8192;

  // Throws std::bad_alloc, and std::invalid_argument for a rate that is not positive and finite.
  // rate: Hz.
  Lv2Plugin(const Lv2Variant& variant, double rate, int maxFrames);

  // port: numbered as in identity.h; others are ignored. data: one float for a control, a block of
  // them for audio. Null is allowed: the parameter then keeps its value, as it does where the float
  // is NaN, an input reads as silence, and the amplifier is enabled. Levels are measured while a
  // port that reports them is connected.
  void connect(std::uint32_t port, void* data);

  // Starts from silence and keeps the parameters. [audio thread]
  void activate() { amp_.reset(); }

  // Adopts the controls that have moved since the last run and plays a block. [audio thread] Never
  // allocates.
  void run(std::uint32_t frames);

 private:
  // In decibels, which cost a logarithm: it is taken only where the peak is another.
  class PeakReport {
   public:
    float decibels(float peak);

   private:
    float peak_ = 0.0F;
    float decibels_ = kLv2LowestPeak_db;
  };

  void readControls();
  void writeReports();

  HostedAmp amp_;
  PerParameter<const float*, kNumHostedValues> controls_;
  HostedValues seen_;  // the controls' values at the last run, NaN before the first
  const float* enabled_ = nullptr;
  std::array<float*, HostedAmp::kStereo> inputs_{};
  std::array<float*, HostedAmp::kStereo> outputs_{};
  std::array<float*, kNumLv2Reports> reports_{};
  PeakReport inputPeak_;
  PeakReport outputPeak_;
};

}  // namespace quellard
