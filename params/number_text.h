// SPDX-License-Identifier: ISC
// Numbers that players and files write, with a point whatever the C library's locale. Any thread;
// nothing here allocates.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>

namespace quellard {

// The text as a finite number, "7.5" or "-60". Nothing if it is no number as a whole, or has a + or
// white space around it.
std::optional<double> numberFromText(std::string_view text,
                                     std::chars_format format = std::chars_format::general);

// "6" from "+6"; "+-6" stays, and so is no number.
constexpr std::string_view withoutPlus(std::string_view text) {
  return text.starts_with('+') && !text.starts_with("+-") ? text.substr(1) : text;
}

}  // namespace quellard
