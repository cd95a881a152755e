// SPDX-License-Identifier: ISC
// The VINTAGE channel: four waveshapers with filters between them and a power-stage split, all
// oversampled, of which the first clips early and softly.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh2 final : public VoicedChannel<QuellardCh2>, public PowerStageSplit {
 public:
  // See VoicedChannel.
  QuellardCh2(double sampleRate, bool rebuildTables)
      : VoicedChannel(sampleRate, rebuildTables), PowerStageSplit(rateInt == 48000) {}

  static const ChannelFigures kFigures;
  static DriveClipper clip;  // T0; T1 to T3 are multistageClip

  // The voicing by columns, as it is published.
  static constexpr auto QuellardCh2preNum = column(&VoicingRow::num, vintage::kPre);
  static constexpr auto QuellardCh2preFrq = column(&VoicingRow::frq, vintage::kPre);
  static constexpr auto QuellardCh2preQ = column(&VoicingRow::q, vintage::kPre);
  static constexpr auto QuellardCh2preGain = column(&VoicingRow::gain, vintage::kPre);

  static constexpr auto QuellardCh2postNum = column(&VoicingRow::num, vintage::kPost);
  static constexpr auto QuellardCh2postFrq = column(&VoicingRow::frq, vintage::kPost);
  static constexpr auto QuellardCh2postQ = column(&VoicingRow::q, vintage::kPost);
  static constexpr auto QuellardCh2postGain = column(&VoicingRow::gain, vintage::kPost);

  static constexpr auto QuellardCh2eqNum = column(&VoicingRow::num, vintage::kEq);
  static constexpr auto QuellardCh2eqFrq = column(&VoicingRow::frq, vintage::kEq);
  static constexpr auto QuellardCh2eqQ = column(&VoicingRow::q, vintage::kEq);

  static constexpr auto QuellardCh2powerNum = column(&VoicingRow::num, vintage::kPower);
  static constexpr auto QuellardCh2powerFrq = column(&VoicingRow::frq, vintage::kPower);
  static constexpr auto QuellardCh2powerQ = column(&VoicingRow::q, vintage::kPower);
  static constexpr auto QuellardCh2powerGain = column(&VoicingRow::gain, vintage::kPower);

  static constexpr auto QuellardCh2reviseNum = column(&VoicingRow::num, vintage::kRevise);
  static constexpr auto QuellardCh2reviseFrq = column(&VoicingRow::frq, vintage::kRevise);
  static constexpr auto QuellardCh2reviseQ = column(&VoicingRow::q, vintage::kRevise);
  static constexpr auto QuellardCh2reviseGain = column(&VoicingRow::gain, vintage::kRevise);
};

}  // namespace quellard
