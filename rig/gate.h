// SPDX-License-Identifier: ISC
// A noise gate for an amplifier with much gain. It listens to the dry guitar, where a note and the
// noise between notes are far apart, and turns down what comes out of the amplifier, where gain has
// brought both to nearly the same level.
//
// The level that it follows is the mean square over about 5 ms, so that neither the peaks of noise
// nor the zero crossings of a low string move it. Above the threshold the gain rises to 1 within
// half a millisecond. The gate begins to close once the level has stayed 6 dB below the threshold
// for 80 ms, longer than the beats of a chord take, and then falls by 60 dB in 100 ms.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

namespace quellard {

class Gate {
 public:
  // rate: Hz, > 0. maxFrames: the longest block, > 0. The gate then is closed, or open where it is
  // off. Allocates.
  void prepare(double rate, int maxFrames);
  // Back to silence: closed, or open where it is off. [audio thread]
  void reset();

  // The level at which the gate opens, as a factor of full scale (a sine's peak); 0 switches
  // the gate off: it then opens and stays open. [audio thread]
  void setThreshold(double level);

  // Measures a block of the dry guitar and computes a gain for each frame. sides: an array of
  // samples each; the louder one counts, so that both sides of a stereo signal are turned alike.
  // What is not finite counts as silence. frames: up to maxFrames. [audio thread] Never allocates.
  void detect(std::span<double* const> sides, int frames);

  // Nothing has to be applied: the gate was open for the whole block.
  bool isNeutral() const { return isNeutral_; }
  void apply(double* samples, int frames) const;

  // For how many frames the gate was closed, since prepare(). [audio thread]
  std::int64_t closedFrames() const { return closedFrames_; }

  // Whether the signal passes, for display. [any thread]
  bool isOpen() const { return isOpen_.load(std::memory_order_relaxed); }

 private:
  double nextGain(double square);

  // Per frame, as the rate makes them.
  double meanStep_ = 1.0;    // of the mean square
  double attackStep_ = 1.0;  // of the gain, upwards
  double releaseFactor_ = 0.0;
  int holdFrames_ = 1;

  double openSquare_ = 0.0;  // mean squares; 0 while the gate is off
  double closeSquare_ = 0.0;
  double meanSquare_ = 0.0;
  double gain_ = 1.0;
  int quietFrames_ = 0;  // how long it has been quiet
  std::int64_t closedFrames_ = 0;
  bool isNeutral_ = true;
  std::vector<double> gains_;
  std::atomic<bool> isOpen_ = true;
};

}  // namespace quellard
