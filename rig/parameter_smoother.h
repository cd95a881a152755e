// SPDX-License-Identifier: ISC
// Knob moves that sound the same whatever the host's block length. The effect glides to a new value
// over one block, which in its own host is long. Other hosts play blocks of 16 samples, or cut one
// at an event, and a glide over one sample is a click. So for them a move takes a fixed time: the
// smoother gives the effect intermediate values, one every few samples, and the effect glides from
// one to the next. parameter_smoother.cpp says which curve these values follow.
#pragma once

#include <algorithm>

#include "params/parameter_values.h"

namespace quellard {

class ParameterSmoother {
 public:
  // Longer steps become audible, shorter ones cost time, since each redesigns the filters:
  // `scripts/bench --benchmark_filter=hosted` shows what six moving knobs cost with this length.
  static constexpr double kSeconds = 0.012;  // of a move, rounded to whole steps
  static constexpr int kStepFrames = 64;

  // Everything below may be called on the audio thread and allocates nothing. Before the first
  // prepare() a move takes one step.

  // rate: Hz, > 0. Moves under way start again from the value that they have reached.
  void prepare(double rate);

  // Sets all parameters and ends all moves, without calling tell(). values: 0..1.
  void jumpTo(const ParameterValues& values);

  // Starts a move from the present value to this one; one that already leads there goes on. The
  // selector jumps with the next step: the effect fades between channels by itself. index: 1..19.
  // value: 0..1.
  void moveTo(int index, float value);

  // Returns how many of the next `frames` frames (> 0) to play in one piece, 1..frames, and calls
  // tell(index, value) for each moving parameter with the value to be reached at its end. Without a
  // move that is all frames and no call.
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
