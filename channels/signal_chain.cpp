// SPDX-License-Identifier: ISC
#include "channels/signal_chain.h"

#include <algorithm>

#include "channels/fast/channel_packer.h"
#include "channels/scalar_chain.h"

namespace quellard {
namespace {

// Below these lengths, in samples, filling and draining the pipeline costs more than it saves:
// measured on all instruction sets.
constexpr int kShortestPipelinedClean = 8;
constexpr int kShortestPipelinedMultistage = 5;

// The first sample has the value that the last block reached, the last sample the target. With one
// sample the value does not move.
Ramp blockRamp(double current, double target, int n) {
  return {current, (target - current) * (n > 1 ? 1.0 / (n - 1) : 0.0)};
}

// The number of samples to the end of the section's glide, at most `most`; `most` without a glide.
int samplesToGlideEnd(const IIRFilter& section, int most) {
  const double left = section.ipLength - section.ipCount + 1.0;
  return left >= 1.0 && left < most ? static_cast<int>(left) : most;
}

// The number of samples, at most `most`, in which no glide ends before the last one.
int segmentLength(const AmpChannelBase& channel, int most) {
  most = samplesToGlideEnd(*channel.preFilters[0], most);
  for (const auto& section : sectionsOf(channel.eqFilters, channel.eqCount)) {
    most = samplesToGlideEnd(*section, most);
  }
  return most;
}

}  // namespace

void playChannel(AmpChannelBase& channel, const ChainParts& parts, const double* in, double* out,
                 int n) {
  const int shortest =
      parts.split != nullptr ? kShortestPipelinedMultistage : kShortestPipelinedClean;
  Segment segment = {.in = in,
                     .out = out,
                     .begin = 0,
                     .end = 0,
                     .drive = blockRamp(channel.gainCurrent, channel.gainTarget, n),
                     .level = blockRamp(channel.masterCurrent, channel.masterTarget, n)};
  channel.gainCurrent = channel.gainTarget;
  channel.masterCurrent = channel.masterTarget;
  if (n < shortest) {
    segment.end = n;
    return playScalar(channel, parts, segment);
  }
  fast::ChannelPacker packer(channel, parts);
  const bool packable = packer.canPack();
  while (segment.end < n) {
    segment.begin = segment.end;
    const int length = segmentLength(channel, n - segment.begin);
    segment.end += length;
    if (packable && length >= shortest) {
      packer.play(segment);
    } else {
      playScalar(channel, parts, segment);
    }
  }
}

}  // namespace quellard
