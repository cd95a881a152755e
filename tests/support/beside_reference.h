// SPDX-License-Identifier: ISC
// The effect and the reference in parallel: every call goes to both, and every block must have the
// same bits.
#pragma once

#include <vector>

#include "tests/reference/reference_amplifier.h"
#include "tests/support/opened_effect.h"
#include "tests/support/same_bits.h"
#include "tests/support/signals.h"

namespace quellard::test {

class BesideReference {
 public:
  explicit BesideReference(Entry entry = openInterface) : effect(entry) {}

  void setSampleRate(float rate) {
    effect.setSampleRate(rate);
    model.setSampleRate(rate);
  }
  void setParameter(int index, float value) {
    effect.setParameter(index, value);
    model.setParameter(index, value);
  }
  void setProgram(int program) {
    effect.setProgram(program);
    model.setProgram(program);
  }
  testing::AssertionResult play(std::vector<double> in) {
    std::vector<double> out(in.size(), 1e9), expected(in.size(), -1e9);
    effect.process(in.data(), out.data(), static_cast<int>(in.size()));
    model.process(in.data(), expected.data(), static_cast<int>(in.size()));
    return sameBits(out, expected);
  }
  // Noise of the given length, the same in every run.
  testing::AssertionResult playNoise(int frames) {
    return play(noise(random_, 0.5, static_cast<std::size_t>(frames)));
  }

  OpenedEffect effect;
  reference::Amplifier model;

 private:
  Random random_{1};
};

}  // namespace quellard::test
