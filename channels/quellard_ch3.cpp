// SPDX-License-Identifier: ISC
#include "channels/quellard_ch3.h"

#include "channels/signal_chain.h"
#include "channels/tone_controls.h"

namespace quellard {
namespace {

constexpr DriveCurve kDrive = {0.45, 43.7555555555556, 19.69};
constexpr LowBassRange kLowBass = {6.0};
constexpr double kDriveLevel = 0.501187233;  // -6 dB

}  // namespace

DriveClipper QuellardCh3::clip;

QuellardCh3::QuellardCh3(double sampleRate, bool rebuildTables)
    : AmpChannelBase(sampleRate), PowerStageSplit(rateInt == 48000) {
  build({
      .pre = modern::kPre,
      .post = modern::kPost,
      .eq = modern::kEq,
      .power = modern::kPower,
      .revise = modern::kRevise,
      .innerBanks = InnerBanks::oversampled,
      .masterScale = 0.5,  // -6.02 dB
      .at48k = kR3,
      .elsewhere = kR4,
  });
  if (rebuildTables) {
    clip.require(overSample, kDrive);
    requireCascadeClippers();
  }
}

void QuellardCh3::signalProcess(double* in, double* out, int n) {
  playChannel(*this, {clip.at(overSample), this}, in, out, n);
}

void QuellardCh3::setEQ(double treble, double mid, double bass, double presence, int n) {
  retuneToneStack(*this, {treble, mid, bass, presence}, kLowBass, n);
}

void QuellardCh3::setGain(double gain, int n) {
  gainTarget = kDriveLevel * gain;
  retuneInputShelf(*this, gain, n);
}

void QuellardCh3::setMaster(double master, int /*n*/) {
  masterTarget = master * kMasterLevel * masterScale;
}

void QuellardCh3::clearMemory() {
  AmpChannelBase::clearMemory();
  clearSplit();
}

}  // namespace quellard
