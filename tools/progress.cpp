// SPDX-License-Identifier: ISC
#include "tools/progress.h"

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
  // Whoever finds another thread drawing goes on with its audio.
  const std::unique_lock lock(drawing_, std::try_to_lock);
  const Clock::time_point now = Clock::now();
  if (!lock || now < nextDraw_) return;
  nextDraw_ = now + kDrawInterval;
  const std::int64_t expected = std::max<std::int64_t>(expected_, 1);
  draw(std::min(1.0, static_cast<double>(done) / static_cast<double>(expected)));
}

void Progress::draw(double part) {
  const int filled = static_cast<int>(part * kBarWidth);
  fmt::print(stderr, "\r[{:=<{}}{:<{}}] {:3.0f} %", "", filled, "", kBarWidth - filled, part * 100);
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
