// SPDX-License-Identifier: ISC
// The VINTAGE channel: four oversampled waveshapers, with filters between them and a split in the
// power stage. The first waveshaper is asymmetric: its positive half ends at 0.45, its negative
// half at -1, and both have the same slope at 0. The second, after a gain of 13 at small signals,
// clips first.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh2 final : public MultistageChannel<QuellardCh2> {
 public:
  using MultistageChannel::MultistageChannel;

  static const ChannelConstants kConstants;
  static FirstShaper clip;  // T0 in signal_chain.h; T1 to T3 are multistageClip

  QUELLARD_VOICING(QuellardCh2, vintage);
};

}  // namespace quellard
