// SPDX-License-Identifier: ISC
// The CLEAN channel: every bank at the sample rate, one waveshaper.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh1 final : public VoicedChannel<QuellardCh1> {
 public:
  using VoicedChannel::VoicedChannel;

  static const ChannelConstants kConstants;
  static DriveClipper clip;  // T0

  // The voicing by columns: QuellardCh1preNum, ...preFrq, ...preQ, ...preGain and so on.
  QUELLARD_COLUMNS(QuellardCh1pre, clean::kPre);
  QUELLARD_COLUMNS(QuellardCh1post, clean::kPost);
  QUELLARD_COLUMNS_BUT_GAIN(QuellardCh1eq, clean::kEq);
  QUELLARD_COLUMNS(QuellardCh1power, clean::kPower);
  QUELLARD_COLUMNS(QuellardCh1revise, clean::kRevise);
};

}  // namespace quellard
