// SPDX-License-Identifier: ISC
#include "engine/amplifier.h"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "channels/quellard_ch1.h"
#include "channels/quellard_ch2.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

std::vector<double> played(Amplifier& amp, int frames, double level = 0.5) {
  std::vector<double> block = sine(44100.0, 440.0, level, static_cast<std::size_t>(frames));
  amp.processBlock(block.data(), block.data(), frames);
  return block;
}

TEST(SampleRateSetup, TheSameRateAndInvalidOnesChangeNothing) {
  using Double = std::numeric_limits<double>;
  Amplifier amp, twin;
  for (Amplifier* each : {&amp, &twin}) {
    each->prepare(48000.0);
    played(*each, 64);
    each->typeValue = 0.0f;
    played(*each, 500);  // in the middle of a fade
  }
  for (const double rate :
       {48000.0, Double::quiet_NaN(), Double::infinity(), -Double::infinity(), 0.0, -48000.0})
    EXPECT_FALSE(amp.prepare(rate)) << rate;
  for (int i = 0; i < 5; ++i) EXPECT_EQ(played(amp, 400), played(twin, 400)) << i;
}

TEST(SampleRateSetup, NothingOfAnEarlierSetupIsKept) {
  Amplifier amp;
  for (const double minimum : {0.25, 0.5}) {
    EXPECT_TRUE(amp.prepare(1e12 * minimum, minimum));
    EXPECT_EQ(amp.bufferFrames, 0);
    EXPECT_EQ(amp.channels[0]->rateInt, std::numeric_limits<int>::max());
    for (const auto& taper : amp.tapers) EXPECT_EQ(taper->editProcessing(0.0f), minimum);
    played(amp, 32);
  }
}

// A changed entry of a table survives every later set-up: tables that other instances may be
// reading are never written again.
TEST(SampleRateSetup, SharedTablesAreMadeOnce) {
  Amplifier first;
  first.prepare(44100.0);
  auto& table = const_cast<Clipper&>(QuellardCh2::clip.at(8)).table;
  const double kept = table[123];
  table[123] = 42.0;
  for (const double rate : {44100.0, 48000.0, 96000.0, 44100.0}) {
    Amplifier other;
    other.prepare(rate);
    first.prepare(rate);
    EXPECT_EQ(table[123], 42.0) << rate;
    EXPECT_EQ(Amplifier::clipSampleRate, rate);
  }
  table[123] = kept;
  EXPECT_NE(QuellardCh1::clip.at(7).halfSize, 0.0) << "the other factor's table exists too";
}

// After reset() the sound is that of a new set-up with the same knobs. It is called in the middle
// of a fade, and a later switch would show whether something of that fade is left.
TEST(SampleRateSetup, AfterAResetTheSameBlocksSoundTheSame) {
  for (const float type : {0.0f, 0.5f, 1.0f}) {
    Amplifier amp, fresh;
    amp.reset();  // before any set-up there is nothing to reset
    amp.prepare(44100.0);
    for (int i = 0; i < 6; ++i) {
      for (auto& value : amp.controlValues) value = static_cast<float>(i) / 6.0f;
      amp.typeValue = i < 3 ? type : 0.9f - type;
      played(amp, 200, 1e3);
    }
    for (Amplifier* each : {&amp, &fresh}) {
      for (auto& value : each->controlValues) value = 5.0f / 6.0f;  // where they stood
      each->typeValue = type;
    }
    amp.reset();
    fresh.prepare(44100.0);
    for (int i = 0; i < 4; ++i) {
      amp.typeValue = fresh.typeValue = i < 2 ? type : 0.9f - type;
      EXPECT_EQ(played(amp, 200), played(fresh, 200)) << type << ' ' << i;
    }
  }
}

}  // namespace
}  // namespace quellard::test
