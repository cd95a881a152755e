// SPDX-License-Identifier: ISC
// An amplifier in this process as a face shows and moves it. Each format adds how its host learns
// of moves. [main thread]
#pragma once

#include <atomic>
#include <chrono>
#include <utility>

#include "face/face_target.h"
#include "rig/hosted_amp.h"

namespace quellard {

class AmpTarget : public FaceTarget {
 public:
  // amp, preset: outlive the target. preset: the one that the face shows, kept by the plug-in while
  // no window is open; -1 for none.
  AmpTarget(HostedAmp& amp, std::atomic<int>& preset)
      : amp_(amp), preset_(preset), blocks_(amp.measuredBlocks()) {}

  void presetShown(int preset) override { preset_ = preset; }
  int lastPreset() const override { return preset_; }
  float value(int parameter) const override { return amp_.value(parameter); }

  // Silent before the first block since this target was made, whatever peak an earlier window has
  // left, and once no block has come for kStopped. Blocks of more than that (24000 frames at 48
  // kHz) are shown as silent towards their ends.
  FaceLevels levels() override {
    const unsigned blocks = amp_.measuredBlocks();
    if (std::exchange(blocks_, blocks) != blocks) {
      playedAt_ = Clock::now();
      plays_ = true;
    } else if (plays_) {
      plays_ = Clock::now() - playedAt_ < kStopped;
    }
    return {.inputPeak = plays_ ? amp_.inputPeak() : 0.0F,
            .outputPeak = plays_ ? amp_.outputPeak() : 0.0F,
            .gateIsOpen = amp_.gateIsOpen()};
  }

 protected:
  HostedAmp& amp_;

 private:
  std::atomic<int>& preset_;

  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds kStopped{500};

  unsigned blocks_;
  bool plays_ = false;
  Clock::time_point playedAt_;
};

}  // namespace quellard
