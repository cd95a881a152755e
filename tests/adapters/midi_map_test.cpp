// SPDX-License-Identifier: ISC
#include "adapters/jack/midi_map.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <vector>

namespace quellard::test {
namespace {

constexpr int kVintage = 1;
constexpr std::size_t kPresets = 14;

std::optional<MidiAction> act(std::initializer_list<std::uint8_t> bytes) {
  const std::vector<std::uint8_t> message(bytes);
  return midiAction(message, kVintage, kPresets);
}

TEST(MidiMap, ControllersReachEveryKnobAndBothItsEnds) {
  for (std::uint8_t knob = 0; knob < 18; ++knob) {
    const auto all = act({0xB3, static_cast<std::uint8_t>(102 + knob), 127});
    ASSERT_TRUE(all.has_value());
    EXPECT_EQ(all->parameter, knob + 1);
    EXPECT_EQ(all->value, 1.0F);
  }
  for (std::uint8_t knob = 0; knob < 6; ++knob) {
    const auto selected = act({0xB0, static_cast<std::uint8_t>(20 + knob), 0});
    ASSERT_TRUE(selected.has_value());
    EXPECT_EQ(selected->parameter, 7 + knob) << "of the channel that plays";
    EXPECT_EQ(selected->value, 0.0F);
  }
  const float selects[] = {0.0F, 0.5F, 1.0F};
  for (const int third : {0, 1, 2}) {
    const auto selector = act({0xBF, 14, static_cast<std::uint8_t>(20 + 43 * third)});
    ASSERT_TRUE(selector.has_value());
    EXPECT_EQ(selector->parameter, 19);
    EXPECT_EQ(selector->value, selects[third]);
  }
}

TEST(MidiMap, ProgramsArePresetsAndOtherMessagesAreIgnored) {
  ASSERT_TRUE(act({0xC5, 13}).has_value());
  EXPECT_EQ(act({0xC5, 13})->preset, 13) << "the user's own presets follow the factory bank";
  for (const auto& nothing :
       {act({}), act({0xC0}), act({0xC0, kPresets}), act({0xC0, 127}), act({0xB0, 14}),
        act({0xB0, 7, 100}), act({0xB0, 26, 1}), act({0xB0, 101, 1}), act({0xB0, 120, 0}),
        act({0x90, 20, 100}), act({0xF8, 0})}) {
    EXPECT_FALSE(nothing.has_value());
  }
}

}  // namespace
}  // namespace quellard::test
