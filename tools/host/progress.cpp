// SPDX-License-Identifier: ISC
#include "tools/host/progress.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>

namespace quellard {
namespace {

constexpr int kBarWidth = 40;
constexpr auto kFirstDraw = std::chrono::milliseconds(300);
constexpr auto kDrawInterval = std::chrono::milliseconds(100);

}  // namespace

Progress::Progress(bool visible) : visible_(visible), nextDraw_(Clock::now() + kFirstDraw) {}

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
  return std::min(1.0, done / std::max(each * files_, 1.0));
}

void Progress::draw(std::int64_t done) {
  if (unknown_) {
    fmt::print(stderr, "\r{:.1f} million samples", static_cast<double>(done) / 1e6);
  } else {
    const double played = part(static_cast<double>(done));
    const int filled = static_cast<int>(played * kBarWidth);
    fmt::print(stderr, "\r[{:=<{}}{:<{}}] {:3.0f} %", "", filled, "", kBarWidth - filled,
               played * 100);
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
