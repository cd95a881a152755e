// SPDX-License-Identifier: ISC
// What a sweep varies: settings with the values that each shall take, and their combinations.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quellard {

// One setting, by a name of chosen_settings.h, and its values: those of a list, or equal steps.
class Axis {
 public:
  // "channel=clean,vintage" lists values. "gain=0:10:2.5" is 0, 2.5, 5, 7.5 and 10. "gain=0:10" is
  // a range, in which values are drawn at random, with two decimals. Throws UsageError.
  static Axis parse(std::string_view text);
  // values: at least one. Throws UsageError for none.
  static Axis listing(std::string name, std::vector<std::string> values);
  // step: 0 for a range. Throws UsageError where lowest > highest, or for more than a million
  // steps.
  static Axis stepping(std::string name, double lowest, double highest, double step);

  const std::string& name() const { return name_; }
  // Whether it is a range, whose values are too many to try each.
  bool isRange() const { return isRange_; }
  std::uint32_t count() const { return count_; }
  // number: 0 to count() - 1.
  std::string value(std::uint32_t number) const;

 private:
  explicit Axis(std::string name) : name_(std::move(name)) {}

  std::string name_;
  std::vector<std::string> values_;  // empty for steps
  double lowest_ = 0.0;
  double step_ = 0.0;
  bool isRange_ = false;
  std::uint32_t count_ = 0;
};

// The number of a value on each axis.
using Combination = std::vector<std::uint32_t>;

// All combinations, the last axis changing first; one without axes. Throws UsageError for a range,
// an axis that is named twice, and for more than ten million.
std::vector<Combination> everyCombination(const std::vector<Axis>& axes);

// As many different ones as are wanted, each drawn with the same probability, in the order in which
// they were drawn; all of them, in order, where there are no more. The same seed gives the same on
// every machine. count: > 0. Throws UsageError for an axis that is named twice.
std::vector<Combination> randomCombinations(const std::vector<Axis>& axes, int count,
                                            std::uint64_t seed);

}  // namespace quellard
