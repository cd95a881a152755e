// SPDX-License-Identifier: ISC
// Lends a channel to the fast core for the length of a stretch. The sections stay the owners of
// coefficients, glides and memory: all is loaded at the start and stored back at the end, so that
// everything said about a section holds between calls.
#pragma once

#include "channels/signal_chain.h"

namespace quellard::fast {

// Whether every section has the form that its voicing gives it: no one-pole recursion, and first
// order inside the oversampled loop. Others play in the plain order.
bool canLend(const AmpChannelBase& channel, const ChainParts& parts);

// Plays a stretch over which no glide ends, but on its last sample. [audio thread] Allocates
// nothing.
void playSkewed(AmpChannelBase& channel, const ChainParts& parts, const Stretch& stretch);

}  // namespace quellard::fast
