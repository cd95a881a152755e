// SPDX-License-Identifier: ISC
// Sample-accurate automation: the amplifier takes a new setting at the start of a block, so a
// host's block is played as stretches that end where an event falls.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

namespace quellard {

// Calls play(begin, end) for the stretches of a block and apply(i) for its events in between.
// timeOf(i): the frame of event i, or nothing for an event that is not for the amplifier and must
// not cut the block. A time that is behind its predecessor's or beyond the block is moved up to the
// nearest frame that is left. [audio thread] Allocates nothing itself.
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
