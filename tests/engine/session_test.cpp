// SPDX-License-Identifier: ISC
// Random sessions: the effect must give every bit of the reference's output, with each instruction
// set that the machine has.
#include "tests/support/session.h"

#include <cmath>
#include <gtest/gtest.h>

#include "channels/fast/dispatch.h"
#include "tests/reference/reference_amplifier.h"
#include "tests/support/effort.h"
#include "tests/support/opened_effect.h"
#include "tests/support/same_bits.h"

namespace quellard::test {
namespace {

class Session : public testing::Test {
 protected:
  ~Session() override { fast::force(best_); }

  void compare(const SessionPlan& plan, int sessions) {
    for (int i = 0; i < sessions; ++i) {
      const std::uint64_t seed = random_.bits();
      reference::Amplifier model;
      const std::vector<double> expected = playSession(model, seed, plan);
      for (const fast::Isa isa : {fast::Isa::baseline, fast::Isa::avx2, fast::Isa::avx512}) {
        if (!fast::available(isa)) continue;
        fast::force(isa);
        ASSERT_EQ(fast::isaInForce(), isa);
        OpenedEffect shipped;
        ASSERT_TRUE(sameBits(playSession(shipped, seed, plan), expected))
            << "session " << i << ", instruction set " << static_cast<int>(isa);
      }
    }
  }

 private:
  fast::Isa best_ = fast::isaInForce();
  Random random_{sessionSeed()};
};

TEST_F(Session, EverythingAtOnceMatchesTheReference) { compare({}, effort(24)); }

TEST_F(Session, TinyBlocksMatchTheReference) {
  compare({.frames = {0, 1, 2, 3, 5, 8, 13}, .blocks = 400}, effort(8));
}

TEST_F(Session, SteadyBlocksMatchTheReference) {
  for (const int frames : {64, 512, 4096}) compare({.frames = {frames}, .blocks = 40}, effort(3));
}

// Extreme levels reach the ends of every table and denormals. NaN shows which operand an
// instruction set's minimum returns.
TEST_F(Session, ExtremeSamplesMatchTheReference) {
  for (const double level : {1e-320, 1e-300, 1e-12, 0.5, 1e6, 1e300}) {
    for (const std::vector<double>& odd : {{}, std::vector{std::nan(""), HUGE_VAL, 1e308, -0.0}})
      compare({.blocks = 20, .level = level, .odd = odd}, effort(3));
  }
}

TEST_F(Session, OddRatesMatchTheReference) {
  compare(
      {.rates = {8000.0f, 11025.0f, 22050.0f, 47999.9f, 48000.5f, 384000.0f, 1.0f}, .blocks = 20},
      effort(12));
}

}  // namespace
}  // namespace quellard::test
