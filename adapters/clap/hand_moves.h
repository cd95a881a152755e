// SPDX-License-Identifier: ISC
// Moves by hand on their way from the face to the host, which takes them as the events of a block
// or of a flush. For each parameter there is room for one move: what comes before the host has
// asked is joined with what is there, so that nothing can run over, and a host that takes no more
// gets the rest the next time. The host always sees begin, values and end in this order.
#pragma once

#include <atomic>
#include <cstdint>

#include "rig/rig_parameters.h"

namespace quellard {

class HandMoves {
 public:
  enum class Kind { begin, value, end };

  // A hand on a parameter: 1..kNumHostedValues. value: the one that it has. [main thread] No lock,
  // no allocation.
  void begin(int parameter, float value) {
    held_.fetch_or(bitOf(parameter), kRelaxed);
    move(parameter, value);
  }
  void move(int parameter, float value) {
    values_[parameter].store(value, kRelaxed);
    news_.fetch_or(bitOf(parameter), std::memory_order_release);
  }
  void end(int parameter) { held_.fetch_and(~bitOf(parameter), std::memory_order_release); }

  // Calls send(kind, parameter, value) for all that the host does not know, until it returns false
  // because the host takes no more; value is that of Kind::value. [any one thread at a time, that
  // of process() or flush()] No lock, no allocation.
  template <typename Send>
  void sendTo(const Send& send) {
    if (news_.load(kRelaxed) == 0 && (open_ & ~held_.load(kRelaxed)) == 0) return;
    for (int parameter = 1; parameter <= kNumHostedValues; ++parameter) {
      if (!sendOne(parameter, send)) return;
    }
  }

 private:
  static constexpr auto kRelaxed = std::memory_order_relaxed;
  static_assert(kNumHostedValues < 32);

  static constexpr std::uint32_t bitOf(int parameter) { return std::uint32_t{1} << parameter; }

  // The order of the loads keeps begin, value and end in theirs:
  // 1. held_. Where this acquire sees what end() stored, 2 sees every move() before that end(), so
  //    that no value comes after Kind::end.
  // 2. The bit of news_, before the value: one stored in between is sent now and once more. Where
  //    this acquire sees what a begin() stored, 3 sees the bit in held_ that it stored before.
  // 3. held_ again, so that a parameter grasped since 1 stays open. Kind::end is sent only where
  //    both loads find it let go; otherwise the next call sends it.
  template <typename Send>
  bool sendOne(int parameter, const Send& send) {
    const std::uint32_t bit = bitOf(parameter);
    const std::uint32_t heldBefore = held_.load(std::memory_order_acquire);
    const bool hasNews = (news_.fetch_and(~bit, std::memory_order_acquire) & bit) != 0;
    if (hasNews && !sendValue(parameter, send)) {
      news_.fetch_or(bit, kRelaxed);
      return false;
    }
    const std::uint32_t held = heldBefore | held_.load(kRelaxed);
    if ((open_ & bit & ~held) == 0) return true;
    if (!send(Kind::end, parameter, 0.0F)) return false;
    open_ &= ~bit;
    return true;
  }

  template <typename Send>
  bool sendValue(int parameter, const Send& send) {
    if ((open_ & bitOf(parameter)) == 0) {
      if (!send(Kind::begin, parameter, 0.0F)) return false;
      open_ |= bitOf(parameter);
    }
    return send(Kind::value, parameter, values_[parameter].load(kRelaxed));
  }

  // A bit for each parameter.
  std::atomic<std::uint32_t> news_ = 0;
  std::atomic<std::uint32_t> held_ = 0;
  std::uint32_t open_ = 0;  // what the host has seen the begin of, but not the end
  PerParameter<std::atomic<float>, kNumHostedValues> values_;
};

}  // namespace quellard
