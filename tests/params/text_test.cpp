// SPDX-License-Identifier: ISC
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>

#include "params/parameter_text.h"

namespace quellard::test {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// The text, provided that nothing behind its terminator at maxLen was written.
template <typename Write>
std::string written(int maxLen, Write write) {
  char buffer[40];
  std::memset(buffer, '#', sizeof buffer);
  write(buffer);
  const auto end = static_cast<std::size_t>(maxLen);
  if (buffer[0] == '#') return "untouched";
  EXPECT_EQ(buffer[end], '\0');
  EXPECT_EQ(buffer[end + 1], '#') << "wrote beyond its place";
  return buffer;
}

std::string display(int index, float value) {
  return written(8, [&](char* text) { writeParameterDisplay(index, value, text); });
}

TEST(ParameterText, KnobsReadZeroToTen) {
  const struct {
    float value;
    const char* text;
  } rows[] = {
      {0.0f, " 0.00"},          {0.0004f, " 0.00"},     {0.001f, " 0.01"},
      {0.123f, " 1.23"},        {0.1235f, " 1.24"},     {0.25f, " 2.50"},
      {0.5f, " 5.00"},          {0.999f, " 9.99"},      {0.9995f, " 10.00"},
      {1.0f, " 10.00"},         {-0.05f, "-0.50"},      {-0.0f, " 0.00"},
      {-0.00045f, " 0.00"},     {-0.001f, "-0.01"},     {-1.0f, "-10.00"},
      {12.345f, " 123.45"},     {999.99f, " 9999.90"},  {1000.0f, " 10000.0"},
      {-1000.0f, "-10000.0"},   {99999.0f, " 999990."}, {100000.0f, " 000000."},
      {1234567.9f, " 345679."}, {1e7f, "Huge!"},        {-1e6f, "Huge!"},
      {-999999.0f, "-999990."}, {1e30f, "Huge!"},       {1e38f, "Huge!"},
      {kInfinity, "Huge!"},     {-kInfinity, "Huge!"},  {kNaN, " 0.00"},
      {1e-40f, " 0.00"},
  };
  for (const auto& row : rows) {
    for (const int knob : {1, 6, 13, 18})
      EXPECT_EQ(display(knob, row.value), row.text) << row.value;
  }
}

TEST(ParameterText, TheSelectorReadsAsAChannel) {
  const float third = 0.33f, twoThirds = 0.66f;
  const struct {
    float value;
    const char* name;
  } rows[] = {
      {-kInfinity, "CLEAN"},
      {-0.0f, "CLEAN"},
      {0.2f, "CLEAN"},
      {std::nextafter(third, 0.0f), "CLEAN"},
      {third, "VINTAGE"},
      {0.5f, "VINTAGE"},
      {std::nextafter(twoThirds, 0.0f), "VINTAGE"},
      {twoThirds, "MODERN"},
      {1.0f, "MODERN"},
      {kNaN, "MODERN"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(display(19, row.value), row.name) << row.value;
    EXPECT_STREQ(kChannelNames.at(static_cast<std::size_t>(channelFromSelect(row.value))),
                 row.name);
  }
}

TEST(ParameterText, WithoutATextNothingIsWritten) {
  for (const int index : {0, -1, 20, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(display(index, 0.5f), "untouched") << index;
    EXPECT_EQ(written(8, [&](char* text) { writeParameterName(index, text); }), "untouched");
  }
  writeParameterDisplay(3, 0.5f, nullptr);
  writeParameterDisplay(19, 0.5f, nullptr);
  writeParameterName(3, nullptr);
  formatValue(1.0f, nullptr, 8);
  EXPECT_EQ(written(8, [](char* text) { formatValue(1.0f, text, -1); }), "untouched");
}

TEST(ParameterText, TheFormatterKeepsWithinItsPlace) {
  const char* const texts[] = {"", " ", " 1", " 12", " 12.", " 12.3", " 12.35", " 12.35"};
  for (int maxLen = 0; maxLen < 8; ++maxLen) {
    EXPECT_EQ(written(maxLen, [&](char* text) { formatValue(12.345f, text, maxLen); }),
              texts[maxLen]);
    EXPECT_EQ(written(maxLen, [&](char* text) { formatValue(1e9f, text, maxLen); }),
              std::string("Huge!").substr(0, static_cast<std::size_t>(maxLen)));
  }
  // Eight characters at most, however much room there is; the last place is the hundredths'.
  EXPECT_EQ(written(20, [](char* text) { formatValue(54321.57f, text, 20); }), " 54321.7");
}

// Automation files and command lines name a parameter by its symbol alone.
TEST(ParameterTable, SymbolsAreUniqueAndIndicesStandInOrder) {
  std::set<std::string> symbols;
  for (int i = 0; i < kNumParameters; ++i) {
    const ParameterInfo* row = findParameter(i);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->index, i);
    EXPECT_EQ(row->channel, row->kind == ParameterKind::knob ? (i - 1) / 6 : -1);
    EXPECT_TRUE(symbols.insert(row->symbol).second) << row->symbol;
  }
  EXPECT_EQ(findParameter(-1), nullptr);
  EXPECT_EQ(findParameter(kNumParameters), nullptr);
}

}  // namespace
}  // namespace quellard::test
