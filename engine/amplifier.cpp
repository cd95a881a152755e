// SPDX-License-Identifier: ISC
#include "engine/amplifier.h"

#include <cmath>
#include <utility>

#include "channels/quellard_ch1.h"
#include "channels/quellard_ch2.h"
#include "channels/quellard_ch3.h"
#include "params/parameter_values.h"
#include "params/sizes.h"

namespace quellard {
namespace {

// MASTER, GAIN, BASS, MID, TREBLE, PRESENCE; the same for every channel.
constexpr std::array<float, kKnobsPerChannel> kTaperExponents = {2.0f, 3.0f, 0.5f,
                                                                 1.0f, 1.0f, 1.0f};

// The sections that are run with ipIirProcessing: the input shelf and the tone stack. No knob
// retunes the tone stack's last section in VINTAGE and MODERN. It is counted all the same: just
// built, it puts out 0 for one sample, from coefficients of 0, and reset() repeats that.
std::size_t tunableSections(const AmpChannelBase& channel) { return 1 + asSize(channel.eqCount); }

IIRFilter& tunableSection(AmpChannelBase& channel, std::size_t i) {
  return i == 0 ? *channel.preFilters[0] : *channel.eqFilters[i - 1];
}

void restoreAsBuilt(IIRFilter& section, const IIRFilter::Coefficients& built) {
  section.coef = built;
  section.ipBase.fill(0.0);
  section.ipStep.fill(0.0);
  section.ipCount = section.ipLength = 0.0;
}

}  // namespace

std::atomic<double> Amplifier::clipSampleRate{-1.0};

Amplifier::Amplifier()
    : programs(std::make_unique<QuellardProgram[]>(kNumPrograms)),
      appliedValues{},
      typeValue(kTypeDefault),
      activeChannel(0),
      typePending(true),
      bufferFrames(0),
      appliedSampleRate(-1.0),
      reservedFrames(0),
      builtDesigns{} {
  for (std::atomic<float>& value : controlValues) value.store(1.0f, std::memory_order_relaxed);
}

// The order of release is part of the interface; the mutex is destroyed last, as the first member.
Amplifier::~Amplifier() {
  programs.reset();
  for (auto& channel : channels) channel.reset();
  channelSwitch.reset();
  fadeBuffer.reset();
  for (auto& taper : tapers) taper.reset();
  channelBuffer.reset();
}

const std::atomic<float>* Amplifier::liveValue(int index) const {
  if (isKnob(index)) return &at(controlValues, index - 1);  // parameters 1 to 18
  return index == kTypeParameter ? &typeValue : nullptr;
}

std::atomic<float>* Amplifier::liveValue(int index) {
  return const_cast<std::atomic<float>*>(std::as_const(*this).liveValue(index));
}

void Amplifier::reserve(int frames) {
  const std::lock_guard lock(processLock);
  if (frames <= reservedFrames) return;
  const auto size = asSize(frames);
  auto newChannelBuffer = std::make_unique<double[]>(size);
  fadeBuffer = std::make_unique<double[]>(size);
  channelBuffer = std::move(newChannelBuffer);
  reservedFrames = frames;
  bufferFrames = 0;  // no block has used these buffers yet
}

bool Amplifier::prepare(double rate, double knobMinimum) {
  if (rate == appliedSampleRate || !std::isfinite(rate) || rate <= 0.0) return false;
  // Until all is built there is no switcher, and blocks are silent.
  appliedSampleRate = -1.0;
  channelSwitch.reset();
  for (auto& channel : channels) channel.reset();

  try {
    buildChannels(rate);
    buildTapers(knobMinimum);
    appliedValues.fill(-1.0f);
    const float select = typeValue.load(std::memory_order_relaxed);
    channelSwitch = std::make_unique<ChannelSwitcher>(rate, select);
    activeChannel = channelFromSelect(select);
  } catch (...) {
    for (auto& channel : channels) channel.reset();
    throw;
  }
  bufferFrames = 0;
  appliedSampleRate = rate;
  return true;
}

// The rate is stored when its tables are complete, so that another instance may go by it.
void Amplifier::buildChannels(double rate) {
  const bool rebuildTables = rate != clipSampleRate.load(std::memory_order_acquire);
  channels[0] = std::make_unique<QuellardCh1>(rate, rebuildTables);
  channels[1] = std::make_unique<QuellardCh2>(rate, rebuildTables);
  channels[2] = std::make_unique<QuellardCh3>(rate, rebuildTables);
  clipSampleRate.store(rate, std::memory_order_release);

  for (std::size_t c = 0; c < kNumChannels; ++c) {
    for (std::size_t i = 0; i < tunableSections(*channels[c]); ++i) {
      builtDesigns[c].at(i) = tunableSection(*channels[c], i).coef;
    }
  }
}

// With -1 as the values applied last, the next block counts every knob as moved and redesigns
// the sections that knobs retune, gliding from the designs that they were built with.
void Amplifier::reset() {
  const std::lock_guard lock(processLock);
  if (channelSwitch == nullptr) return;
  for (std::size_t c = 0; c < kNumChannels; ++c) {
    AmpChannelBase& channel = *channels[c];
    channel.clearState();
    channel.gainCurrent = channel.masterCurrent = 0.0;
    for (std::size_t i = 0; i < tunableSections(channel); ++i) {
      restoreAsBuilt(tunableSection(channel, i), builtDesigns[c][i]);
    }
  }
  channelSwitch->fadeState = ChannelSwitcher::idle;
  channelSwitch->fadePos = 0;
  appliedValues.fill(-1.0f);
  typePending = true;
}

void Amplifier::buildTapers(double knobMinimum) {
  for (std::size_t i = 0; i < tapers.size(); ++i) {
    tapers[i] = std::make_unique<edit<double>>();
    tapers[i]->curve = kPowerCurve;
    tapers[i]->valueAtZero = knobMinimum;
    tapers[i]->exponent = kTaperExponents[i % kKnobsPerChannel];
  }
}

}  // namespace quellard
