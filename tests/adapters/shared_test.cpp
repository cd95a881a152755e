// SPDX-License-Identifier: ISC
// What the formats share: the state's bytes, value texts, and blocks cut at events.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "adapters/shared/event_split.h"
#include "adapters/shared/hosted_amp.h"
#include "adapters/shared/state.h"
#include "adapters/shared/value_text.h"
#include "tests/support/effort.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes storedState(const std::string& name) {
  std::ifstream file(std::string(QUELLARD_TEST_DATA) + "/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The knobs of parameter i at i/20, the selector at VINTAGE.
StateValues storedValues() {
  StateValues values{};
  for (std::size_t i = 0; i < kNumControls; ++i) values[i] = static_cast<float>(i + 1) / 20.0F;
  values[kTypeParameter - 1] = 0.5F;
  return values;
}

// Replaces the checksum, so that a state is refused for what is in it.
Bytes sealed(Bytes bytes) {
  const std::uint32_t sum = crc32({bytes.data(), bytes.size() - 4});
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[bytes.size() - 4 + i] = static_cast<std::uint8_t>(sum >> (8 * i));
  }
  return bytes;
}

// Projects hold such bytes; this file is never to be written anew.
TEST(State, OneOfVersion1Loads) {
  const Bytes stored = storedState("state-v1.bin");
  ASSERT_EQ(stored.size(), kStateSize);
  const auto values = decodeState(stored);
  ASSERT_TRUE(values.has_value());
  EXPECT_EQ(*values, storedValues());
  const StateBytes today = encodeState(storedValues());
  EXPECT_EQ(Bytes(today.begin(), today.end()), stored);
}

TEST(State, ChecksumIsTheUsualOne) {
  const std::string digits = "123456789";
  EXPECT_EQ(crc32({reinterpret_cast<const std::uint8_t*>(digits.data()), digits.size()}),
            0xCBF43926U);
}

TEST(State, ForeignOnesAreRefused) {
  const StateBytes good = encodeState(storedValues());
  const Bytes bytes(good.begin(), good.end());
  ASSERT_TRUE(decodeState(sealed(bytes)).has_value());
  const auto with = [&](std::size_t at, std::uint8_t byte) {
    Bytes changed = bytes;
    changed[at] = byte;
    return sealed(changed);
  };
  EXPECT_FALSE(decodeState(with(0, 'X')).has_value()) << "another program's";
  EXPECT_FALSE(decodeState(with(4, 2)).has_value()) << "a later version";
  EXPECT_FALSE(decodeState(with(6, 18)).has_value()) << "another number of values";
  EXPECT_FALSE(decodeState(with(11, 0x7F)).has_value()) << "a value beyond 1";
  EXPECT_FALSE(decodeState({}).has_value());
  Bytes nan = bytes;
  std::memcpy(&nan[8], "\x00\x00\xC0\x7F", 4);
  EXPECT_FALSE(decodeState(sealed(nan)).has_value());
}

TEST(ValueText, ReadsWhatPeopleType) {
  const auto reads = [](int index, const char* text) { return valueFromText(index, text); };
  EXPECT_EQ(reads(6, "7.50"), 0.75F);
  EXPECT_EQ(reads(6, " 7.5 "), 0.75F);
  EXPECT_EQ(reads(6, "11"), 1.0F);
  EXPECT_EQ(reads(6, "-1"), 0.0F);
  EXPECT_EQ(reads(19, "vintage"), 0.5F);
  EXPECT_EQ(reads(19, "CLEAN"), 0.0F);
  EXPECT_EQ(reads(19, "Modern\n"), 1.0F);
  for (const char* text : {"", " ", "loud", "7,5", "7.5x", "nan", "inf", "0x5", "1e1", "--5"}) {
    EXPECT_EQ(reads(6, text), std::nullopt) << text;
  }
  EXPECT_EQ(reads(19, "MODERNE"), std::nullopt);
  EXPECT_EQ(reads(19, "0.5"), std::nullopt);
  EXPECT_EQ(reads(0, "5.00"), std::nullopt);
  EXPECT_EQ(reads(20, "5.00"), std::nullopt);
}

// Of the settings with two decimals 279 come out a bit away when a float is divided by 10.
TEST(ValueText, AKnobsScaleKeepsTheBits) {
  for (int hundredths = 0; hundredths <= 1000; ++hundredths) {
    const double scale = hundredths / 100.0;
    ASSERT_EQ(knobFromScale(static_cast<float>(scale)), static_cast<float>(scale / 10.0)) << scale;
  }
  EXPECT_EQ(knobFromScale(-1.0F), 0.0F);
  EXPECT_EQ(knobFromScale(1e38F), 1.0F);
  EXPECT_EQ(knobFromScale(NAN), 0.0F);
  EXPECT_NEAR(knobFromScale(1.17549435e-38F), 0.0F, 1e-30F);
}

