// SPDX-License-Identifier: ISC
// Hosts that do what no host should: the effect survives, and goes on playing like the plain model.
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "tests/shell/module.h"
#include "tests/support/beside_plain.h"
#include "tests/support/effort.h"

namespace quellard::test {
namespace {

using Float = std::numeric_limits<float>;
using Double = std::numeric_limits<double>;

const std::vector<float> kOddValues = {Float::quiet_NaN(),
                                       Float::infinity(),
                                       -Float::infinity(),
                                       -1.0f,
                                       2.0f,
                                       -0.0f,
                                       Float::max(),
                                       Float::lowest(),
                                       Float::denorm_min(),
                                       0.33f,
                                       0.66f,
                                       0.0f,
                                       1.0f};
const std::vector<float> kOddRates = {Float::quiet_NaN(),
                                      Float::infinity(),
                                      -Float::infinity(),
                                      0.0f,
                                      -0.0f,
                                      -44100.0f,
                                      1e-30f,
                                      Float::denorm_min(),
                                      Float::max(),
                                      1.0f,
                                      62.4f,
                                      62.5f,
                                      48000.9f,
                                      47999.9f,
                                      44100.0f,
                                      3e9f};
const std::vector<double> kOddSamples = {Double::quiet_NaN(),
                                         Double::infinity(),
                                         -Double::infinity(),
                                         Double::max(),
                                         Double::lowest(),
                                         Double::denorm_min(),
                                         -0.0,
                                         1e300,
                                         1e-310,
                                         1e10};

TEST(HostileHost, CallsBeforeTheFirstRateGiveSilence) {
  BesidePlain pair(moduleEntry("getinterface"));
  for (const int frames : {16, 0, 1, 300}) EXPECT_TRUE(pair.playNoise(frames));
  for (const float rate : {0.0f, -48000.0f, Float::quiet_NaN(), Float::infinity()}) {
    pair.setSampleRate(rate);
    std::vector<double> block(8, 0.5);
    pair.effect.process(block.data(), block.data(), 8);
    EXPECT_EQ(block, std::vector<double>(8, 0.0)) << rate;
  }
  pair.setParameter(19, 0.5f);
  pair.setSampleRate(44100.0f);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(pair.playNoise(64));
}

TEST(HostileHost, NullPointersAreLeftAlone) {
  BesidePlain pair(moduleEntry("getinterface"));
  OpenedEffect& effect = pair.effect;
  const auto throwEverything = [&] {
    for (int opcode = -2; opcode < 200; ++opcode) {
      if (opcode == effClose || opcode == effSetSampleRate || opcode == effSetProgram) continue;
      for (const std::int32_t index : {0, 5, 19, 20, -1}) effect.dispatch(opcode, index);
    }
    AEffect* record = &effect.record();
    std::vector<double> out(4, 9.0);
    double *none = nullptr, *some = out.data();
    for (const int frames :
         {0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
      record->processDoubleReplacing(record, nullptr, nullptr, frames);
      record->processDoubleReplacing(record, &some, &none, frames);
      record->processReplacing(record, nullptr, nullptr, frames);
      record->process(record, nullptr, nullptr, frames);
    }
    record->processDoubleReplacing(record, &none, &some, -4);
    EXPECT_EQ(out, std::vector<double>(4, 9.0));
    record->processDoubleReplacing(record, &none, &some, 3);
    EXPECT_EQ(out, (std::vector<double>{0.0, 0.0, 0.0, 9.0})) << "no input is silence";
  };
  throwEverything();
  pair.setSampleRate(48000.0f);
  throwEverything();
  // A count below 1 is a block without samples, which still brings the knobs up to date.
  EXPECT_TRUE(pair.playNoise(0));
  for (int i = 0; i < 6; ++i) EXPECT_TRUE(pair.playNoise(64)) << i;
}

TEST(HostileHost, RecordsWithoutAnEffectAnswerZero) {
  OpenedEffect effect(moduleEntry("getinterface"));
  AEffect orphan = effect.record();
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
  EXPECT_EQ(effect.getParameter(1), 0.5f);
}

// Everything at once: odd samples, odd values, odd rates, programs, lengths.
TEST(HostileHost, OddSessionsPlayLikeThePlainModel) {
  Random random(sessionSeed() ^ 0x686f7374);
  for (int session = 0; session < effort(60); ++session) {
    SCOPED_TRACE("session " + std::to_string(session));
    BesidePlain pair(moduleEntry("OrvTypeIF"));
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
      ASSERT_TRUE(pair.play(in)) << "block " << block;
    }
  }
}

// 44100 Hz and 48000 Hz use different waveshaper tables, which all instances share.
TEST(HostileHost, InstancesAtDifferentRatesPlayAsEachAlone) {
  BesidePlain first(moduleEntry("getinterface")), second(moduleEntry("getinterface"));
  for (int round = 0; round < 3; ++round) {
    first.setSampleRate(round == 1 ? 48000.0f : 44100.0f);
    second.setSampleRate(round == 1 ? 44100.0f : 48000.0f);
    for (int block = 0; block < effort(24); ++block) {
      first.setParameter(19, static_cast<float>(block % 9) / 8.0f);
      second.setParameter(1 + block % 18, static_cast<float>(block % 5) / 4.0f);
      ASSERT_TRUE(first.playNoise(256)) << round << ' ' << block;
      ASSERT_TRUE(second.playNoise(200)) << round << ' ' << block;
    }
  }
}

}  // namespace
}  // namespace quellard::test
