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
    values_[parameter].store(value, kRelaxed);
    state_.fetch_or(newsOf(parameter) | heldOf(parameter), std::memory_order_release);
  }
  void move(int parameter, float value) {
    values_[parameter].store(value, kRelaxed);
    state_.fetch_or(newsOf(parameter), std::memory_order_release);
  }
  void end(int parameter) { state_.fetch_and(~heldOf(parameter), std::memory_order_release); }

  // Calls send(kind, parameter, value) for all that the host does not know, until it returns false
  // because the host takes no more; value is that of Kind::value. [any one thread at a time, that
  // of process() or flush()] No lock, no allocation.
  template <typename Send>
  void sendTo(const Send& send) {
    const std::uint64_t state = state_.load(kRelaxed);
    if ((state & kAllNews) == 0 && (open_ & ~(state >> kHeldShift)) == 0) return;
    for (int parameter = 1; parameter <= kNumHostedValues; ++parameter) {
      if (!sendOne(parameter, send)) return;
    }
  }

 private:
  static constexpr auto kRelaxed = std::memory_order_relaxed;
  static constexpr int kHeldShift = 32;
  static_assert(kNumHostedValues < kHeldShift);
  static constexpr std::uint64_t kAllNews = (std::uint64_t{1} << kHeldShift) - 1;

  static constexpr std::uint64_t newsOf(int parameter) { return std::uint64_t{1} << parameter; }
  static constexpr std::uint64_t heldOf(int parameter) { return newsOf(parameter) << kHeldShift; }

  // Takes the news before the value: a move in between is sent now and once more.
  template <typename Send>
  bool sendOne(int parameter, const Send& send) {
    const std::uint64_t news = newsOf(parameter);
    const std::uint64_t state = state_.fetch_and(~news, std::memory_order_acquire);
    if ((state & news) != 0) {
      bool isSent = (open_ & news) != 0 || send(Kind::begin, parameter, 0.0F);
      if (isSent) open_ |= news;
      isSent = isSent && send(Kind::value, parameter, values_[parameter].load(kRelaxed));
      if (!isSent) {
        state_.fetch_or(news, kRelaxed);
        return false;
      }
    }
    if ((open_ & news) == 0 || (state & heldOf(parameter)) != 0) return true;
    if (!send(Kind::end, parameter, 0.0F)) return false;
    open_ &= ~news;
    return true;
  }

  std::atomic<std::uint64_t> state_ = 0;  // a bit for news of each parameter, another while held
  PerParameter<std::atomic<float>, kNumHostedValues> values_;
  std::uint64_t open_ = 0;  // what the host has seen the begin of, but not the end
};

}  // namespace quellard
