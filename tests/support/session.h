// SPDX-License-Identifier: ISC
// Random sessions: what hosts and players do to an amplifier, in an order drawn from a seed. The
// same session can be played by the shipped effect and by the plain model.
#pragma once

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "tests/support/signals.h"

namespace quellard::test {

struct SessionStep {
  enum class Kind { rate, parameter, program, block } kind;
  float rate = 0.0f;
  int index = 0;
  float value = 0.0f;
  int frames = 0;
  bool inPlace = false;
};

// What one session is drawn from; Lists hold the choices.
struct SessionPlan {
  std::vector<float> rates = {44100.0f, 48000.0f, 88200.0f, 96000.0f, 176400.0f, 192000.0f};
  std::vector<int> frames = {0, 1, 2, 7, 64, 100, 512, 4096};
  int blocks = 60;
  double level = 0.5;
};

inline std::vector<SessionStep> drawSession(Random& random, const SessionPlan& plan) {
  using Kind = SessionStep::Kind;
  std::vector<SessionStep> steps = {{.kind = Kind::rate, .rate = random.pick(plan.rates)}};
  int steady = 0;  // blocks of one length, as hosts send them
  int frames = 0;
  for (int block = 0; block < plan.blocks; ++block) {
    if (random.chance(0.03)) steps.push_back({.kind = Kind::rate, .rate = random.pick(plan.rates)});
    if (random.chance(0.05)) {
      steps.push_back({.kind = Kind::program, .index = random.integer(0, 15)});
    }
    if (random.chance(0.15)) {
      const std::array<float, 5> selectors = {0.0f, 0.33f, 0.5f, 0.66f, 1.0f};
      steps.push_back({.kind = Kind::parameter, .index = 19, .value = random.pick(selectors)});
    }
    const int moves = random.chance(0.5) ? random.integer(1, 8) : 0;
    for (int i = 0; i < moves; ++i) {
      steps.push_back({.kind = Kind::parameter,
                       .index = random.integer(1, 18),
                       .value = static_cast<float>(random.unit())});
    }
    if (steady == 0) {
      steady = random.integer(1, 6);
      frames = random.chance(0.3) ? random.integer(0, 600) : random.pick(plan.frames);
    }
    --steady;
    steps.push_back({.kind = Kind::block, .frames = frames, .inPlace = random.chance(0.3)});
  }
  return steps;
}

// A guitar as far as an amplifier can tell: plucked notes, some noise, some silence.
inline std::vector<double> drawBlock(Random& random, double level, int frames) {
  const auto length = static_cast<std::size_t>(frames);
  const double which = random.unit();
  if (which < 0.1) return std::vector<double>(length, 0.0);
  if (which < 0.3) return noise(random, level, length);
  return pluckedNote(random, 44100.0, random.between(80.0, 1200.0), level, length);
}

// Plays the session; Player offers setSampleRate, setParameter, setProgram and
// process(in, out, frames). The input depends on the seed alone. Returns all output, end to end.
template <typename Player>
std::vector<double> playSession(Player& player, const std::vector<SessionStep>& steps,
                                std::uint64_t inputSeed, double level) {
  Random random(inputSeed);
  std::vector<double> all;
  for (const SessionStep& step : steps) {
    switch (step.kind) {
      case SessionStep::Kind::rate: player.setSampleRate(step.rate); break;
      case SessionStep::Kind::parameter: player.setParameter(step.index, step.value); break;
      case SessionStep::Kind::program: player.setProgram(step.index); break;
      case SessionStep::Kind::block: {
        std::vector<double> in = drawBlock(random, level, step.frames);
        std::vector<double> other(in.size(), 1e9);
        std::vector<double>& out = step.inPlace ? in : other;
        player.process(in.data(), out.data(), step.frames);
        all.insert(all.end(), out.begin(), out.end());
        break;
      }
    }
  }
  return all;
}

}  // namespace quellard::test
