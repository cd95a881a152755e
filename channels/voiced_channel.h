// SPDX-License-Identifier: ISC
// What the three channels do alike, and what the two with several waveshapers do beyond it. Each
// channel's own class holds its constants alone.
#pragma once

#include <type_traits>

#include "channels/power_stage_split.h"
#include "channels/signal_chain.h"
#include "channels/tone_controls.h"

namespace quellard {

// Channel: the class that derives from this one. It has the static members kConstants and clip, the
// tables of its first waveshaper, and derives from MultistageChannel where its power stage is
// split.
template <class Channel>
class VoicedChannel : public AmpChannelBase {
 public:
  // Builds the channel for a rate in Hz (> 0). Allocates; may throw std::bad_alloc.
  // rebuildTables: whether to see to it that the waveshaper tables of the rate's factor exist; the
  // name is the host interface's.
  VoicedChannel(double sampleRate, bool rebuildTables) : AmpChannelBase(sampleRate) {
    build(Channel::kConstants);
    if (!rebuildTables) return;
    Channel::clip.require(overSample, Channel::kConstants.firstShaperCurve);
    if (std::is_base_of_v<PowerStageSplit, Channel>) requireMultistageClippers();
  }

  void signalProcess(double* in, double* out, int n) override {
    playChannel(*this, {Channel::clip.at(overSample), split()}, in, out, n);
  }

  void setEQ(double treble, double mid, double bass, double presence, int n) override {
    retuneToneStack(*this, {treble, mid, bass, presence}, Channel::kConstants.lowBassRange, n);
  }

  void setGain(double gain, int n) override {
    gainTarget = Channel::kConstants.driveLevel * gain;
    retuneInputShelf(*this, gain, n);
  }

  void setMaster(double master, int /*n*/) override {
    masterTarget = master * kMasterLevel * masterScale;
  }

  void clearState() override {
    AmpChannelBase::clearState();
    if (split() != nullptr) split()->clearSplit();
  }

 private:
  PowerStageSplit* split() {
    if constexpr (std::is_base_of_v<PowerStageSplit, Channel>) return static_cast<Channel*>(this);
    return nullptr;
  }
};

// The same with four waveshapers and a power stage that is split.
template <class Channel>
class MultistageChannel : public VoicedChannel<Channel>, public PowerStageSplit {
 public:
  // See VoicedChannel.
  MultistageChannel(double sampleRate, bool rebuildTables)
      : VoicedChannel<Channel>(sampleRate, rebuildTables),
        PowerStageSplit(this->rateInt == 48000) {}
};

}  // namespace quellard
