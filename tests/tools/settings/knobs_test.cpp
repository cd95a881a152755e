// SPDX-License-Identifier: ISC
#include "tools/settings/knobs.h"

#include <gtest/gtest.h>

#include "tools/common/errors.h"

namespace quellard {
namespace {

std::string complaint(const std::string& name, const std::string& value) {
  try {
    parseParameterChange(name, value, 0);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(Knobs, NamesReachTheParameterOfTheirChannel) {
  const struct {
    const char *name, *value;
    int channel, parameter;
    float stored;
  } cases[] = {
      {"gain", "7.5", 0, 6, 0.75f},         {"GAIN", "0", 1, 12, 0.0f},
      {"vintage.bass", "2.5", 0, 8, 0.25f}, {"Modern_Treble", "+1e0", 0, 16, 0.1f},
      {"clean master", " 5 ", 2, 5, 0.5f},  {"type", "Vintage", 2, 19, 0.5f},
      {"channel", "MODERN", 0, 19, 1.0f},   {"12", "0.75", 0, 12, 0.75f},
  };
  for (const auto& test : cases) {
    const auto [parameter, value] = parseParameterChange(test.name, test.value, test.channel);
    EXPECT_EQ(parameter, test.parameter) << test.name;
    EXPECT_EQ(value, test.stored) << test.name;
  }
}

TEST(Knobs, ErrorsNameTheMistakeAndSuggestSimilarWords) {
  EXPECT_EQ(complaint("vintge.gain", "5"),
            "unknown knob 'vintge.gain', did you mean 'vintage_gain'?");
  EXPECT_EQ(complaint("reverb", "5"), "unknown knob 'reverb'");
  const std::string huge(20'000'000, 'g');  // comparing it with the known names took a minute
  EXPECT_EQ(complaint(huge, "5"), "unknown knob '" + huge + "'");
  EXPECT_EQ(complaint("channel", "cleen"), "unknown channel 'cleen', did you mean 'clean'?");
  EXPECT_EQ(complaint("channel", "2"), "unknown channel '2': clean, vintage or modern");
  EXPECT_EQ(complaint("gain", "10.01"), "gain: 10.01 is outside 0 to 10");
  EXPECT_EQ(complaint("6", "7.5"), "parameter 6: 7.5 is outside 0 to 1");
  for (const char* value : {"", "loud", "7,5", "5 5", "nan", "inf", "0x5"}) {
    EXPECT_NE(complaint("gain", value).find("is not a number"), std::string::npos) << value;
  }
  for (const char* index : {"0", "20", "-1", "1.5"}) {
    EXPECT_NE(complaint(index, "0").find("there is no parameter"), std::string::npos) << index;
  }
}

TEST(Knobs, AssignmentsSplitAtTheFirstEqualsSign) {
  EXPECT_EQ(splitAssignment(" gain = 7 "), std::make_pair(std::string("gain"), std::string("7")));
  EXPECT_EQ(splitAssignment("a=b=c").second, "b=c");
  EXPECT_THROW(splitAssignment("gain 7"), UsageError);
}

}  // namespace
}  // namespace quellard
