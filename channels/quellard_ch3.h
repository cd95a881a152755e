// SPDX-License-Identifier: ISC
// The MODERN channel: the four waveshapers of VINTAGE, with a mid boost and half the drive in front
// of them and wider filters between them.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh3 final : public MultistageChannel<QuellardCh3> {
 public:
  using MultistageChannel::MultistageChannel;

  static const ChannelConstants kConstants;
  static DriveClipper clip;  // T0; T1 to T3 are multistageClip

  // The voicing by columns: QuellardCh3preNum, ...preFrq, ...preQ, ...preGain and so on.
  QUELLARD_COLUMNS(QuellardCh3pre, modern::kPre);
  QUELLARD_COLUMNS(QuellardCh3post, modern::kPost);
  QUELLARD_COLUMNS_BUT_GAIN(QuellardCh3eq, modern::kEq);
  QUELLARD_COLUMNS(QuellardCh3power, modern::kPower);
  QUELLARD_COLUMNS(QuellardCh3revise, modern::kRevise);
};

}  // namespace quellard
