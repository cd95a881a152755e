// SPDX-License-Identifier: ISC
// Packs a channel for the pipeline and unpacks it again. The sections stay the owners of their
// coefficients, glides and states: all is packed at the start of a segment; at its end the states
// are unpacked and the glides moved on. So between two calls a section holds what its header says.
#pragma once

#include <array>
#include <span>

#include "channels/fast/packed_channel.h"
#include "channels/signal_chain.h"

namespace quellard::fast {

// A section and its place in the cascade.
struct SectionPlace {
  IIRFilter* filter;
  int lane;
  int index;      // within the lane
  bool canGlide;  // run with ipIirProcessing, else with iirProcessing

  bool glides() const { return canGlide && filter->ipCount <= filter->ipLength; }
};

// Packs one channel during one playChannel(), segment by segment. [audio thread] Allocates nothing.
class ChannelPacker {
 public:
  ChannelPacker(AmpChannelBase& channel, const ChainParts& parts);

  // Whether the pipeline can play the channel: it has at most four sections before the drive and
  // nine to twelve after the oversampled part, none of them is a one-pole recursion, those in the
  // oversampled part are a lowpass, a highpass and a lowpass of first order, and the first
  // waveshaper's table is generated. Other channels need the scalar chain.
  bool canPack() const;

  // Plays a segment within which no glide ends before its last sample. Requires canPack().
  void play(const Segment& segment);

 private:
  bool fits() const;
  void assignLanes();
  void assign(IIRFilter* filter, int lane, int index, bool canGlide);
  std::array<IIRFilter*, 3> interstageFilters() const;
  std::span<const SectionPlace> sections() const { return {sections_.data(), count_}; }
  void packCascade(PackedChannel& packed) const;
  // Resampler, waveshapers, interstage filters and split.
  void packOversampledStages(PackedChannel& packed) const;
  void unpackOversampledStages(PackedState& state);

  AmpChannelBase& channel_;
  ChainParts parts_;
  std::array<SectionPlace, std::size_t{kLanes}* kSectionsPerLane> sections_ = {};
  std::size_t count_ = 0;
};

}  // namespace quellard::fast
