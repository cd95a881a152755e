// SPDX-License-Identifier: ISC
// Lends a channel to the fast core for the length of a stretch. The sections stay the owners of
// coefficients, glides and memory: all is loaded at the start and stored back at the end, so that
// everything said about a section holds between calls.
#pragma once

#include <array>
#include <span>

#include "channels/fast/skewed_state.h"
#include "channels/signal_chain.h"

namespace quellard::fast {

// Where a section stands in the rack of the core.
struct Placed {
  IIRFilter* section;
  int lane;
  int place;
  bool glided;

  bool isGliding() const { return glided && section->ipCount <= section->ipLength; }
};

// One channel for the length of one call. [audio thread] Allocates nothing.
class Loan {
 public:
  Loan(AmpChannelBase& channel, const ChainParts& parts);

  // Whether the core has room for the channel's sections and every one has the form that the
  // voicings give it: no one-pole recursion, and first order inside the oversampled loop. Others
  // play in the plain order.
  bool isPossible() const;

  // Plays a stretch over which no glide ends, but on its last sample.
  void play(const Stretch& stretch);

 private:
  bool fits() const;
  void layOut();
  void add(IIRFilter* section, int lane, int place, bool glided);
  std::array<IIRFilter*, 3> loopSections() const;
  std::span<const Placed> sections() const { return {placed_.data(), count_}; }
  void lendRack(SkewedState& s) const;
  void lendLoop(SkewedState& s) const;
  void takeBackLoop(Memory& memory);

  AmpChannelBase& channel_;
  ChainParts parts_;
  std::array<Placed, std::size_t{kLanes}* kPlaces> placed_ = {};
  std::size_t count_ = 0;
};

}  // namespace quellard::fast
