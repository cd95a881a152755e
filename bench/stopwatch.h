// SPDX-License-Identifier: ISC
// Timing two things against each other on a machine that does not stand still: they take turns,
// a turn lasting a few milliseconds, so that whatever slows one of them slows both.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace quellard::bench {

// The time that `work` takes, in ns.
template <typename Work>
double nanoseconds(Work&& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
}

inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// The turns of the shipped code and of the plain model.
class Race {
 public:
  void add(double shipped, double plain) {
    shipped_.push_back(shipped);
    plain_.push_back(plain);
    ratios_.push_back(plain / shipped);
  }

  // The undisturbed turn of each, and the middle one of all ratios within one turn.
  double shipped() const { return *std::min_element(shipped_.begin(), shipped_.end()); }
  double plain() const { return *std::min_element(plain_.begin(), plain_.end()); }
  double ratio() const { return median(ratios_); }

 private:
  std::vector<double> shipped_, plain_, ratios_;
};

}  // namespace quellard::bench
