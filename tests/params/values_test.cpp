// SPDX-License-Identifier: ISC
// What values mean to players: positions, channels, numbers and words in texts, presets.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>

#include "params/decibels.h"
#include "params/factory_bank.h"
#include "params/number_text.h"
#include "params/parameter_values.h"
#include "params/text_lengths.h"
#include "params/words.h"

namespace quellard {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// A position that is typed, stored by a host as a value or as a float, and shown again, is the same
// everywhere.
TEST(KnobValue, IsTheSameByEveryWay) {
  for (int hundredths = 0; hundredths <= 1000; ++hundredths) {
    const std::string typed = std::to_string(hundredths / 100) + "." +
                              std::to_string(hundredths / 10 % 10) +
                              std::to_string(hundredths % 10);
    const double position = std::strtod(typed.c_str(), nullptr);
    const float value = knobFromPosition(position);
    ASSERT_EQ(positionFromKnob(value), position) << typed;
    ASSERT_EQ(knobFromFloatPosition(static_cast<float>(position)), value) << typed;
  }
  std::uint32_t bits = 1;
  for (int i = 0; i < 100000; ++i) {
    bits = bits * 1664525U + 1013904223U;
    const float value = static_cast<float>(bits >> 8U) * 0x1p-24F;
    ASSERT_EQ(knobFromPosition(positionFromKnob(value)), value);
  }
  EXPECT_EQ(knobFromFloatPosition(kNan), 0.0F);
  EXPECT_EQ(knobFromFloatPosition(-1.0F), 0.0F);
  EXPECT_EQ(knobFromFloatPosition(std::numeric_limits<float>::infinity()), 1.0F);
}

TEST(SelectorValue, NamesAChannel) {
  for (int channel = 0; channel < kNumChannels; ++channel) {
    EXPECT_EQ(channelFromSelect(selectFromChannel(channel)), channel);
    EXPECT_EQ(channelFromName(lowered(channelName(channel))), channel);
  }
  // Thirds in decimals, as hosts have stored them: the edges belong to the channel above.
  for (const auto& [select, channel] : {std::pair{0.3299F, 0},
                                        {0.33F, 1},
                                        {0.6599F, 1},
                                        {0.66F, 2},
                                        {2.0F, 2},
                                        {-1.0F, 0},
                                        {kNan, 2}}) {
    EXPECT_EQ(channelFromSelect(select), channel) << select;
  }
  EXPECT_FALSE(channelFromName("clea").has_value());
  EXPECT_FALSE(channelFromName("").has_value());
}

TEST(LimitToRange, HoldsWhateverHostsSend) {
  EXPECT_EQ(limitToRange(kNan), 0.0F);
  EXPECT_EQ(limitToRange(-0.1F), 0.0F);
  EXPECT_EQ(limitToRange(0.25F), 0.25F);
  EXPECT_EQ(limitToRange(std::numeric_limits<float>::infinity()), 1.0F);
  EXPECT_EQ(limitToRange(11.0, 10.0), 10.0);
  EXPECT_FALSE(isStored(0) || isStored(20) || isKnob(19));
  EXPECT_TRUE(isStored(19) && isKnob(18));
}

TEST(NumberText, IsANumberAsAWholeOrNone) {
  EXPECT_EQ(numberFromText("-60"), -60.0);
  EXPECT_EQ(numberFromText("7.5"), 7.5);
  EXPECT_EQ(numberFromText("1e-3"), 1e-3);
  EXPECT_EQ(numberFromText(withoutPlus("+6")), 6.0);
  for (const char* text :
       {"", " 1", "1 ", "+1", "1,5", "0x10", "1e999", "nan", "inf", "--1", "5dB"}) {
    EXPECT_FALSE(numberFromText(text).has_value()) << text;
  }
  EXPECT_FALSE(numberFromText(withoutPlus("+-6")).has_value());
}

TEST(Words, AreFreeOfCaseAndWhiteSpace) {
  EXPECT_EQ(trimmed(" \t gain\r\n"), "gain");
  EXPECT_EQ(trimmed(" \n"), "");
  EXPECT_TRUE(sameWord("Vintage", "vINTAGE"));
  EXPECT_FALSE(sameWord("gain", "gains"));
  for (const char* text : {"-60 dB", "-60dBFS", "-60 DBFS", "-60"}) {
    EXPECT_EQ(withoutDecibels(text), "-60") << text;
  }
  EXPECT_EQ(withoutDecibels("dB"), "");
}

TEST(Decibels, AreFactors) {
  EXPECT_EQ(gainFromDecibels(0.0), 1.0);
  EXPECT_NEAR(gainFromDecibels(20.0), 10.0, 1e-14);
  EXPECT_NEAR(gainFromDecibels(-6.0206), 0.5, 1e-6);
  EXPECT_NEAR(decibelsFromGain(gainFromDecibels(-36.5)), -36.5, 1e-12);
  EXPECT_EQ(offsetFromPresetInput_db(-10.0), -4.0);
  EXPECT_EQ(offsetFromPresetInput_db(-4.0), 0.0);
  EXPECT_EQ(offsetFromPresetInput_db(0.0), 2.0);
}

TEST(FactoryPreset, SetsItsChannelAndLeavesTheOthersAtTheirDefaults) {
  std::set<std::string> names;
  for (const FactoryPreset& preset : kFactoryBank) {
    SCOPED_TRACE(preset.name);
    EXPECT_TRUE(names.insert(preset.name).second);
    EXPECT_LT(std::strlen(preset.name), std::size_t{kVstMaxProgNameLen}) << "as hosts list it";
    EXPECT_EQ(findFactoryPreset(preset.name), &preset);
    const ParameterValues values = presetValues(preset);
    EXPECT_EQ(channelFromSelect(values[kTypeParameter]), preset.channel);
    for (int index = 1; index <= kNumKnobs; ++index) {
      const bool own = parameterInfo(index).channel == preset.channel;
      const double knob = at(preset.knobs, (index - 1) % kKnobsPerChannel);
      EXPECT_EQ(positionFromKnob(values[index]), own ? knob : 5.0) << index;
    }
  }
  EXPECT_EQ(findFactoryPreset("no such preset"), nullptr);
  EXPECT_EQ(defaultValues()[kTypeParameter], 1.0F);
}

}  // namespace
}  // namespace quellard
