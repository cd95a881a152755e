// SPDX-License-Identifier: ISC
// A timer of our own for windows whose host offers none. There is one on Windows, whose messages
// every host delivers, and none for X11, where only the host's loop reaches a plug-in.
#pragma once

#include <cstdint>
#include <functional>

namespace quellard {

class Ticker {
 public:
  static const bool kIsThere;

  Ticker() = default;
  ~Ticker() { stop(); }
  Ticker(const Ticker&) = delete;
  Ticker& operator=(const Ticker&) = delete;

  // Calls tick() on this thread every so many milliseconds until stop(), which tick() may call
  // itself, as it may destroy the ticker. False where there are no timers.
  bool start(int period_ms, std::function<void()> tick);
  void stop();

 private:
  std::uintptr_t number_ = 0;
};

}  // namespace quellard
