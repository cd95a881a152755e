// SPDX-License-Identifier: ISC
#include "tools/sweep/axis.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <optional>
#include <random>
#include <set>
#include <utility>

#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/parsing.h"
#include "tools/settings/knobs.h"

namespace quellard {
namespace {

constexpr double kMostSteps = 1e6;
constexpr double kMostCombinations = 1e7;
constexpr double kRangeStep = 0.01;  // knobs show two decimals

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.emplace_back(trimmed(text.substr(0, end)));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

// The numbers of "0:10:2.5"; none where one is no number, as in a file's name with colons.
std::vector<double> numbersIn(const std::vector<std::string>& parts) {
  std::vector<double> numbers;
  for (const std::string& part : parts) {
    const std::optional<double> number = parseNumber(part);
    if (!number) return {};
    numbers.push_back(*number);
  }
  return numbers;
}

double numberOfCombinations(const std::vector<Axis>& axes) {
  double number = 1.0;
  for (const Axis& axis : axes) number *= axis.count();
  return number;
}

void refuseNamedTwice(const std::vector<Axis>& axes) {
  std::set<std::string> names;
  for (const Axis& axis : axes) {
    std::string name = lowered(axis.name());
    // As for knobs: "vintage gain" is "vintage.gain".
    std::ranges::replace_if(
        name, [](char c) { return c == '.' || c == '-' || c == ' '; }, '_');
    if (!names.insert(std::move(name)).second) {
      throw UsageError(fmt::format("'{}' is varied twice", axis.name()));
    }
  }
}

// Numbers count combinations, the last axis changing first.
Combination numbered(const std::vector<Axis>& axes, std::uint64_t number) {
  Combination combination(axes.size());
  for (std::size_t i = axes.size(); i-- > 0;) {
    combination[i] = static_cast<std::uint32_t>(number % axes[i].count());
    number /= axes[i].count();
  }
  return combination;
}

std::vector<Combination> allOf(const std::vector<Axis>& axes) {
  std::vector<Combination> all(static_cast<std::size_t>(numberOfCombinations(axes)));
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = numbered(axes, i);
  return all;
}

// 0 to count - 1 with the same probability each: what is left over at the end of the generator's
// range is drawn again. The library's own distribution differs between libraries.
std::uint32_t drawBelow(std::uint32_t count, std::mt19937_64& generator) {
  constexpr std::uint64_t kHighest = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t end = kHighest - kHighest % count;
  std::uint64_t drawn = 0;
  do {
    drawn = generator();
  } while (drawn >= end);
  return static_cast<std::uint32_t>(drawn % count);
}

}  // namespace

Axis Axis::parse(std::string_view text) {
  auto [name, values] = splitAssignment(text);
  const std::vector<std::string> parts = split(values, ':');
  const std::vector<double> numbers = numbersIn(parts);
  if (numbers.size() == 2) return stepping(std::move(name), numbers[0], numbers[1], 0.0);
  if (numbers.size() == 3) {
    if (numbers[2] <= 0.0) throw UsageError(fmt::format("'{}': the step must be above 0", text));
    return stepping(std::move(name), numbers[0], numbers[1], numbers[2]);
  }
  if (numbers.size() > 3) {
    throw UsageError(fmt::format("'{}' is not of the form NAME=LOWEST:HIGHEST:STEP", text));
  }
  return listing(std::move(name), split(values, ','));
}

Axis Axis::listing(std::string name, std::vector<std::string> values) {
  const bool empty = std::ranges::any_of(values, [](const auto& value) { return value.empty(); });
  if (values.empty() || empty) throw UsageError(fmt::format("'{}' has an empty value", name));
  if (static_cast<double>(values.size()) > kMostSteps) {
    throw UsageError(fmt::format("'{}' has more than a million values", name));
  }
  Axis axis(std::move(name));
  axis.count_ = static_cast<std::uint32_t>(values.size());
  axis.values_ = std::move(values);
  return axis;
}

Axis Axis::stepping(std::string name, double lowest, double highest, double step) {
  if (!(lowest <= highest) || !(step >= 0.0)) {
    throw UsageError(
        fmt::format("'{}' goes from {} to {}: the lower comes first", name, lowest, highest));
  }
  Axis axis(std::move(name));
  axis.lowest_ = lowest;
  axis.isRange_ = step == 0.0;
  axis.step_ = axis.isRange_ ? kRangeStep : step;
  // The tolerance lets 0:1:0.1, whose tenth step is a bit beyond 1, end with 1.
  const double steps = std::floor((highest - lowest) / axis.step_ + 1e-6);
  if (!(steps < kMostSteps)) {
    throw UsageError(fmt::format("'{}' has more than a million steps", axis.name_));
  }
  axis.count_ = static_cast<std::uint32_t>(steps) + 1;
  return axis;
}

std::string Axis::value(std::uint32_t number) const {
  if (!values_.empty()) return values_[number];
  constexpr double kDecimals = 1e9;  // 0.1 + 0.2 is 0.3
  const double exact = lowest_ + number * step_;
  return fmt::format("{}", std::round(exact * kDecimals) / kDecimals);
}

std::vector<Combination> everyCombination(const std::vector<Axis>& axes) {
  refuseNamedTwice(axes);
  for (const Axis& axis : axes) {
    if (!axis.isRange()) continue;
    throw UsageError(fmt::format(
        "'{}' is a range: give it a step (LOWEST:HIGHEST:STEP), or draw from it with --random",
        axis.name()));
  }
  const double number = numberOfCombinations(axes);
  if (number > kMostCombinations) {
    throw UsageError(fmt::format("{:.0f} combinations are too many: --random draws some", number));
  }
  return allOf(axes);
}

std::vector<Combination> randomCombinations(const std::vector<Axis>& axes, int count,
                                            std::uint64_t seed) {
  refuseNamedTwice(axes);
  if (numberOfCombinations(axes) <= count) return allOf(axes);
  std::mt19937_64 generator(seed);
  std::set<Combination> drawn;
  std::vector<Combination> combinations;
  while (std::ssize(combinations) < count) {
    Combination combination;
    for (const Axis& axis : axes) combination.push_back(drawBelow(axis.count(), generator));
    if (drawn.insert(combination).second) combinations.push_back(std::move(combination));
  }
  return combinations;
}

}  // namespace quellard
