// SPDX-License-Identifier: ISC
#include "adapters/editor/ticker.h"

namespace quellard {

const bool Ticker::kIsThere = false;

bool Ticker::start(int /*period_ms*/, std::function<void()> /*tick*/) { return false; }

void Ticker::stop() { number_ = 0; }

}  // namespace quellard
