// SPDX-License-Identifier: ISC
// Random sessions of what hosts and players do to an amplifier. A session depends on its seed
// alone, so that several amplifiers can play the same one.
#pragma once

#include <array>
#include <vector>

#include "tests/support/signals.h"

namespace quellard::test {

struct SessionPlan {
  std::vector<float> rates = {44100.0f, 48000.0f, 88200.0f, 96000.0f, 176400.0f, 192000.0f};
  std::vector<int> frames = {0, 1, 2, 7, 64, 100, 512, 4096};
  int blocks = 60;
  double level = 0.5;
  std::vector<double> odd = {};  // values that replace a few samples of the input
};

// Guitar-like input: plucked notes, sometimes noise or silence.
inline std::vector<double> drawBlock(Random& random, double level, int frames) {
  const auto length = static_cast<std::size_t>(frames);
  const double which = random.unit();
  if (which < 0.1) return std::vector<double>(length, 0.0);
  if (which < 0.3) return noise(random, level, length);
  return pluckedNote(random, 44100.0, random.between(80.0, 1200.0), level, length);
}

// The changes between two blocks. Player: see playSession.
template <typename Player>
void drawMoves(Random& random, const SessionPlan& plan, Player& player) {
  if (random.chance(0.03)) player.setSampleRate(random.pick(plan.rates));
  if (random.chance(0.05)) player.setProgram(random.integer(0, 15));
  const std::array<float, 5> selectors = {0.0f, 0.33f, 0.5f, 0.66f, 1.0f};
  if (random.chance(0.15)) player.setParameter(19, random.pick(selectors));
  for (int moves = random.chance(0.5) ? random.integer(1, 8) : 0; moves > 0; --moves) {
    const int knob = random.integer(1, 18);
    player.setParameter(knob, static_cast<float>(random.unit()));
  }
}

// Player offers setSampleRate, setParameter, setProgram and process(in, out, frames). Returns all
// output, end to end.
template <typename Player>
std::vector<double> playSession(Player& player, std::uint64_t seed, const SessionPlan& plan) {
  Random random(seed);
  std::vector<double> all;
  player.setSampleRate(random.pick(plan.rates));
  int steady = 0;  // blocks of one length, as hosts send them
  int frames = 0;
  for (int block = 0; block < plan.blocks; ++block) {
    drawMoves(random, plan, player);
    if (steady-- == 0) {
      steady = random.integer(0, 5);
      frames = random.chance(0.3) ? random.integer(0, 600) : random.pick(plan.frames);
    }
    std::vector<double> in = drawBlock(random, plan.level, frames);
    for (std::size_t i = 0; i < in.size() && !plan.odd.empty(); ++i) {
      if (random.chance(0.003)) in[i] = random.pick(plan.odd);
    }
    std::vector<double> other(in.size(), 1e9);
    std::vector<double>& out = random.chance(0.3) ? in : other;
    player.process(in.data(), out.data(), frames);
    all.insert(all.end(), out.begin(), out.end());
  }
  return all;
}

}  // namespace quellard::test
