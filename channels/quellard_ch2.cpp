// SPDX-License-Identifier: ISC
#include "channels/quellard_ch2.h"

#include "channels/signal_chain.h"
#include "channels/tone_controls.h"

namespace quellard {
namespace {

constexpr DriveCurve kDrive = {0.45, 28.8888888888889, 13.0};
constexpr LowBassRange kLowBass = {6.0};

}  // namespace

DriveClipper QuellardCh2::clip;

QuellardCh2::QuellardCh2(double sampleRate, bool rebuildTables)
    : AmpChannelBase(sampleRate), PowerStageSplit(rateInt == 48000) {
  build({
      .pre = bank(QuellardCh2preNum, QuellardCh2preFrq, QuellardCh2preQ, QuellardCh2preGain),
      .post = bank(QuellardCh2postNum, QuellardCh2postFrq, QuellardCh2postQ, QuellardCh2postGain),
      .eq = bank(QuellardCh2eqNum, QuellardCh2eqFrq, QuellardCh2eqQ),
      .power =
          bank(QuellardCh2powerNum, QuellardCh2powerFrq, QuellardCh2powerQ, QuellardCh2powerGain),
      .revise = bank(QuellardCh2reviseNum, QuellardCh2reviseFrq, QuellardCh2reviseQ,
                     QuellardCh2reviseGain),
      .innerBanks = InnerBanks::oversampled,
      .masterScale = 0.56234133,  // -5 dB
      .at48k = kR3,
      .elsewhere = kR2,
  });
  if (rebuildTables) {
    clip.require(overSample, kDrive);
    requireCascadeClippers();
  }
}

void QuellardCh2::signalProcess(double* in, double* out, int n) {
  playChannel(*this, {clip.at(overSample), this}, in, out, n);
}

void QuellardCh2::setEQ(double treble, double mid, double bass, double presence, int n) {
  retuneToneStack(*this, {treble, mid, bass, presence}, kLowBass, n);
}

void QuellardCh2::setGain(double gain, int n) {
  gainTarget = gain;
  retuneInputShelf(*this, gain, n);
}

void QuellardCh2::setMaster(double master, int /*n*/) {
  masterTarget = master * kMasterLevel * masterScale;
}

void QuellardCh2::clearMemory() {
  AmpChannelBase::clearMemory();
  clearSplit();
}

}  // namespace quellard
