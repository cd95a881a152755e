// SPDX-License-Identifier: ISC
// Parses what people write: numbers, and words from a known list. Numbers out of range throw
// UsageError with a message that says what was expected.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quellard {

// Some editors and spreadsheets write it in front of a text.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// The text as a finite number; nothing if it is no number as a whole.
std::optional<double> parseNumber(std::string_view text);

// The same, limited to a range, and as an integer. what: the option's name, for the message.
double numberWithin(const char* what, std::string_view text, double lowest, double highest);
int integerWithin(const char* what, std::string_view text, int lowest, int highest);

// ", did you mean 'gain'?" when the word is similar to one of the known ones, otherwise "".
std::string suggestion(std::string_view word, const std::vector<std::string>& known);

}  // namespace quellard
