// SPDX-License-Identifier: ISC
#include "params/program.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace quellard::test {
namespace {

// The name that a host reads back for program 16.
std::string nameAfter(const char* given) {
  QuellardProgram program;
  program.rename(given);
  std::vector<char> text(kVstMaxProgNameLen + 1, '#');
  program.writeNumberedName(16, text.data());
  EXPECT_EQ(text[kVstMaxProgNameLen], '#');
  return text.data();
}

TEST(Program, NamesAreCutToTheirFieldBetweenCharacters) {
  const std::string x19(19, 'x'), x20(20, 'x'), x21(21, 'x'), x22(22, 'x'), x23(23, 'x');
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {x23, x23},
      {x23 + "x", x23},
      {x21 + "\u00e9 ...", x21 + "\u00e9"},
      {x22 + "\u00e9 ...", x22},
      {x21 + "\u20ac ...", x21},
      {x22 + "\u20ac ...", x22},
      {x20 + "\U0001f3b8 ...", x20},
      {x19 + "\U0001f3b8 ...", x19 + "\U0001f3b8"},
      {std::string(40, '\x80'), ""},  // not UTF-8 at all
      {"Init", "Init 16"},
      {"Init ", "Init "},
      {"Initial", "Initial"}};
  for (const auto& [given, kept] : rows) EXPECT_EQ(nameAfter(given.c_str()), kept) << given;
  const std::vector<char> unterminated(kVstMaxProgNameLen, 'y');
  EXPECT_EQ(nameAfter(unterminated.data()), std::string(23, 'y')) << "read no further";
}

TEST(Program, NothingIsLeftOfALongerName) {
  QuellardProgram program;
  program.rename("a longer name");
  program.rename("ab");
  EXPECT_EQ(std::string(program.name, sizeof program.name), "ab" + std::string(22, '\0'));
  program.rename(program.name + 1);  // source and target may overlap
  EXPECT_STREQ(program.name, "b");
}

}  // namespace
}  // namespace quellard::test
