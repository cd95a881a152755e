// SPDX-License-Identifier: ISC
// A progress bar on stderr, shared by all threads of a render.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>

namespace quellard {

class Progress {
 public:
  // visible: draw at all. Nothing is drawn for the first moments, so that short work stays quiet.
  explicit Progress(bool visible);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  bool visible() const { return visible_; }

  // frames: how much more work there is. Headers may be wrong; the bar just stays full then.
  void expect(std::int64_t frames) { expected_ += frames; }

  // Any thread. Draws at most ten times a second.
  void advance(std::int64_t frames);

  // Wipes the bar off the line.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  void draw(double part);

  bool visible_;
  std::atomic<std::int64_t> expected_{0};
  std::atomic<std::int64_t> done_{0};
  std::mutex drawing_;
  Clock::time_point nextDraw_;
  bool drawn_ = false;
};

}  // namespace quellard
