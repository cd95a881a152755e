// SPDX-License-Identifier: ISC
#include <map>
#include <utility>
#include <windows.h>

#include "adapters/editor/ticker.h"

namespace quellard {
namespace {

// Timers without a window are told apart by their numbers. All are of the host's main thread.
std::map<UINT_PTR, std::function<void()>> running;

void CALLBACK called(HWND /*window*/, UINT /*message*/, UINT_PTR number, DWORD /*time*/) {
  const auto found = running.find(number);
  if (found == running.end()) return;
  const std::function<void()> tick = found->second;
  tick();
}

}  // namespace

const bool Ticker::kIsThere = true;

bool Ticker::start(int period_ms, std::function<void()> tick) {
  stop();
  number_ = SetTimer(nullptr, 0, static_cast<UINT>(period_ms), called);
  if (number_ == 0) return false;
  running[number_] = std::move(tick);
  return true;
}

void Ticker::stop() {
  if (number_ == 0) return;
  KillTimer(nullptr, number_);
  running.erase(std::exchange(number_, 0));
}

}  // namespace quellard
