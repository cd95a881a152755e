// SPDX-License-Identifier: ISC
// An amplifier in this process as a face shows and moves it. Each format adds how its host learns
// of moves. [main thread]
#pragma once

#include "face/face_target.h"
#include "rig/hosted_amp.h"

namespace quellard {

class AmpTarget : public FaceTarget {
 public:
  // amp: outlives the target.
  explicit AmpTarget(HostedAmp& amp) : amp_(amp) {}

  float value(int parameter) const override { return amp_.value(parameter); }

  FaceLevels levels() override {
    return {.inputPeak = amp_.inputPeak(),
            .outputPeak = amp_.outputPeak(),
            .gateIsOpen = amp_.gateIsOpen()};
  }

 protected:
  HostedAmp& amp_;
};

}  // namespace quellard
