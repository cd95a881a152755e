// SPDX-License-Identifier: ISC
#include "rig/hosted_amp.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "params/sizes.h"
#include "rig/samples.h"

namespace quellard {
namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;

template <typename Sample>
Sample* channelAt(Sample* const* channels, int side, int begin) {
  return channels[side] != nullptr ? channels[side] + begin : nullptr;
}

void readChannel(const AudioChannels& in, int side, int begin, int frames, double* to) {
  if (side < in.count && in.doubles != nullptr) {
    readSamples(channelAt(in.doubles, side, begin), to, frames);
  } else if (side < in.count && in.floats != nullptr) {
    readSamples(channelAt(in.floats, side, begin), to, frames);
  } else {
    readSamples(static_cast<const double*>(nullptr), to, frames);
  }
}

void writeChannel(const double* from, const AudioChannels& out, int side, int begin, int frames,
                  float (*rounded)(double) = toFloat) {
  if (side >= out.count) return;
  if (out.doubles != nullptr) {
    writeSamples(from, channelAt(out.doubles, side, begin), frames);
  } else if (out.floats != nullptr) {
    writeSamples(from, channelAt(out.floats, side, begin), frames, rounded);
  }
}

void writeSilence(const AudioChannels& out, int begin, int end) {
  constexpr int kMost = 64;
  constexpr std::array<double, kMost> kSilence{};
  while (begin < end) {
    const int frames = std::min(end - begin, kMost);
    for (int i = 0; i < out.count; ++i) writeChannel(kSilence.data(), out, i, begin, frames);
    begin += frames;
  }
}

}  // namespace

HostedAmp::HostedAmp(int sides) : sides_(sides) { setHostedValues(defaultHostedValues()); }

std::uint32_t HostedAmp::tailFrames(double rate) {
  return static_cast<std::uint32_t>(
      std::clamp(std::ceil(kTailSeconds * rate), 0.0, static_cast<double>(INT32_MAX)));
}

bool HostedAmp::prepare(double rate, int maxFrames) {
  const auto effectRate = static_cast<float>(rate);  // the effect takes it as a float
  if (!std::isfinite(effectRate) || effectRate <= 0.0F || maxFrames < 1) return false;
  maxFrames = std::min(maxFrames, kLongestPiece);
  std::vector<Side> built = buildSides(rate, maxFrames);
  chain_.prepare(rate, maxFrames);  // the last that may throw
  built_ = std::move(built);
  rate_ = rate;
  maxFrames_ = maxFrames;
  smoother_.prepare(rate);
  bypass_.prepare(rate);
  inputPeak_.prepare(rate);
  outputPeak_.prepare(rate);
  prerolled_ = false;
  return true;
}

std::vector<HostedAmp::Side> HostedAmp::buildSides(double rate, int maxFrames) const {
  std::vector<Side> built(asSize(sides_));
  for (Side& side : built) {
    side.samples.resize(asSize(maxFrames));
    side.dry.resize(asSize(maxFrames));
    side.effect = std::make_unique<Quellard>(nullptr);
    side.effect->setSampleRate(static_cast<float>(rate));
    side.effect->reserve(maxFrames);
  }
  return built;
}

void HostedAmp::reset() {
  for (Side& side : built_) side.effect->reset();
  prerolled_ = false;
}

void HostedAmp::setValue(int index, float value) {
  if (!isHosted(index) || std::isnan(value)) return;
  targets_[index].store(limitToRange(value), kRelaxed);
}

float HostedAmp::value(int index) const {
  return isHosted(index) ? targets_[index].load(kRelaxed) : 0.0F;
}

void HostedAmp::setValues(const ParameterValues& values) {
  for (int index = 1; index <= kNumStoredValues; ++index) setValue(index, values[index]);
}

void HostedAmp::setHostedValues(const HostedValues& values) {
  for (int index = 1; index <= kNumHostedValues; ++index) setValue(index, values[index]);
}

