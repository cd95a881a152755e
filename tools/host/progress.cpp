// SPDX-License-Identifier: ISC
#include "tools/host/progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>

namespace quellard {
namespace {

constexpr int kBarWidth = 40;
constexpr auto kFirstDraw = std::chrono::milliseconds(300);
constexpr auto kDrawInterval = std::chrono::milliseconds(100);

}  // namespace

Progress::Progress(bool visible)
    : visible_(visible), begin_(Clock::now()), nextDraw_(begin_ + kFirstDraw) {}

void Progress::advance(std::int64_t frames) {
  const std::int64_t done = done_ += frames;
  if (!visible_) return;
  // While another thread draws, this one goes on rendering.
  const std::unique_lock lock(drawing_, std::try_to_lock);
  const Clock::time_point now = Clock::now();
  if (!lock || now < nextDraw_) return;
  nextDraw_ = now + kDrawInterval;
  draw(done);
}

void Progress::expect(std::int64_t frames) {
  if (frames <= 0) unknown_ = true;
  expected_ += frames;
  ++opened_;
}

// For files that are not open yet the mean length of the others is assumed.
double Progress::part(double done) const {
  const double each = static_cast<double>(expected_) / std::max<int>(opened_, 1);
  return std::min(1.0, done / std::max(each * (files_ - skipped_), 1.0));
}

// At the mean speed so far. Wide enough to cover what stood there before.
std::string Progress::timeLeft(double part) const {
  const double elapsed = std::chrono::duration<double>(Clock::now() - begin_).count();
  if (part <= 0.0 || elapsed < 1.0) return {};
  const auto seconds = std::llround(std::min(elapsed / part - elapsed, 3599999.0));
  const auto minutes = seconds / 60;
  return minutes < 60
             ? fmt::format(", {}:{:02} left   ", minutes, seconds % 60)
             : fmt::format(", {}:{:02}:{:02} left   ", minutes / 60, minutes % 60, seconds % 60);
}

void Progress::draw(std::int64_t done) {
  if (unknown_) {
    fmt::print(stderr, "\r{:.1f} million samples", static_cast<double>(done) / 1e6);
  } else {
    const double played = part(static_cast<double>(done));
    const int filled = static_cast<int>(played * kBarWidth);
    fmt::print(stderr, "\r[{:=<{}}{:<{}}] {:3.0f} %{}", "", filled, "", kBarWidth - filled,
               played * 100, timeLeft(played));
  }
  std::fflush(stderr);
  drawn_ = true;
}

void Progress::clear() {
  const std::lock_guard lock(drawing_);
  if (!drawn_) return;
  fmt::print(stderr, "\r\x1b[K");
  std::fflush(stderr);
  drawn_ = false;
}

}  // namespace quellard
