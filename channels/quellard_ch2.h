// SPDX-License-Identifier: ISC
// The VINTAGE channel: a cascade of four waveshapers with filters between them and a power-stage
// split, all oversampled, behind a drive that clips early and softly.
#pragma once

#include "channels/amp_channel.h"
#include "channels/power_stage_split.h"

namespace quellard {

class QuellardCh2 final : public AmpChannelBase, public PowerStageSplit {
 public:
  // Builds the channel for a rate in Hz (> 0). Allocates; may throw std::bad_alloc.
  // rebuildTables: see to it that the waveshaper tables of the rate's oversampling factor exist.
  QuellardCh2(double sampleRate, bool rebuildTables);

  void signalProcess(double* in, double* out, int n) override;
  void setEQ(double treble, double mid, double bass, double presence, int n) override;
  void setGain(double gain, int n) override;
  void setMaster(double master, int n) override;
  void resume() override {}
  void clearMemory() override;

  // The voicing sheet by columns.
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

  static DriveClipper clip;  // the drive curve; the cascade behind it is cascadeClip
};

}  // namespace quellard
