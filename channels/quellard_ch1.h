// SPDX-License-Identifier: ISC
// The CLEAN channel: every filter at the sample rate, one waveshaper.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh1 final : public VoicedChannel<QuellardCh1> {
 public:
  using VoicedChannel::VoicedChannel;

  static const ChannelConstants kConstants;
  static DriveClipper clip;  // T0 in signal_chain.h

  // The voicing by columns, as the host interface names them: QuellardCh1preNum, ...preFrq and so
  // on.
  QUELLARD_COLUMNS(QuellardCh1pre, clean::kPre);
  QUELLARD_COLUMNS(QuellardCh1post, clean::kPost);
  QUELLARD_COLUMNS_BUT_GAIN(QuellardCh1eq, clean::kEq);
  QUELLARD_COLUMNS(QuellardCh1power, clean::kPower);
  QUELLARD_COLUMNS(QuellardCh1revise, clean::kRevise);
};

}  // namespace quellard
