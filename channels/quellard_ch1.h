// SPDX-License-Identifier: ISC
// The CLEAN channel: every bank at the sample rate, one waveshaper.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh1 final : public VoicedChannel<QuellardCh1> {
 public:
  using VoicedChannel::VoicedChannel;

  static const ChannelFigures kFigures;
  static DriveClipper clip;  // T0

  // The voicing by columns, as it is published.
  static constexpr auto QuellardCh1preNum = column(&VoicingRow::num, clean::kPre);
  static constexpr auto QuellardCh1preFrq = column(&VoicingRow::frq, clean::kPre);
  static constexpr auto QuellardCh1preQ = column(&VoicingRow::q, clean::kPre);
  static constexpr auto QuellardCh1preGain = column(&VoicingRow::gain, clean::kPre);

  static constexpr auto QuellardCh1postNum = column(&VoicingRow::num, clean::kPost);
  static constexpr auto QuellardCh1postFrq = column(&VoicingRow::frq, clean::kPost);
  static constexpr auto QuellardCh1postQ = column(&VoicingRow::q, clean::kPost);
  static constexpr auto QuellardCh1postGain = column(&VoicingRow::gain, clean::kPost);

  static constexpr auto QuellardCh1eqNum = column(&VoicingRow::num, clean::kEq);
  static constexpr auto QuellardCh1eqFrq = column(&VoicingRow::frq, clean::kEq);
  static constexpr auto QuellardCh1eqQ = column(&VoicingRow::q, clean::kEq);

  static constexpr auto QuellardCh1powerNum = column(&VoicingRow::num, clean::kPower);
  static constexpr auto QuellardCh1powerFrq = column(&VoicingRow::frq, clean::kPower);
  static constexpr auto QuellardCh1powerQ = column(&VoicingRow::q, clean::kPower);
  static constexpr auto QuellardCh1powerGain = column(&VoicingRow::gain, clean::kPower);

  static constexpr auto QuellardCh1reviseNum = column(&VoicingRow::num, clean::kRevise);
  static constexpr auto QuellardCh1reviseFrq = column(&VoicingRow::frq, clean::kRevise);
  static constexpr auto QuellardCh1reviseQ = column(&VoicingRow::q, clean::kRevise);
  static constexpr auto QuellardCh1reviseGain = column(&VoicingRow::gain, clean::kRevise);
};

}  // namespace quellard
