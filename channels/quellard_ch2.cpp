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
      .pre = vintage::kPre,
      .post = vintage::kPost,
      .eq = vintage::kEq,
      .power = vintage::kPower,
      .revise = vintage::kRevise,
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
