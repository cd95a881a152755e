// SPDX-License-Identifier: ISC
// The MODERN channel: the cascade of VINTAGE behind a mid boost and half the drive, into wider
// filters between the stages.
#pragma once

#include "channels/amp_channel.h"
#include "channels/power_stage_split.h"

namespace quellard {

class QuellardCh3 final : public AmpChannelBase, public PowerStageSplit {
 public:
  // Builds the channel for a rate in Hz (> 0). Allocates; may throw std::bad_alloc.
  // rebuildTables: see to it that the waveshaper tables of the rate's oversampling factor exist.
  QuellardCh3(double sampleRate, bool rebuildTables);

  void signalProcess(double* in, double* out, int n) override;
  void setEQ(double treble, double mid, double bass, double presence, int n) override;
  void setGain(double gain, int n) override;
  void setMaster(double master, int n) override;
  void resume() override {}
  void clearMemory() override;

  // The voicing sheet by columns.
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

  static DriveClipper clip;  // the drive curve; the cascade behind it is cascadeClip
};

}  // namespace quellard
