// SPDX-License-Identifier: ISC
// The MODERN channel: VINTAGE with a mid boost in front, half the drive factor into a first
// waveshaper 1.5 times as steep, and wider filters between the waveshapers.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh3 final : public MultistageChannel<QuellardCh3> {
 public:
  using MultistageChannel::MultistageChannel;

  static const ChannelConstants kConstants;
  static DriveClipper clip;  // T0 in signal_chain.h; T1 to T3 are multistageClip

  // The voicing by columns, as the host interface names them: QuellardCh3preNum, ...preFrq and so
  // on.
  QUELLARD_COLUMNS(QuellardCh3pre, modern::kPre);
  QUELLARD_COLUMNS(QuellardCh3post, modern::kPost);
  QUELLARD_COLUMNS_BUT_GAIN(QuellardCh3eq, modern::kEq);
  QUELLARD_COLUMNS(QuellardCh3power, modern::kPower);
  QUELLARD_COLUMNS(QuellardCh3revise, modern::kRevise);
};

}  // namespace quellard
