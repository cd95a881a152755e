// SPDX-License-Identifier: ISC
#include "tools/settings/automation.h"

#include <gtest/gtest.h>
#include <sstream>

#include "tools/common/errors.h"

namespace quellard {
namespace {

std::vector<Move> parse(const std::string& text) {
  std::istringstream stream(text);
  return parseAutomation(stream, "moves.csv", 0);
}

std::string complaint(const std::string& text) {
  try {
    parse(text);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(Automation, ReadsWhatPeopleAndSpreadsheetsWrite) {
  const std::vector<Move> moves = parse(
      "\xEF\xBB\xBFTime,Parameter,Value\r\n"
      "# the solo\r\n"
      "1.5, vintage.gain, 9 # up\r\n"
      "\r\n"
      "0.25\tclean_bass\t2\r\n"
      "1e0;mid;10");
  ASSERT_EQ(moves.size(), 3u);
  EXPECT_EQ(moves[0].seconds, 0.25);
  EXPECT_EQ(moves[0].change.parameter, 2);
  EXPECT_EQ(moves[1].change.parameter, 3);
  EXPECT_EQ(moves[2].change.parameter, 12);
  EXPECT_EQ(moves[2].change.value, 0.9f);
  EXPECT_TRUE(parse("seconds parameter value\n").empty());
}

TEST(Automation, KnobsWithoutAChannelMeanTheOneThatPlaysThen) {
  // Written out of order: at 1 s CLEAN plays, from 2 s on MODERN.
  std::vector<int> parameters;
  for (const Move& move : parse("3 gain 3\n2 mid 4\n2 channel modern\n1 gain 1\n")) {
    parameters.push_back(move.change.parameter);
  }
  EXPECT_EQ(parameters, (std::vector<int>{6, 15, 19, 18}));
}

TEST(Automation, ErrorsNameTheLine) {
  EXPECT_EQ(complaint("0 gain 5\n\n1 gian 5\n"),
            "moves.csv:3: unknown knob 'gian', did you mean 'gain'?");
  EXPECT_EQ(complaint("-1 gain 5"), "moves.csv:1: negative time");
  EXPECT_EQ(complaint("0 gain 5\n1 " + std::string(20'000'000, 'g') + " 5\n"),
            "moves.csv:2: a line of more than 4096 bytes");
  EXPECT_EQ(complaint("0 gain 5 #" + std::string(4086, ' ')), "accepted");
  for (const char* line : {"1 gain", "1 gain 5 6", "1..5 gain 5", "1 gain 5\nsoon gain 5"}) {
    EXPECT_NE(complaint(line).find("expected 'seconds, parameter, value'"), std::string::npos)
        << line;
  }
}

}  // namespace
}  // namespace quellard