TEST(EventSplit, CutsOnlyWhereItsOwnEventsFall) {
  struct Event {
    std::uint32_t time;
    bool ours;
  };
  const auto cuts = [](std::uint32_t frames, const std::vector<Event>& events) {
    std::string story;
    splitAtEvents(
        frames, static_cast<std::uint32_t>(events.size()),
        [&](std::uint32_t i) {
          return events[i].ours ? std::optional(events[i].time) : std::nullopt;
        },
        [&](std::uint32_t i) { story += "e" + std::to_string(i) + " "; },
        [&](std::uint32_t begin, std::uint32_t end) {
          story += std::to_string(begin) + "-" + std::to_string(end) + " ";
        });
    return story;
  };
  EXPECT_EQ(cuts(8, {}), "0-8 ");
  EXPECT_EQ(cuts(8, {{0, true}, {3, true}, {3, true}, {7, true}}), "e0 0-3 e1 e2 3-7 e3 7-8 ");
  EXPECT_EQ(cuts(8, {{2, false}, {5, true}}), "0-5 e1 5-8 ");
  EXPECT_EQ(cuts(8, {{6, true}, {2, true}, {99, true}}), "0-6 e0 e1 6-8 e2 ") << "out of order";
  EXPECT_EQ(cuts(0, {{4, true}}), "e0 ");
}

// How long a sound lingers: a loud low string, then silence; most knobs at their ends, where the
// tone stack rings longest.
TEST(HostedAmp, TheTailIsOverWhenItSaysSo) {
  constexpr double kRate = 48000.0;
  constexpr double kInaudible = 1e-6;  // -120 dB
  double longest = 0.0;
  Random random(sessionSeed() ^ 0x7A11);
  for (int setting = 0; setting < effort(48); ++setting) {
    HostedAmp amp(HostedAmp::kMono);
    for (int index = 1; index <= kNumControls; ++index) {
      amp.setValue(index, setting % 5 != 0 ? static_cast<float>(random.integer(0, 1))
                                           : static_cast<float>(random.unit()));
    }
    for (const int master : {5, 11, 17}) amp.setValue(master, 1.0F);
    amp.setValue(kTypeParameter, static_cast<float>(setting % 3) / 2.0F);
    ASSERT_TRUE(amp.prepare(kRate, 512));
    std::vector<double> io = pluckedNote(random, kRate, 41.0, 1.0, 24000);
    const std::size_t end = io.size();
    io.resize(end + static_cast<std::size_t>(2.5 * kRate), 0.0);
    double* channel = io.data();
    const AudioChannels block{.doubles = &channel, .count = 1};
    amp.play(block, block, 0, static_cast<int>(io.size()));
    std::size_t last = end;
    for (std::size_t i = end; i < io.size(); ++i) {
      if (std::fabs(io[i]) > kInaudible) last = i;
    }
    longest = std::max(longest, static_cast<double>(last - end) / kRate);
  }
  std::printf("longest tail: %.2f s\n", longest);
  EXPECT_LT(longest, HostedAmp::kTailSeconds);
}

// A host may cross the channels of one buffer, mix the precisions, or lack a channel.
TEST(HostedAmp, BuffersMayLieInAnyWay) {
  constexpr int kFrames = 64;
  Random random(sessionSeed() ^ 0xC055);
  std::vector<float> left(kFrames);
  std::vector<float> right(kFrames);
  for (float& x : left) x = static_cast<float>(random.between(-0.5, 0.5));
  for (float& x : right) x = static_cast<float>(random.between(-0.5, 0.5));
  const auto play = [&](const AudioChannels& in, const AudioChannels& out) {
    HostedAmp amp(HostedAmp::kStereo);
    ASSERT_TRUE(amp.prepare(44100.0, kFrames));
    amp.play(in, out, 0, kFrames);
  };
  std::array<float*, 2> straight = {left.data(), right.data()};
  const AudioChannels in{.floats = straight.data(), .count = 2};
  std::vector<double> wide(2 * kFrames);
  std::array<double*, 2> wideChannels = {wide.data(), &wide[kFrames]};
  play(in, {.doubles = wideChannels.data(), .count = 2});

  std::vector<float> onlyLeft(kFrames, 9.0F);
  std::array<float*, 2> half = {onlyLeft.data(), nullptr};
  play(in, {.floats = half.data(), .count = 2});

  std::array<float*, 2> crossed = {right.data(), left.data()};
  play(in, {.floats = crossed.data(), .count = 2});
  for (std::size_t i = 0; i < kFrames; ++i) {
    ASSERT_EQ(right[i], static_cast<float>(wide[i]));
    ASSERT_EQ(left[i], static_cast<float>(wide[kFrames + i]));
    ASSERT_EQ(onlyLeft[i], static_cast<float>(wide[i]));
  }
}

TEST(HostedAmp, HoldsValuesInRange) {
  HostedAmp amp(HostedAmp::kStereo);
  amp.setValue(4, 3.0F);
  amp.setValue(5, -3.0F);
  amp.setValue(6, std::numeric_limits<float>::quiet_NaN());
  amp.setValue(0, 1.0F);
  amp.setValue(20, 1.0F);
  EXPECT_EQ(amp.value(4), 1.0F);
  EXPECT_EQ(amp.value(5), 0.0F);
  EXPECT_EQ(amp.value(6), 0.0F);
  EXPECT_EQ(amp.value(0), 0.0F);
  EXPECT_EQ(amp.value(20), 0.0F);
}

}  // namespace
}  // namespace quellard::test
