// SPDX-License-Identifier: ISC
// Knob moves that sound the same whatever the host's blocks. The effect glides to a new setting
// over one block, which in its own host is long. Other hosts play blocks of 16 samples, or cut one
// at an event, and a glide over one sample is a click. So outside the effect's own interface a move
// takes a fixed time: the smoother tells the effect in steps of a few samples how far to get, and
// the effect glides from step to step. Which way a knob takes is said in parameter_smoother.cpp.
#pragma once

#include <algorithm>

#include "params/parameter_values.h"

namespace quellard {

class ParameterSmoother {
 public:
  static constexpr double kSeconds = 0.012;  // what a move takes, in whole steps
  // Longer steps would be heard as the glides' own shape, shorter ones redesign the filters more
  // often: six knobs that move all the time cost as much as `scripts/bench` says of this length.
  static constexpr int kStepFrames = 64;

  // Everything below may be called on the audio thread and allocates nothing. Before the first
  // prepare() a move takes one step.

  // rate: Hz, > 0. Moves under way begin anew from where they are.
  void prepare(double rate);

  // All parameters stand at these values and nothing is under way; nothing is told. 0..1 each.
  void jumpTo(const ParameterValues& values);

  // Starts a move from where the parameter stands now. The selector does not move gradually: the
  // effect fades between channels by itself. A move that already leads there goes on. index: 1..19.
  // value: 0..1.
  void moveTo(int index, float value);

  // Plans what to play next of `frames` samples, > 0: tells the values that shall be reached at its
  // end by tell(index, value), and returns its length, 1..frames. Where nothing moves that is all
  // of them, and nothing is told.
  template <typename Tell>
  int nextStep(int frames, const Tell& tell) {
    if (moving_ == 0) return frames;
    const int length = std::min({frames, kStepFrames, framesToNextArrival()});
    for (int index = 1; index <= kNumStoredValues; ++index) {
      Move& move = moves_[index];
      if (!move.isUnderWay) continue;
      advance(index, length);
      tell(index, move.value);
    }
    return length;
  }

 private:
  struct Move {
    float start = 0.0F;
    float value = 0.0F;  // reached at the end of the last step
    float target = 0.0F;
    int framesDone = 0;
    bool isUnderWay = false;
  };

  int framesToNextArrival() const;
  void advance(int index, int frames);

  PerParameter<Move> moves_;
  int moving_ = 0;  // how many are under way
  int moveFrames_ = kStepFrames;
};

}  // namespace quellard
