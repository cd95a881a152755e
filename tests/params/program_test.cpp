// SPDX-License-Identifier: ISC
#include "params/program.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quellard::test {
namespace {

std::string nameAfter(const std::string& given) {
  QuellardProgram program;
  program.rename(given.c_str());
  char text[kProgramNameSize];
  program.writeName(text);
  return text;
}

TEST(Program, NamesAreCutToTheirFieldBetweenCharacters) {
  const std::string tail = "0123456789";
  const struct {
    std::string given, kept;
  } rows[] = {
      {"", ""},
      {std::string(23, 'x'), std::string(23, 'x')},
      {std::string(24, 'x'), std::string(23, 'x')},
      {std::string(300, 'x'), std::string(23, 'x')},
      // A two-byte character ends exactly at the limit, or would be cut by it.
      {std::string(21, 'x') + "\u00e9" + tail, std::string(21, 'x') + "\u00e9"},
      {std::string(22, 'x') + "\u00e9" + tail, std::string(22, 'x')},
      // Three and four bytes, cut after each of their bytes.
      {std::string(21, 'x') + "\u20ac" + tail, std::string(21, 'x')},
      {std::string(22, 'x') + "\u20ac" + tail, std::string(22, 'x')},
      {std::string(20, 'x') + "\U0001f3b8" + tail, std::string(20, 'x')},
      {std::string(19, 'x') + "\U0001f3b8" + tail, std::string(19, 'x') + "\U0001f3b8"},
  };
  for (const auto& row : rows) EXPECT_EQ(nameAfter(row.given), row.kept) << row.given;
  EXPECT_LE(nameAfter(std::string(40, '\x80')).size(), 23u) << "not UTF-8 at all";
}

TEST(Program, ReadsNoFurtherThanTheFieldIsLong) {
  const std::vector<char> unterminated(kProgramNameSize, 'y');
  QuellardProgram program;
  program.rename(unterminated.data());
  EXPECT_EQ(std::string(program.name), std::string(23, 'y'));
  program.rename("ab");
  EXPECT_EQ(std::string(program.name, sizeof program.name),
            std::string("ab") + std::string(22, '\0'))
      << "remains of the longer name are left in the record";
  program.rename(program.name + 1);  // a host may hand back what it was given
  EXPECT_STREQ(program.name, "b");
}

TEST(Program, OnlyTheExactUnnamedTextIsNumbered) {
  const struct {
    const char *name, *shown;
  } rows[] = {{"Init", "Init 16"}, {"init", "init"}, {"Init ", "Init "}, {"Initial", "Initial"}};
  for (const auto& row : rows) {
    QuellardProgram program;
    program.rename(row.name);
    char text[kProgramNameSize + 1];
    std::memset(text, '#', sizeof text);
    program.writeNumberedName(16, text);
    EXPECT_STREQ(text, row.shown);
    EXPECT_EQ(text[kProgramNameSize], '#');
  }
}

}  // namespace
}  // namespace quellard::test
