// SPDX-License-Identifier: ISC
// What the signal meets around the amplifier: in front of it the input trim and the gate's
// detector, behind it the gate's gain, the cabinet and the output level. For one or two sides that
// play at the same time.
#pragma once

#include <span>

#include "params/decibels.h"
#include "rig/cabinet/cabinet.h"
#include "rig/gate.h"
#include "rig/level.h"
#include "rig/rig_parameters.h"

namespace quellard {

class RigChain {
 public:
  // rate: Hz, > 0. maxFrames: the longest block, > 0. Allocates.
  void prepare(double rate, int maxFrames);

  // To load a response into, after prepare(), while this plays or not. [not the audio thread]
  Cabinet& cabinet() { return cabinet_; }

  // Everything below is for the audio thread and allocates nothing.

  // Takes the parameters kInputParameter to kOutputParameter of these: at once, with a cleared
  // gate and cabinet, or from the next block on in a move of 12 ms.
  void jumpTo(const HostedValues& values);
  void moveTo(const HostedValues& values);

  // sides: an array of samples each. What is finite is limited to +-kLoudestInput for the
  // amplifier; for what is not, the effect plays silence.
  void processInput(std::span<double* const> sides, int frames);
  void processOutput(std::span<double* const> sides, int frames);

  // For how many frames the gate was closed, since prepare().
  std::int64_t gateClosedFrames() const { return gate_.closedFrames(); }

  // Whether the gate lets the signal through. [any thread]
  bool gateIsOpen() const { return gate_.isOpen(); }

 private:
  static double gainOf(float value) { return gainFromDecibels(levelFromValue_db(value)); }
  void setThreshold(float value);

  Level input_;
  Gate gate_;
  Cabinet cabinet_;
  Level output_;
  HostedValues values_ = defaultHostedValues();  // as last taken
};

}  // namespace quellard
