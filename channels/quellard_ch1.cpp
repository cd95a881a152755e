// SPDX-License-Identifier: ISC
#include "channels/quellard_ch1.h"

#include "channels/signal_chain.h"
#include "channels/tone_controls.h"

namespace quellard {
namespace {

constexpr DriveCurve kDrive = {0.98, 83.9795918367347, 82.3};
constexpr LowBassRange kLowBass = {5.0};

}  // namespace

DriveClipper QuellardCh1::clip;

QuellardCh1::QuellardCh1(double sampleRate, bool rebuildTables) : AmpChannelBase(sampleRate) {
  build({
      .pre = clean::kPre,
      .post = clean::kPost,
      .eq = clean::kEq,
      .power = clean::kPower,
      .revise = clean::kRevise,
      .innerBanks = InnerBanks::atSampleRate,
      .masterScale = 7.07945784,  // +17 dB
      .at48k = kR1,
      .elsewhere = kR2,
  });
  if (rebuildTables) {
    clip.require(overSample, kDrive);
  }
}

void QuellardCh1::signalProcess(double* in, double* out, int n) {
  playChannel(*this, {clip.at(overSample), nullptr}, in, out, n);
}

void QuellardCh1::setEQ(double treble, double mid, double bass, double presence, int n) {
  retuneToneStack(*this, {treble, mid, bass, presence}, kLowBass, n);
}

void QuellardCh1::setGain(double gain, int n) {
  gainTarget = gain;
  retuneInputShelf(*this, gain, n);
}

void QuellardCh1::setMaster(double master, int /*n*/) {
  masterTarget = master * kMasterLevel * masterScale;
}

}  // namespace quellard
