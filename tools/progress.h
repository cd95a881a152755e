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

  // files: how many will be opened, each of which then tells how much it holds.
  void expectFiles(std::size_t files) { files_ = static_cast<double>(files); }

  // Any thread. frames: what one more of the files holds, 0 when nobody knows; then the bar gives
  // way to a counter. Headers may be wrong; the bar just stays full then.
  void expect(std::int64_t frames);

  // Any thread. Draws at most ten times a second.
  void advance(std::int64_t frames);

  // Wipes the bar off the line.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  void draw(std::int64_t done);
  double part(double done) const;

  bool visible_;
  double files_ = 1.0;
  std::atomic<int> opened_{0};
  std::atomic<bool> unknown_{false};
  std::atomic<std::int64_t> expected_{0};
  std::atomic<std::int64_t> done_{0};
  std::mutex drawing_;
  Clock::time_point nextDraw_;
  bool drawn_ = false;
};

}  // namespace quellard
