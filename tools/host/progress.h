// SPDX-License-Identifier: ISC
// A progress bar on stderr, shared by all threads of a render.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

namespace quellard {

class Progress {
 public:
  // visible: whether to draw. Nothing is drawn in the first 0.3 seconds.
  explicit Progress(bool visible);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // files: the number of files, for each of which expect() will be called.
  void expectFiles(std::size_t files) { files_ = static_cast<double>(files); }

  // Adds a file's length. 0 means unknown and turns the bar into a counter. If the lengths are too
  // small, the bar stays full. [any thread]
  void expect(std::int64_t frames);

  // Instead of expect(), for a file that needs no work. [any thread]
  void skipFile() { ++skipped_; }

  // Adds frames that are done. Draws at most ten times a second. [any thread]
  void advance(std::int64_t frames);

  // Erases the bar.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  void draw(std::int64_t done);
  double part(double done) const;
  std::string timeLeft(double part) const;

  bool visible_;
  double files_ = 1.0;
  std::atomic<int> opened_{0};
  std::atomic<int> skipped_{0};
  std::atomic<bool> unknown_{false};
  std::atomic<std::int64_t> expected_{0};
  std::atomic<std::int64_t> done_{0};
  std::mutex drawing_;
  Clock::time_point begin_;
  Clock::time_point nextDraw_;
  bool drawn_ = false;
};

}  // namespace quellard
