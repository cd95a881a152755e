// SPDX-License-Identifier: ISC
// The scalar chain: one sample after the other through all stages. It plays what is too short for
// the pipeline, and voicings that the pipeline cannot play.
#pragma once

#include "channels/signal_chain.h"

namespace quellard {

// [audio thread] Allocates nothing.
void playScalar(AmpChannelBase& channel, const ChainParts& parts, const Segment& segment);

}  // namespace quellard
