// SPDX-License-Identifier: ISC
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "params/parameter_text.h"

namespace quellard::test {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// The text that was written. Expects nothing to be written after the terminator at maxLen.
template <typename Write>
std::string written(int maxLen, Write write) {
  char buffer[40];
  std::memset(buffer, '#', sizeof buffer);
  write(buffer);
  const auto end = static_cast<std::size_t>(maxLen);
  if (buffer[0] == '#') return "untouched";
  EXPECT_EQ(buffer[end], '\0');
  EXPECT_EQ(buffer[end + 1], '#') << "written beyond maxLen";
  return buffer;
}

std::string display(int index, float value) {
  return written(8, [&](char* text) { writeParameterDisplay(index, value, text); });
}

TEST(ParameterText, KnobsReadZeroToTen) {
  const std::pair<float, const char*> rows[] = {
      {0.0004f, " 0.00"},       {0.001f, " 0.01"},      {0.123f, " 1.23"},
      {0.1235f, " 1.24"},       {0.25f, " 2.50"},       {0.5f, " 5.00"},
      {0.999f, " 9.99"},        {0.9995f, " 10.00"},    {1.0f, " 10.00"},
      {-0.05f, "-0.50"},        {-0.0f, " 0.00"},       {-0.00045f, " 0.00"},
      {-0.001f, "-0.01"},       {12.345f, " 123.45"},   {999.99f, " 9999.90"},
      {1000.0f, " 10000.0"},    {-1000.0f, "-10000.0"}, {99999.0f, " 999990."},
      {100000.0f, " 000000."},  {1e7f, "Huge!"},        {-1e6f, "Huge!"},
      {-999999.0f, "-999990."}, {1e38f, "Huge!"},       {kInfinity, "Huge!"},
      {-kInfinity, "Huge!"},    {kNaN, " 0.00"}};
  for (const auto& [value, text] : rows) EXPECT_EQ(display(13, value), text) << value;
}

TEST(ParameterText, TheSelectorReadsAsAChannel) {
  const float third = 0.33f, twoThirds = 0.66f;
  const std::pair<float, const char*> rows[] = {
      {-kInfinity, "CLEAN"}, {std::nextafter(third, 0.0f), "CLEAN"},
      {third, "VINTAGE"},    {std::nextafter(twoThirds, 0.0f), "VINTAGE"},
      {twoThirds, "MODERN"}, {kNaN, "MODERN"}};
  for (const auto& [value, name] : rows) EXPECT_EQ(display(19, value), name) << value;
}

TEST(ParameterText, TheFormatterKeepsWithinItsLength) {
  const char* const texts[] = {"", " ", " 1", " 12", " 12.", " 12.3", " 12.35", " 12.35"};
  for (int maxLen = 0; maxLen < 8; ++maxLen) {
    EXPECT_EQ(written(maxLen, [&](char* text) { formatValue(12.345f, text, maxLen); }),
              texts[maxLen]);
    EXPECT_EQ(written(maxLen, [&](char* text) { formatValue(1e9f, text, maxLen); }),
              std::string("Huge!").substr(0, static_cast<std::size_t>(maxLen)));
  }
  // At most eight characters, even where more would fit; the last digit is that of the hundredths.
  EXPECT_EQ(written(20, [](char* text) { formatValue(54321.57f, text, 20); }), " 54321.7");
  EXPECT_EQ(written(8, [](char* text) { formatValue(1.0f, text, -1); }), "untouched");
}

// Automation files and command lines refer to a parameter by its symbol alone.
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

// Lists of parameters in hosts show only these.
TEST(ParameterText, TitlesNameTheChannelAndAreUnique) {
  for (const auto& [index, title] : {std::pair{1, "Clean Presence"},
                                     {12, "Vintage Gain"},
                                     {17, "Modern Master"},
                                     {19, "Channel"},
                                     {0, ""},
                                     {-1, ""},
                                     {20, ""}})
    EXPECT_STREQ(parameterTitle(index).data(), title) << index;
  EXPECT_STREQ(controlTitle(7).data(), "Presence");
  EXPECT_STREQ(channelTitle(3).data(), "");
  std::set<std::string> titles;
  for (int index = 1; index <= 19; ++index) titles.insert(parameterTitle(index).data());
  EXPECT_EQ(titles.size(), 19U);
}

}  // namespace
}  // namespace quellard::test
