// SPDX-License-Identifier: ISC
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "engine/amplifier.h"
#include "engine/flush_to_zero.h"

namespace quellard {
namespace {

// Knobs as the parameters number them within a channel, and their places in the other two orders.
enum Knob : std::size_t { presence, bass, mid, treble, master, gain };
constexpr std::array<std::size_t, kKnobsPerChannel> kAppliedPlace = {3, 0, 1, 2, 4, 5};
constexpr std::array<std::size_t, kKnobsPerChannel> kTaperPlace = {5, 2, 3, 4, 0, 1};

constexpr std::size_t firstOf(std::size_t channel) { return channel * kKnobsPerChannel; }

// Hosts may store anything; the tapers and the polynomials behind them are made for 0..1.
float withinKnobRange(float value) { return value > 0.0f ? std::min(value, 1.0f) : 0.0f; }

// x - x is 0 for finite numbers alone. Four sums side by side, since one would wait for itself.
bool allFinite(const double* samples, int count) {
  std::array<double, 4> sums = {};
  for (; count >= 4; samples += 4, count -= 4) {
    for (std::size_t i = 0; i < 4; ++i) sums[i] += samples[i] - samples[i];
  }
  for (; count > 0; ++samples, --count) sums[0] += *samples - *samples;
  return sums[0] + sums[1] + sums[2] + sums[3] == 0.0;
}

void writeSilence(double* out, int frames) { std::fill_n(out, frames, 0.0); }

}  // namespace

void Amplifier::processBlock(double* in, double* out, int frames) {
  const std::lock_guard lock(processLock);
  const FlushToZero flushToZero;
  frames = std::max(frames, 0);
  if (channelSwitch == nullptr) return writeSilence(out, frames);

  adoptFirstSelector();
  pushMovedControls(frames);
  if (!sizeBuffers(frames)) return writeSilence(out, frames);
  const float select = typeValue.load(std::memory_order_relaxed);
  const int switchPoint = channelSwitch->fillGain(select, frames, fadeBuffer.get());
  const int outgoing = activeChannel;
  if (switchPoint < frames) activeChannel = channelFromSelect(select);
  const bool sound = playChannels(outgoing, switchPoint, in, frames);
  sound ? writeOutput(out, frames) : writeSilence(out, frames);
  rememberControls();
}

// The first block of all starts on the selected channel, without a fade.
void Amplifier::adoptFirstSelector() {
  if (!typePending) return;
  const float select = typeValue.load(std::memory_order_relaxed);
  channelSwitch->adopt(select);
  activeChannel = channelFromSelect(select);
  typePending = false;
}

// Inaudible channels follow their knobs too, so that a switch finds them as they are set.
void Amplifier::pushMovedControls(int frames) {
  for (std::size_t channel = 0; channel < kNumChannels; ++channel) {
    pushChannelControls(channel, frames);
  }
}

void Amplifier::pushChannelControls(std::size_t c, int frames) {
  const auto value = [&](Knob knob) {
    return controlValues[firstOf(c) + knob].load(std::memory_order_relaxed);
  };
  const auto moved = [&](Knob knob) {
    return value(knob) != appliedValues[firstOf(c) + kAppliedPlace[knob]];
  };
  const auto tapered = [&](Knob knob) {
    const auto& taper = *tapers[firstOf(c) + kTaperPlace[knob]];
    return static_cast<double>(taper.editProcessing(withinKnobRange(value(knob))));
  };

  const bool toneMoved = moved(bass) || moved(mid) || moved(treble) || moved(presence);
  AmpChannelBase& amp = *channels[c];
  if (toneMoved) {
    amp.setEQ(tapered(treble), tapered(mid), tapered(bass), tapered(presence), frames);
  }
  if (moved(gain)) amp.setGain(tapered(gain), frames);
  if (moved(master)) amp.setMaster(tapered(master), frames);
}

void Amplifier::reserve(int frames) {
  const std::lock_guard lock(processLock);
  if (frames <= reservedFrames) return;
  const auto size = static_cast<std::size_t>(frames);
  auto channel = std::make_unique<double[]>(size);
  fadeBuffer = std::make_unique<double[]>(size);
  channelBuffer = std::move(channel);
  reservedFrames = frames;
  bufferFrames = 0;  // the buffers may be shorter now than those of a longer last block
}

// False where memory is short; the next block tries again.
bool Amplifier::sizeBuffers(int frames) {
  const bool fits = reservedFrames > 0 ? frames <= reservedFrames : frames == bufferFrames;
  if (!fits) {
    const auto size = static_cast<std::size_t>(frames);
    if (size > PTRDIFF_MAX / sizeof(double)) return false;  // some compilers throw all the same
    const bool keepRoom = reservedFrames > 0;
    bufferFrames = reservedFrames = 0;
    channelBuffer.reset(new (std::nothrow) double[size]);
    fadeBuffer.reset(new (std::nothrow) double[size]);
    if (channelBuffer == nullptr || fadeBuffer == nullptr) return false;
    if (keepRoom) reservedFrames = frames;
  }
  bufferFrames = frames;
  return true;
}

// The sample of gain 0 belongs to the incoming channel, as does everything after it; without a
// switch the second call has no sample to play. False where a channel's signal has turned
// non-finite; that channel then starts afresh in the next block.
bool Amplifier::playChannels(int outgoing, int switchPoint, double* in, int frames) {
  double* const out = channelBuffer.get();
  AmpChannelBase& before = *channels[static_cast<std::size_t>(outgoing)];
  AmpChannelBase& after = *channels[static_cast<std::size_t>(activeChannel)];
  before.signalProcess(in, out, switchPoint);
  after.signalProcess(in + switchPoint, out + switchPoint, frames - switchPoint);

  const bool beforeIsSound = allFinite(out, switchPoint);
  const bool afterIsSound = allFinite(out + switchPoint, frames - switchPoint);
  if (!beforeIsSound) before.clearMemory();
  if (!afterIsSound) after.clearMemory();
  return beforeIsSound && afterIsSound;
}

void Amplifier::writeOutput(double* out, int frames) const {
  std::transform(fadeBuffer.get(), fadeBuffer.get() + frames, channelBuffer.get(), out,
                 [](double fade, double sample) { return fade * sample; });
}

void Amplifier::rememberControls() {
  for (std::size_t c = 0; c < kNumChannels; ++c) {
    for (std::size_t knob = 0; knob < kKnobsPerChannel; ++knob) {
      appliedValues[firstOf(c) + kAppliedPlace[knob]] =
          controlValues[firstOf(c) + knob].load(std::memory_order_relaxed);
    }
  }
}

}  // namespace quellard
