// SPDX-License-Identifier: ISC
// The shipped effect against the plain model: every bit of every sample of random sessions.
#include "tests/support/session.h"

#include <cstring>
#include <gtest/gtest.h>

#include "tests/plain/plain_amplifier.h"
#include "tests/support/opened_effect.h"

namespace quellard::test {
namespace {

void expectSameBits(const std::vector<double>& shipped, const std::vector<double>& plain) {
  ASSERT_EQ(shipped.size(), plain.size());
  for (std::size_t i = 0; i < plain.size(); ++i) {
    ASSERT_EQ(std::memcmp(&shipped[i], &plain[i], sizeof(double)), 0)
        << "sample " << i << ": " << shipped[i] << " instead of " << plain[i];
  }
}

void compareSessions(const SessionPlan& plan, int sessions, std::uint64_t salt) {
  Random random(sessionSeed() ^ salt);
  for (int i = 0; i < sessions; ++i) {
    const std::uint64_t seed = random.bits();
    SCOPED_TRACE("session " + std::to_string(i));
    Random draw(seed);
    const auto steps = drawSession(draw, plan);
    OpenedEffect shipped;
    plain::Amplifier model;
    expectSameBits(playSession(shipped, steps, seed, plan.level),
                   playSession(model, steps, seed, plan.level));
    if (testing::Test::HasFatalFailure()) return;
  }
}

TEST(Session, EverythingAtOnceMatchesThePlainModel) { compareSessions({}, 40, 1); }

TEST(Session, TinyBlocksMatchThePlainModel) {
  compareSessions({.frames = {0, 1, 2, 3, 5, 8, 13}, .blocks = 400}, 10, 2);
}

TEST(Session, SteadyBlocksMatchThePlainModel) {
  for (const int frames : {64, 512, 4096}) {
    compareSessions({.frames = {frames}, .blocks = 40}, 4, 3 + static_cast<std::uint64_t>(frames));
  }
}

// Levels far from a guitar's drive every stage into its extremes and its denormals.
TEST(Session, OutlandishLevelsMatchThePlainModel) {
  for (const double level : {1e-320, 1e-300, 1e-12, 1e6, 1e300}) {
    compareSessions({.blocks = 20, .level = level}, 3, 7);
  }
}

TEST(Session, OddRatesMatchThePlainModel) {
  compareSessions(
      {.rates = {8000.0f, 11025.0f, 22050.0f, 47999.9f, 48000.5f, 384000.0f, 1.0f}, .blocks = 20},
      12, 9);
}

}  // namespace
}  // namespace quellard::test
