// SPDX-License-Identifier: ISC
// The three channels as a list, for tests that apply to each of them.
#pragma once

#include <array>
#include <memory>
#include <ostream>

#include "channels/quellard_ch1.h"
#include "channels/quellard_ch2.h"
#include "channels/quellard_ch3.h"
#include "tests/reference/reference_amplifier.h"

namespace quellard::test {

using AnyChannel = std::unique_ptr<AmpChannelBase>;

struct ChannelModel {
  const char* name;
  reference::Model reference;
  AnyChannel (*build)(double rate, bool rebuildTables);

  AnyChannel at(double rate) const { return build(rate, true); }
};

template <class Channel>
constexpr ChannelModel channelModel(const char* name, reference::Model reference) {
  return {name, reference, [](double rate, bool rebuildTables) -> AnyChannel {
            return std::make_unique<Channel>(rate, rebuildTables);
          }};
}

inline std::ostream& operator<<(std::ostream& out, const ChannelModel& model) {
  return out << model.name;
}

inline constexpr std::array<ChannelModel, 3> kChannelModels = {{
    channelModel<QuellardCh1>("CLEAN", reference::Model::clean),
    channelModel<QuellardCh2>("VINTAGE", reference::Model::vintage),
    channelModel<QuellardCh3>("MODERN", reference::Model::modern),
}};

// All knobs, as a channel receives them after the tapers.
struct Knobs {
  double treble = 0.5, mid = 0.5, bass = 0.7071, presence = 0.5, gain = 0.125, master = 0.25;
};

template <class Channel>
void turn(Channel& channel, const Knobs& knobs, int glide) {
  channel.setEQ(knobs.treble, knobs.mid, knobs.bass, knobs.presence, glide);
  channel.setGain(knobs.gain, glide);
  channel.setMaster(knobs.master, glide);
}

inline std::vector<double> play(AmpChannelBase& channel, std::vector<double> input) {
  std::vector<double> output(input.size());
  channel.signalProcess(input.data(), output.data(), static_cast<int>(input.size()));
  return output;
}

}  // namespace quellard::test
