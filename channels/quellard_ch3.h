// SPDX-License-Identifier: ISC
// The MODERN channel: VINTAGE with a mid boost in front, half the drive factor into a first
// waveshaper 1.5 times as steep, wider power filters and an output EQ of its own.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh3 final : public MultistageChannel<QuellardCh3> {
 public:
  using MultistageChannel::MultistageChannel;

  static const ChannelConstants kConstants;
  static FirstShaper clip;  // T0 in signal_chain.h; T1 to T3 are multistageClip

  QUELLARD_VOICING(QuellardCh3, modern);
};

}  // namespace quellard
