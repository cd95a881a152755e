// SPDX-License-Identifier: ISC
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>

#include "engine/amplifier.h"
#include "engine/flush_to_zero.h"
#include "params/parameter_values.h"
#include "params/sizes.h"

namespace quellard {
namespace {

// The knobs of a channel in the order of the parameters, and their indices in appliedValues and in
// tapers.
enum Knob : std::size_t { presence, bass, mid, treble, master, gain };
constexpr std::array<std::size_t, kKnobsPerChannel> kAppliedIndex = {3, 0, 1, 2, 4, 5};
constexpr std::array<std::size_t, kKnobsPerChannel> kTaperIndex = {5, 2, 3, 4, 0, 1};

constexpr std::size_t firstKnob(std::size_t channel) { return channel * kKnobsPerChannel; }

// A number minus itself is 0 if it is finite and NaN if not, and one NaN makes a sum NaN. Four sums
// side by side, as each addition waits for the one before.
bool allFinite(const double* samples, int count) {
  const auto zeroIfFinite = [](double x) { return x - x; };
  std::array<double, 4> sums = {};
  for (; count >= 4; samples += 4, count -= 4) {
    for (std::size_t i = 0; i < 4; ++i) sums[i] += zeroIfFinite(samples[i]);
  }
  for (; count > 0; ++samples, --count) sums[0] += zeroIfFinite(*samples);
  return sums[0] + sums[1] + sums[2] + sums[3] == 0.0;
}

void writeSilence(double* out, int frames) { std::fill_n(out, frames, 0.0); }

// Null where memory is short.
std::unique_ptr<double[]> tryAllocate(int frames) {
  const auto size = asSize(frames);
  // Beyond every possible size, where some compilers' nothrow new throws.
  if (size > PTRDIFF_MAX / sizeof(double)) return nullptr;
  return std::unique_ptr<double[]>(new (std::nothrow) double[size]);
}

}  // namespace

void Amplifier::processBlock(double* in, double* out, int frames) {
  const std::lock_guard lock(processLock);
  const FlushToZero flushToZero;
  frames = std::max(frames, 0);
  if (channelSwitch == nullptr) return writeSilence(out, frames);

  adoptFirstSelector();
  pushMovedKnobs(frames);
  if (!sizeBuffers(frames)) return writeSilence(out, frames);
  const float select = typeValue.load(std::memory_order_relaxed);
  const int switchPoint = channelSwitch->fillGain(select, frames, fadeBuffer.get());
  const int outgoingChannel = activeChannel;  // plays the whole block unless a switch falls into it
  if (switchPoint < frames) activeChannel = channelFromSelect(select);
  if (playChannels(outgoingChannel, switchPoint, in, frames)) {
    writeOutput(out, frames);
  } else {
    writeSilence(out, frames);
  }
  rememberKnobs();
}

// The first block, and the first after a reset(), starts on the selected channel, without a fade.
void Amplifier::adoptFirstSelector() {
  if (!typePending) return;
  const float select = typeValue.load(std::memory_order_relaxed);
  channelSwitch->adopt(select);
  activeChannel = channelFromSelect(select);
  typePending = false;
}

// Inaudible channels get their new designs and levels too. Their glides and ramps move on only
// while they play, so what changed last is still moving when a switch brings them in.
void Amplifier::pushMovedKnobs(int frames) {
  for (std::size_t channel = 0; channel < kNumChannels; ++channel) {
    pushChannelKnobs(channel, frames);
  }
}

void Amplifier::pushChannelKnobs(std::size_t c, int frames) {
  const auto value = [&](Knob knob) {
    return controlValues[firstKnob(c) + knob].load(std::memory_order_relaxed);
  };
  const auto moved = [&](Knob knob) {
    return value(knob) != appliedValues[firstKnob(c) + kAppliedIndex[knob]];
  };
  // Hosts may store anything; the tapers and the polynomials after them are made for 0..1.
  const auto tapered = [&](Knob knob) {
    const auto& taper = *tapers[firstKnob(c) + kTaperIndex[knob]];
    return static_cast<double>(taper.editProcessing(limitToRange(value(knob))));
  };

  const bool toneMoved = moved(bass) || moved(mid) || moved(treble) || moved(presence);
  AmpChannelBase& amp = *channels[c];
  if (toneMoved) {
    amp.setEQ(tapered(treble), tapered(mid), tapered(bass), tapered(presence), frames);
  }
  if (moved(gain)) amp.setGain(tapered(gain), frames);
  if (moved(master)) amp.setMaster(tapered(master), frames);
}

// Without reserve() the buffers have the length of the block, with it at least that length. False
// where memory is short; the next block tries again.
bool Amplifier::sizeBuffers(int frames) {
  const bool growOnly = reservedFrames > 0;
  const bool fits = growOnly ? frames <= reservedFrames : frames == bufferFrames;
  if (!fits) {
    bufferFrames = reservedFrames = 0;
    channelBuffer = tryAllocate(frames);
    fadeBuffer = tryAllocate(frames);
    if (channelBuffer == nullptr || fadeBuffer == nullptr) return false;
    if (growOnly) reservedFrames = frames;
  }
  bufferFrames = frames;
  return true;
}

// The sample of gain 0 and everything after it belong to the incoming channel. False where a
// channel's signal has turned non-finite. That channel's state is cleared, so that the next block
// plays.
bool Amplifier::playChannels(int outgoingChannel, int switchPoint, double* in, int frames) {
  double* const out = channelBuffer.get();
  AmpChannelBase& outgoing = *at(channels, outgoingChannel);
  AmpChannelBase& incoming = *at(channels, activeChannel);
  outgoing.signalProcess(in, out, switchPoint);
  if (switchPoint < frames) {
    incoming.signalProcess(in + switchPoint, out + switchPoint, frames - switchPoint);
  }

  const bool outgoingIsFinite = allFinite(out, switchPoint);
  const bool incomingIsFinite =
      switchPoint == frames || allFinite(out + switchPoint, frames - switchPoint);
  if (!outgoingIsFinite) outgoing.clearState();
  if (!incomingIsFinite) incoming.clearState();
  return outgoingIsFinite && incomingIsFinite;
}

void Amplifier::writeOutput(double* out, int frames) const {
  std::transform(fadeBuffer.get(), fadeBuffer.get() + frames, channelBuffer.get(), out,
                 [](double fade, double sample) { return fade * sample; });
}

// Every block does this. Written out, as compilers do not unroll a loop over the indices.
void Amplifier::rememberKnobs() {
  for (std::size_t first = 0; first < kNumKnobs; first += kKnobsPerChannel) {
    const auto value = [&](Knob knob) {
      return controlValues[first + knob].load(std::memory_order_relaxed);
    };
    appliedValues[first + 0] = value(bass);
    appliedValues[first + 1] = value(mid);
    appliedValues[first + 2] = value(treble);
    appliedValues[first + 3] = value(presence);
    appliedValues[first + 4] = value(master);
    appliedValues[first + 5] = value(gain);
  }
}

}  // namespace quellard
