// SPDX-License-Identifier: ISC
// The VINTAGE channel: four waveshapers with filters between them and a power-stage split, all
// oversampled, of which the first clips early and softly.
#pragma once

#include "channels/voiced_channel.h"

namespace quellard {

class QuellardCh2 final : public MultistageChannel<QuellardCh2> {
 public:
  using MultistageChannel::MultistageChannel;

  static const ChannelFigures kFigures;
  static DriveClipper clip;  // T0; T1 to T3 are multistageClip

  // The voicing by columns: QuellardCh2preNum, ...preFrq, ...preQ, ...preGain and so on.
  QUELLARD_COLUMNS(QuellardCh2pre, vintage::kPre);
  QUELLARD_COLUMNS(QuellardCh2post, vintage::kPost);
  QUELLARD_COLUMNS_BUT_GAIN(QuellardCh2eq, vintage::kEq);
  QUELLARD_COLUMNS(QuellardCh2power, vintage::kPower);
  QUELLARD_COLUMNS(QuellardCh2revise, vintage::kRevise);
};

}  // namespace quellard
