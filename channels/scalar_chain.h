// SPDX-License-Identifier: ISC
// The scalar chain: one sample after the other through all stages. It plays what is too short for
// the fast core, and voicings that the fast core has no room for.
#pragma once

#include "channels/signal_chain.h"

namespace quellard {

// [audio thread] Allocates nothing.
void playScalar(AmpChannelBase& channel, const ChainParts& parts, const Segment& segment);

}  // namespace quellard
