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

  // The voicing by columns, as the host interface names them: QuellardCh2preNum, ...preFrq and so
  // on.
  QUELLARD_COLUMNS(QuellardCh2pre, vintage::kPre);
  QUELLARD_COLUMNS(QuellardCh2post, vintage::kPost);
  QUELLARD_COLUMNS_BUT_GAIN(QuellardCh2eq, vintage::kEq);
  QUELLARD_COLUMNS(QuellardCh2power, vintage::kPower);
  QUELLARD_COLUMNS(QuellardCh2revise, vintage::kRevise);
};

}  // namespace quellard
