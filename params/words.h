// SPDX-License-Identifier: ISC
// Words that players and files write: free of case and of the white space around them. Plain ASCII,
// as every name here is; the C library's own idea of case follows the locale. Any thread.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace quellard {

constexpr char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Allocates.
inline std::string lowered(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), lowerCase);
  return result;
}

constexpr std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kWhite = " \t\r\n";
  const std::size_t begin = text.find_first_not_of(kWhite);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kWhite) - begin + 1);
}

constexpr bool sameWord(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowerCase(x) == lowerCase(y); });
}

// Whether a byte is one of a UTF-8 sequence, but not its first.
constexpr bool continuesUtf8Sequence(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

// With all its bytes, if there is one.
inline void removeLastCharacter(std::string& utf8) {
  while (!utf8.empty() && continuesUtf8Sequence(utf8.back())) utf8.pop_back();
  if (!utf8.empty()) utf8.pop_back();
}

// "-60" from "-60 dB" and "-60 dBFS".
constexpr std::string_view withoutDecibels(std::string_view text) {
  for (const std::string_view unit : {"dbfs", "db"}) {
    const std::size_t end = text.size() - std::min(text.size(), unit.size());
    if (sameWord(text.substr(end), unit)) return trimmed(text.substr(0, end));
  }
  return text;
}

}  // namespace quellard
