// SPDX-License-Identifier: ISC
// A stretch of a block in the plain order: one sample after the other through all stages. It plays
// what is too short for the fast core.
#pragma once

#include "channels/signal_chain.h"

namespace quellard {

// [audio thread] Allocates nothing.
void playPlain(AmpChannelBase& channel, const ChainParts& parts, const Stretch& stretch);

}  // namespace quellard
