// SPDX-License-Identifier: ISC
// The CLEAN channel: every filter at the sample rate, one waveshaper.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh1 final : public VoicedChannel<QuellardCh1> {
 public:
  using VoicedChannel::VoicedChannel;

  static const ChannelConstants kConstants;
  static FirstShaper clip;  // T0 in signal_chain.h

  QUELLARD_VOICING(QuellardCh1, clean);
};

}  // namespace quellard
