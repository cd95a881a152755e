// SPDX-License-Identifier: ISC
// What all formats share: the bytes of the state, and the texts of values.
#include <cstdio>

#include "adapters/shared/state.h"
#include "rig/value_text.h"
#include "tests/adapters/stored_state.h"
#include "tests/support/effort.h"

namespace quellard::test {
namespace {

// A block with `count` values, of which the first is 1 and the others 0.25, without its checksum.
Bytes blockOf(std::uint8_t version, std::uint8_t count) {
  Bytes block = {'Q', 'L', 'R', 'D', version, 0, count, 0, 0, 0, 0x80, 0x3F};
  while (block.size() < 8U + 4U * count) block.insert(block.end(), {0, 0, 0x80, 0x3E});
  block.resize(8U + 4U * count);
  return block;
}

std::optional<HostedValues> decodedWithSum(Bytes block) {
  const std::uint32_t sum = crc32(block);
  for (int shift = 0; shift < 32; shift += 8)
    block.push_back(static_cast<std::uint8_t>(sum >> shift));
  return decodeState(block);
}

// The stored example of each version loads, and saving what was loaded gives the same bytes.
TEST(State, EveryVersionIsReadAndTheLowestWritten) {
  HostedValues expected = defaultHostedValues();
  for (int i = 1; i <= 18; ++i) expected[i] = static_cast<float>(i) / 20.0F;
  expected[kTypeParameter] = 0.5F;
  for (const char* name : {"state-v1.bin", "state-v2.bin", "state-v2-rig.bin"}) {
    const Bytes stored = storedState(name);
    const std::optional<HostedValues> state = decodeState(stored);
    ASSERT_TRUE(state.has_value()) << name;
    expected[kBypassParameter] = stored[4] == 2 && stored[6] == 20 ? 1.0F : 0.0F;
    if (stored[6] == 23) {
      expected[kInputParameter] = 0.25F;
      expected[kGateParameter] = 0.75F;
      expected[kOutputParameter] = 0.625F;
    }
    EXPECT_EQ(*state, expected) << name;
    const StateBytes again = encodeState(*state);
    EXPECT_EQ(Bytes(again.bytes().begin(), again.bytes().end()), stored);
  }
}

// Blocks with a correct checksum: unknown further values are ignored, invalid contents refused.
TEST(State, InvalidContentsAreRefused) {
  EXPECT_EQ(decodedWithSum(blockOf(1, 19)), decodedWithSum(blockOf(2, 19))) << "none behind them";
  EXPECT_EQ(decodedWithSum(blockOf(2, 23)), decodedWithSum(blockOf(2, 64))) << "later ones";
  EXPECT_EQ((*decodedWithSum(blockOf(2, 20)))[1], 1.0F);
  for (const auto& [version, count] :
       {std::pair{0, 19}, {3, 19}, {1, 18}, {1, 20}, {2, 18}, {2, 65}})
    EXPECT_EQ(decodedWithSum(
                  blockOf(static_cast<std::uint8_t>(version), static_cast<std::uint8_t>(count))),
              std::nullopt)
        << "version " << version << " with " << count;
  const auto loads = [](std::size_t at, std::initializer_list<std::uint8_t> changed) {
    Bytes block = blockOf(2, 22);
    std::copy(changed.begin(), changed.end(), &block[at]);
    return decodedWithSum(block).has_value();
  };
  EXPECT_TRUE(loads(0, {}));
  EXPECT_FALSE(loads(0, {'X'})) << "another program's";
  EXPECT_FALSE(loads(7, {1})) << "a count beyond the block's length";
  EXPECT_FALSE(loads(11, {0x7F})) << "a value beyond 1";
  EXPECT_FALSE(loads(8 + 4 * 21, {0, 0, 0xC0, 0x7F})) << "not a number";
}

TEST(ValueText, ReadsWhatPeopleType) {
  for (const auto& [text, value] : {std::pair{" 7.5 ", 0.75F}, {"11", 1.0F}, {"-1", 0.0F}})
    EXPECT_EQ(valueFromText(6, text), value) << text;
  EXPECT_EQ(valueFromText(19, "Modern\n"), 1.0F);
  for (const int index : {0, 19, 20}) EXPECT_EQ(valueFromText(index, "5.00"), std::nullopt);
  for (const char* text : {"", " ", "loud", "7,5", "7.5x", "nan", "inf", "0x5", "1e1", "--5"})
    EXPECT_EQ(valueFromText(6, text), std::nullopt) << text;
  for (const auto& [text, value] : {std::pair{"on", 1.0F}, {" OFF ", 0.0F}})
    EXPECT_EQ(valueFromText(kBypassParameter, text), value) << text;
  EXPECT_EQ(valueText(kBypassParameter, 1.0F), (ValueText{"On"}));
}

// Every tenth of a decibel, there and back, in the words that are shown and those that people type.
TEST(ValueText, LevelsAndTheGateAreInDecibels) {
  for (const int index : {kInputParameter, kGateParameter, kOutputParameter}) {
    const bool isGate = index == kGateParameter;
    for (int tenths = isGate ? -800 : -240; tenths <= (isGate ? -300 : 240); ++tenths) {
      std::array<char, 16> shown{};
      std::snprintf(shown.data(), shown.size(), "%.1f dB", tenths / 10.0);
      const std::optional<float> value = valueFromText(index, shown.data());
      ASSERT_TRUE(value.has_value()) << shown.data();
      ASSERT_EQ(std::string(valueText(index, *value).data()), shown.data());
      ASSERT_NEAR(controlFromValue(index, *value), tenths / 10.0, 1e-5);
      ASSERT_NEAR(valueFromControl(index, controlFromValue(index, *value)), *value, 1e-7);
    }
  }
  EXPECT_EQ(valueFromText(kInputParameter, "0"), 0.5F);
  EXPECT_EQ(valueFromText(kInputParameter, " +6dBFS "), valueFromText(kInputParameter, "6.0 dB"));
  EXPECT_EQ(valueFromText(kOutputParameter, "99"), 1.0F);
  EXPECT_EQ(valueFromText(kGateParameter, "off"), 0.0F);
  EXPECT_EQ(valueFromText(kGateParameter, "-99 dB"), valueFromText(kGateParameter, "-80"));
  EXPECT_EQ(valueText(kGateParameter, 0.0F), (ValueText{"Off"}));
  for (const char* text : {"", "dB", "loud", "+-6", "6 dBx", "nan"})
    EXPECT_EQ(valueFromText(kOutputParameter, text), std::nullopt) << text;
}

// Of the settings with two decimals 279 come out a bit away when a float is divided by 10. What a
// player types back is what was shown.
TEST(ValueText, AKnobsScaleKeepsTheBits) {
  for (int hundredths = 0; hundredths <= 1000; ++hundredths) {
    const double scale = hundredths / 100.0;
    const float knob = knobFromFloatPosition(static_cast<float>(scale));
    ASSERT_EQ(knob, static_cast<float>(scale / 10.0)) << scale;
    ASSERT_EQ(controlFromValue(6, knob), static_cast<float>(scale)) << scale;
    ASSERT_EQ(valueFromText(6, valueText(6, knob).data()), knob) << scale;
  }
  for (const float low : {-1.0F, NAN, 1e-44F})
    EXPECT_NEAR(knobFromFloatPosition(low), 0.0F, 1e-30F);
  EXPECT_EQ(knobFromFloatPosition(1e38F), 1.0F);
  Random random(sessionSeed() ^ 0x10);
  for (int i = 0; i < effort(100000); ++i) {
    const float knob = knobFromFloatPosition(static_cast<float>(random.between(0.0, 10.0)));
    ASSERT_EQ(knobFromFloatPosition(controlFromValue(6, knob)), knob) << knob;
  }
}

}  // namespace
}  // namespace quellard::test