HostedValues HostedAmp::hostedValues() const {
  HostedValues values;
  for (int index = 1; index <= kNumHostedValues; ++index) values[index] = value(index);
  return values;
}

ParameterValues HostedAmp::values() const { return amplifierValues(hostedValues()); }

void HostedAmp::play(const AudioChannels& in, const AudioChannels& out, int begin, int end) {
  if (built_.empty()) return writeSilence(out, begin, end);
  if (begin >= end) return;
  if (prerolled_) {
    adoptMovedValues();
  } else {
    preroll();
  }
  while (begin < end) {
    const int most = std::min(end - begin, maxFrames_);
    const int frames =
        smoother_.nextStep(most, [this](int index, float value) { setParameter(index, value); });
    playPiece(in, out, begin, frames);
    begin += frames;
  }
}

void HostedAmp::setParameter(int index, float value) {
  for (Side& side : built_) side.effect->setParameter(index, value);
}

void HostedAmp::adoptMovedValues() {
  const HostedValues now = hostedValues();
  for (int index = 1; index <= kNumStoredValues; ++index) smoother_.moveTo(index, now[index]);
  chain_.moveTo(now);
}

// A block of no frames makes all three channels adopt their values at once, without a glide.
void HostedAmp::preroll() {
  const HostedValues now = hostedValues();
  smoother_.jumpTo(amplifierValues(now));
  chain_.jumpTo(now);
  for (int index = 1; index <= kNumStoredValues; ++index) {
    setParameter(index, now[index]);
  }
  for (Side& side : built_) {
    double* nothing = side.samples.data();
    side.effect->processDoubleReplacing(&nothing, &nothing, 0);
  }
  bypass_.jumpTo(bypassed());
  prerolled_ = true;
}

// All sides are read before any is written: a host may use one buffer for the left input and the
// right output.
void HostedAmp::playPiece(const AudioChannels& in, const AudioChannels& out, int begin,
                          int frames) {
  const bool engaged = bypassed();
  const bool isOff = bypass_.isOff(engaged);
  const bool isOn = bypass_.isOn(engaged);
  const bool measures = measuresLevels_.load(kRelaxed);
  readSides(in, begin, frames, !isOff);
  if (measures) measure(inputPeak_, frames);
  playSides(frames);
  if (!isOff) {
    for (Side& side : built_) {
      bypass_.mix(engaged, side.dry.data(), side.samples.data(), frames);
    }
  }
  bypass_.advance(engaged, frames);
  if (measures) measure(outputPeak_, frames);
  for (int i = 0; i < sides_; ++i) {
    const Side& side = at(built_, i);
    writeChannel(side.samples.data(), out, i, begin, frames, isOn ? toSameFloat : toFloat);
  }
}

void HostedAmp::readSides(const AudioChannels& in, int begin, int frames, bool keepDry) {
  for (int i = 0; i < sides_; ++i) {
    Side& side = at(built_, i);
    readChannel(in, i, begin, frames, side.samples.data());
    if (keepDry) std::copy_n(side.samples.data(), frames, side.dry.data());
  }
}

void HostedAmp::measure(PeakMeter& meter, int frames) {
  std::array<const double*, kStereo> all{};
  std::ranges::transform(built_, all.begin(), [](Side& side) { return side.samples.data(); });
  meter.process(std::span(all.data(), built_.size()), frames);
}

void HostedAmp::playSides(int frames) {
  std::array<double*, kStereo> all{};
  const std::span sides(all.data(), built_.size());
  std::ranges::transform(built_, sides.begin(), [](Side& side) { return side.samples.data(); });
  chain_.processInput(sides, frames);
  for (Side& side : built_) {
    double* samples = side.samples.data();
    side.effect->processDoubleReplacing(&samples, &samples, frames);
  }
  chain_.processOutput(sides, frames);
}

}  // namespace quellard
