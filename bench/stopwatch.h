// SPDX-License-Identifier: ISC
// Compares the speed of two pieces of code on a machine that does other work too: they alternate in
// rounds of a few milliseconds, so that whatever slows one of them slows the other as well.
#pragma once

#include <algorithm>
#include <ctime>
#include <vector>

namespace quellard::bench {

// The processor time of this thread, in ns: time in which other processes run does not count.
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

// The same after an untimed first call, which fills the caches. In a host they are filled too, by
// the block before; here the other contender has just used them.
template <typename Work>
double warmNanoseconds(Work&& work) {
  work();
  return nanoseconds(work);
}

// The times of the shipped code and of the reference, one pair per round.
class Race {
 public:
  void add(double shipped, double reference) {
    shipped_.push_back(shipped);
    reference_.push_back(reference);
  }

  // The fastest round of each, which was disturbed least.
  double shipped() const { return *std::min_element(shipped_.begin(), shipped_.end()); }
  double reference() const { return *std::min_element(reference_.begin(), reference_.end()); }
  double ratio() const { return reference() / shipped(); }

 private:
  std::vector<double> shipped_, reference_;
};

}  // namespace quellard::bench
