// SPDX-License-Identifier: ISC
#include "channels/signal_chain.h"

#include <algorithm>

#include "channels/fast/loan.h"
#include "channels/plain_chain.h"

namespace quellard {
namespace {

// Below these lengths, in samples, filling and draining the fast core costs more than it saves:
// measured on all instruction sets.
constexpr int kShortestSkewedClean = 8;
constexpr int kShortestSkewedCascade = 5;

// Where the next glide ends, so that a section is either gliding or not over a whole stretch.
int samplesToNextGlideEnd(const IIRFilter& section, int most) {
  const double left = section.ipLength - section.ipCount + 1.0;
  return left >= 1.0 && left < most ? static_cast<int>(left) : most;
}

int steadyLength(const AmpChannelBase& channel, int most) {
  most = samplesToNextGlideEnd(*channel.preFilters[0], most);
  for (std::int32_t i = 0; i < channel.eqCount; ++i) {
    most = samplesToNextGlideEnd(*channel.eqFilters[static_cast<std::size_t>(i)], most);
  }
  return most;
}

void playBlock(AmpChannelBase& channel, const ChainParts& parts, const double* in, double* out,
               int n) {
  const int shortest = parts.split != nullptr ? kShortestSkewedCascade : kShortestSkewedClean;
  Stretch stretch = {.in = in,
                     .out = out,
                     .first = 0,
                     .end = 0,
                     .drive = BlockRamp(channel.gainCurrent, channel.gainTarget, n),
                     .level = BlockRamp(channel.masterCurrent, channel.masterTarget, n)};
  if (n < shortest) {
    stretch.end = n;
    return playPlain(channel, parts, stretch);
  }
  fast::Loan loan(channel, parts);
  const bool skewable = loan.isPossible();
  while (stretch.end < n) {
    stretch.first = stretch.end;
    const int length = steadyLength(channel, n - stretch.first);
    stretch.end += length;
    if (skewable && length >= shortest) {
      loan.play(stretch);
    } else {
      playPlain(channel, parts, stretch);
    }
  }
}

}  // namespace

void playChannel(AmpChannelBase& channel, const ChainParts& parts, const double* in, double* out,
                 int n) {
  if (n > 0) playBlock(channel, parts, in, out, n);
  channel.gainCurrent = channel.gainTarget;
  channel.masterCurrent = channel.masterTarget;
}

}  // namespace quellard
