// SPDX-License-Identifier: ISC
// Invalid calls: the effect must survive them and go on playing like the reference.
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "tests/shell/module.h"
#include "tests/support/beside_reference.h"
#include "tests/support/effort.h"

namespace quellard::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

const std::vector<float> kOddValues = {kNaN,   kInf,   -kInf, -1,    2, -0.0f, 3e38f,
                                       -3e38f, 1e-45f, 0.33f, 0.66f, 0, 1};
const std::vector<float> kOddRates = {kNaN,  kInf, -kInf, 0,     -0.0f,    -44100,   1e-30f, 1e-45f,
                                      3e38f, 1,    62.4f, 62.5f, 48000.9f, 47999.9f, 44100,  3e9f};
const std::vector<double> kOddSamples = {std::nan(""), HUGE_VAL, -HUGE_VAL, 1.7e308, -1.7e308,
                                         5e-324,       -0.0,     1e300,     1e-310,  1e10};

void throwNulls(OpenedEffect& effect) {
  for (int opcode = -2; opcode < 200; ++opcode) {
    if (opcode == effClose || opcode == effSetSampleRate || opcode == effSetProgram) continue;
    for (const std::int32_t index : {0, 5, 19, 20, -1}) effect.dispatch(opcode, index);
  }
  AEffect* record = &effect.record();
  std::vector<double> out(4, 9.0);
  double *none = nullptr, *some = out.data();
  for (const int frames : {0, -1, kIntMin, kIntMax}) {
    record->processDoubleReplacing(record, nullptr, nullptr, frames);
    record->processDoubleReplacing(record, &some, &none, frames);
    record->processReplacing(record, nullptr, nullptr, frames);
    record->process(record, nullptr, nullptr, frames);
  }
  record->processDoubleReplacing(record, &none, &some, -4);
  EXPECT_EQ(out, std::vector<double>(4, 9.0));
  record->processDoubleReplacing(record, &none, &some, 3);
  EXPECT_EQ(out, (std::vector<double>{0.0, 0.0, 0.0, 9.0})) << "no input is silence";
}

TEST(HostileHost, NullPointersAreLeftAlone) {
  BesideReference pair(moduleEntry("getinterface"));
  throwNulls(pair.effect);
  pair.setSampleRate(48000.0f);
  throwNulls(pair.effect);
  // A count below 1 is a block without samples, in which the knobs still move.
  EXPECT_TRUE(pair.playNoise(0));
  for (int i = 0; i < 6; ++i) EXPECT_TRUE(pair.playNoise(64)) << i;

  AEffect orphan = pair.effect.record();
  orphan.object = nullptr;
  double x = 0.5, *channel = &x;
  for (AEffect* record : {&orphan, static_cast<AEffect*>(nullptr)}) {
    EXPECT_EQ(orphan.dispatcher(record, effClose, 0, 0, nullptr, 0.0f), 0);
    EXPECT_EQ(orphan.getParameter(record, 1), 0.0f);
    orphan.setParameter(record, 1, 0.9f);
    orphan.process(record, nullptr, nullptr, 1);
    orphan.processReplacing(record, nullptr, nullptr, 1);
    orphan.processDoubleReplacing(record, &channel, &channel, 1);
  }
  EXPECT_EQ(x, 0.5);
}

// Invalid samples, values, rates, programs and lengths in random order.
TEST(HostileHost, OddSessionsPlayLikeTheReference) {
  Random random(sessionSeed() ^ 0x686f7374);
  for (int session = 0; session < effort(60); ++session) {
    BesideReference pair(moduleEntry("OrvTypeIF"));
    // Without a rate the effect plays silence.
    if (random.chance(0.8)) pair.setSampleRate(random.chance(0.5) ? 44100.0f : 48000.0f);
    int frames = 64;
    for (int block = 0; block < 60; ++block) {
      if (random.chance(0.1)) pair.setSampleRate(random.pick(kOddRates));
      if (random.chance(0.1)) pair.setProgram(random.integer(-3, 18));
      if (random.chance(0.2)) pair.setParameter(19, random.pick(kOddValues));
      for (int moves = random.integer(0, 3); moves > 0; --moves)
        pair.setParameter(random.integer(-2, 22), random.pick(kOddValues));
      if (random.chance(0.3)) frames = random.integer(0, random.chance(0.1) ? 9000 : 900);
      std::vector<double> in = noise(random, 1.0, static_cast<std::size_t>(frames));
      for (double& x : in) {
        if (random.chance(0.01)) x = random.pick(kOddSamples);
      }
      ASSERT_TRUE(pair.play(in)) << "session " << session << ", block " << block;
    }
  }
}

}  // namespace
}  // namespace quellard::test
