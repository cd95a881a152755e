// SPDX-License-Identifier: ISC
// A level that is turned without steps: the input trim and the output level.
#pragma once

namespace quellard {

class Level {
 public:
  static constexpr double kMoveSeconds = 0.012;  // as long as a knob of the amplifier takes

  // rate: Hz, > 0. A move under way is over.
  void prepare(double rate);

  // Everything below is for the audio thread and allocates nothing. gain: a factor, > 0.

  void jumpTo(double gain);
  // Begins a move, linear in the gain. One that already leads there goes on.
  void moveTo(double gain);

  // Samples stay as they are: apply() may be left out.
  bool isNeutral() const { return target_ == 1.0 && framesLeft_ == 0; }

  void apply(double* samples, int frames) const;
  // Moves on by these frames, once all sides are processed.
  void advance(int frames);

 private:
  double gainAt(int frame) const;

  double start_ = 1.0;
  double target_ = 1.0;
  int moveFrames_ = 1;
  int framesLeft_ = 0;  // of the move, the present frame included
};

}  // namespace quellard
