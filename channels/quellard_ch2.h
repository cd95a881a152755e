// SPDX-License-Identifier: ISC
// The VINTAGE channel: four oversampled waveshapers, with filters between them and a split in the
// power stage. The first waveshaper clips early and softly.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh2 final : public MultistageChannel<QuellardCh2> {
 public:
  using MultistageChannel::MultistageChannel;

  static const ChannelConstants kConstants;
  static DriveClipper clip;  // T0 in signal_chain.h; T1 to T3 are multistageClip

  QUELLARD_VOICING(QuellardCh2, vintage);
};

}  // namespace quellard
