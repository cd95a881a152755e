// SPDX-License-Identifier: ISC
// Sample-accurate automation: the amplifier adopts new values at the start of a block, so a host's
// block is played in pieces that begin at its events.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

namespace quellard {

// Calls play(begin, end) for the pieces of a block and apply(i) for the events between them.
// timeOf(i): the frame of event i, or nothing for an event that is not for the amplifier and must
// not cut the block. An event that lies before its predecessor is applied together with it, one
// beyond the block at its end. [audio thread] Allocates nothing itself.
template <typename TimeOf, typename Apply, typename Play>
void splitAtEvents(std::uint32_t frames, std::uint32_t events, const TimeOf& timeOf,
                   const Apply& apply, const Play& play) {
  std::uint32_t done = 0;
  for (std::uint32_t i = 0; i < events; ++i) {
    const std::optional<std::uint32_t> time = timeOf(i);
    if (!time.has_value()) continue;
    const std::uint32_t until = std::min(*time, frames);
    if (until > done) {
      play(done, until);
      done = until;
    }
    apply(i);
  }
  if (done < frames) play(done, frames);
}

}  // namespace quellard
