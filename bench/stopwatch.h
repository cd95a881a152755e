// SPDX-License-Identifier: ISC
// Timing two things against each other on a machine that does not stand still: they take turns,
// a turn lasting a few milliseconds, so that whatever slows one of them slows both.
#pragma once

#include <algorithm>
#include <ctime>
#include <vector>

namespace quellard::bench {

// The processor time of this thread, in ns: turns that the machine takes away do not count.
inline double processorTime() {
  timespec now = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// The time that `work` takes, in ns.
template <typename Work>
double nanoseconds(Work&& work) {
  const double begin = processorTime();
  work();
  return processorTime() - begin;
}

// The same behind a first time that does not count: in a host nobody else has just emptied the
// cache of tables and code.
template <typename Work>
double warmNanoseconds(Work&& work) {
  work();
  return nanoseconds(work);
}

// The turns of the shipped code and of the reference.
class Race {
 public:
  void add(double shipped, double reference) {
    shipped_.push_back(shipped);
    reference_.push_back(reference);
  }

  // The undisturbed turn of each.
  double shipped() const { return *std::min_element(shipped_.begin(), shipped_.end()); }
  double reference() const { return *std::min_element(reference_.begin(), reference_.end()); }
  double ratio() const { return reference() / shipped(); }

 private:
  std::vector<double> shipped_, reference_;
};

}  // namespace quellard::bench
