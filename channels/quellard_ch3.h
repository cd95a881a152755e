// SPDX-License-Identifier: ISC
// The MODERN channel: the four waveshapers of VINTAGE, with a mid boost and half the drive in front
// of them and wider filters between them.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh3 final : public VoicedChannel<QuellardCh3>, public PowerStageSplit {
 public:
  // See VoicedChannel.
  QuellardCh3(double sampleRate, bool rebuildTables)
      : VoicedChannel(sampleRate, rebuildTables), PowerStageSplit(rateInt == 48000) {}

  static const ChannelFigures kFigures;
  static DriveClipper clip;  // T0; T1 to T3 are multistageClip

  // The voicing by columns, as it is published.
  static constexpr auto QuellardCh3preNum = column(&VoicingRow::num, modern::kPre);
  static constexpr auto QuellardCh3preFrq = column(&VoicingRow::frq, modern::kPre);
  static constexpr auto QuellardCh3preQ = column(&VoicingRow::q, modern::kPre);
  static constexpr auto QuellardCh3preGain = column(&VoicingRow::gain, modern::kPre);

  static constexpr auto QuellardCh3postNum = column(&VoicingRow::num, modern::kPost);
  static constexpr auto QuellardCh3postFrq = column(&VoicingRow::frq, modern::kPost);
  static constexpr auto QuellardCh3postQ = column(&VoicingRow::q, modern::kPost);
  static constexpr auto QuellardCh3postGain = column(&VoicingRow::gain, modern::kPost);

  static constexpr auto QuellardCh3eqNum = column(&VoicingRow::num, modern::kEq);
  static constexpr auto QuellardCh3eqFrq = column(&VoicingRow::frq, modern::kEq);
  static constexpr auto QuellardCh3eqQ = column(&VoicingRow::q, modern::kEq);

  static constexpr auto QuellardCh3powerNum = column(&VoicingRow::num, modern::kPower);
  static constexpr auto QuellardCh3powerFrq = column(&VoicingRow::frq, modern::kPower);
  static constexpr auto QuellardCh3powerQ = column(&VoicingRow::q, modern::kPower);
  static constexpr auto QuellardCh3powerGain = column(&VoicingRow::gain, modern::kPower);

  static constexpr auto QuellardCh3reviseNum = column(&VoicingRow::num, modern::kRevise);
  static constexpr auto QuellardCh3reviseFrq = column(&VoicingRow::frq, modern::kRevise);
  static constexpr auto QuellardCh3reviseQ = column(&VoicingRow::q, modern::kRevise);
  static constexpr auto QuellardCh3reviseGain = column(&VoicingRow::gain, modern::kRevise);
};

}  // namespace quellard
