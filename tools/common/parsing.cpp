// SPDX-License-Identifier: ISC
#include "tools/common/parsing.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "params/number_text.h"
#include "params/words.h"
#include "tools/common/errors.h"

namespace quellard {
namespace {

// The number of insertions, deletions, replacements and swaps of neighbouring letters that turn one
// word into the other.
std::size_t editDistance(std::string_view a, std::string_view b) {
  const std::size_t width = b.size() + 1;
  std::vector<std::size_t> table((a.size() + 1) * width);
  const auto at = [&](std::size_t i, std::size_t j) -> std::size_t& {
    return table[i * width + j];
  };
  for (std::size_t i = 0; i <= a.size(); ++i) at(i, 0) = i;
  for (std::size_t j = 0; j <= b.size(); ++j) at(0, j) = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
      at(i, j) = std::min({at(i - 1, j) + 1, at(i, j - 1) + 1, at(i - 1, j - 1) + cost});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) at(i, j) = std::min(at(i, j), at(i - 2, j - 2) + 1);
    }
  }
  return table.back();
}

}  // namespace

std::optional<double> parseNumber(std::string_view text) {
  return numberFromText(withoutPlus(trimmed(text)));
}

double numberWithin(const char* what, std::string_view text, double lowest, double highest) {
  const std::optional<double> value = parseNumber(text);
  if (!value) throw UsageError(fmt::format("{}: '{}' is not a number", what, text));
  if (*value < lowest || *value > highest) {
    throw UsageError(fmt::format("{}: {} is outside {} to {}", what, text, lowest, highest));
  }
  return *value;
}

int integerWithin(const char* what, std::string_view text, int lowest, int highest) {
  const double value = numberWithin(what, text, lowest, highest);
  if (value != std::floor(value)) {
    throw UsageError(fmt::format("{}: {} is not a whole number", what, text));
  }
  return static_cast<int>(value);
}

std::string suggestion(std::string_view word, const std::vector<std::string>& known) {
  // No known word is nearly as long; comparing would only take time and memory.
  constexpr std::size_t kLongestWord = 64;
  if (word.size() > kLongestWord) return {};
  std::size_t nearest = std::max<std::size_t>(1, word.size() / 3) + 1;
  const std::string* best = nullptr;
  for (const std::string& candidate : known) {
    const std::size_t distance = editDistance(lowered(word), lowered(candidate));
    if (distance < nearest) {
      nearest = distance;
      best = &candidate;
    }
  }
  return best != nullptr ? fmt::format(", did you mean '{}'?", *best) : std::string();
}

}  // namespace quellard
