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
  // Blocks of up to this length play without allocation and in one piece where a host does not say
  // how long its blocks are. It is the longest period of JACK.
  static constexpr int kUnannouncedFrames = 8192;

  // Throws std::bad_alloc, and std::invalid_argument for a rate that is none. rate: Hz.
  Lv2Plugin(const Lv2Variant& variant, double rate, int maxFrames);

  // port: as identity.h numbers them, others are left alone. data: one float for a control, a
  // block's worth for audio. Null is allowed: a knob then keeps its value, as it does where the
  // float is NaN, an input is silent, the amplifier is switched on.
  void connect(std::uint32_t port, void* data);

  // As if new; the knobs stay. [audio thread]
  void activate() { amp_.reset(); }

  // Takes over the controls that moved since the last run and plays a block. [audio thread] Never
  // allocates.
  void run(std::uint32_t frames);

 private:
  void readControls();

  HostedAmp amp_;
  std::array<const float*, kLv2ControlPorts> controls_{};
  std::array<float, kLv2ControlPorts> seen_{};  // NaN before the first run
  const float* enabled_ = nullptr;
  std::array<float*, HostedAmp::kStereo> inputs_{};
  std::array<float*, HostedAmp::kStereo> outputs_{};
};

}  // namespace quellard
