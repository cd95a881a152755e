// SPDX-License-Identifier: ISC
#include "rig/parameter_smoother.h"

#include <cmath>

namespace quellard {
namespace {

// A move is linear in the square root of the knob's value, MASTER's in the fourth root, and not in
// the value itself. GAIN acts by its third power and MASTER by its second: when a preset turns one
// up and the other down, moves that are linear in the value are up to 2.2 times as loud half way as
// at either end. With these roots the falling one moves faster at first, and it is at most 1.4
// times. (Roots, because sqrt is rounded correctly everywhere and pow is not.)
bool isMaster(int index) { return (index - 1) % kKnobsPerChannel == kMasterKnob; }

double rootOf(int index, float value) {
  const double root = std::sqrt(static_cast<double>(value));
  return isMaster(index) ? std::sqrt(root) : root;
}

float valueOf(int index, double root) {
  const double square = root * root;
  return static_cast<float>(isMaster(index) ? square * square : square);
}

}  // namespace

void ParameterSmoother::prepare(double rate) {
  constexpr double kMostSteps = 1 << 16;  // limits what absurd rates ask for
  const double steps = std::round(kSeconds * rate / kStepFrames);
  moveFrames_ = kStepFrames * static_cast<int>(std::clamp(steps, 1.0, kMostSteps));
  for (Move& move : moves_) {
    move.start = move.value;
    move.framesDone = 0;
  }
}

void ParameterSmoother::jumpTo(const ParameterValues& values) {
  for (int index = 1; index <= kNumStoredValues; ++index) {
    const float value = values[index];
    moves_[index] = {.start = value, .value = value, .target = value};
  }
  moving_ = 0;
}

void ParameterSmoother::moveTo(int index, float value) {
  Move& move = moves_[index];
  if (value == move.target) return;
  if (!move.isUnderWay) ++moving_;
  move = {.start = move.value, .value = move.value, .target = value, .isUnderWay = true};
}

// A step ends where a move ends, so that every move takes its full time and no longer.
int ParameterSmoother::framesToNextArrival() const {
  int least = moveFrames_;
  for (int knob = 1; knob <= kNumKnobs; ++knob) {
    const Move& move = moves_[knob];
    if (move.isUnderWay) least = std::min(least, moveFrames_ - move.framesDone);
  }
  return least;
}

// The last step sets the target itself, free of rounding; the selector has only this one.
void ParameterSmoother::advance(int index, int frames) {
  Move& move = moves_[index];
  move.framesDone += frames;
  if (move.framesDone >= moveFrames_ || index == kTypeParameter) {
    move.value = move.target;
    move.isUnderWay = false;
    --moving_;
    return;
  }
  const double share = static_cast<double>(move.framesDone) / moveFrames_;
  const double start = rootOf(index, move.start);
  move.value = valueOf(index, start + (rootOf(index, move.target) - start) * share);
}

}  // namespace quellard
