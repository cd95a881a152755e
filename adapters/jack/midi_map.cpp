// SPDX-License-Identifier: ISC
#include "adapters/jack/midi_map.h"

#include "params/parameter_values.h"

namespace quellard {
namespace {

constexpr int kProgramChange = 0xC0;
constexpr int kControlChange = 0xB0;
constexpr int kSelector = 14;
constexpr int kSelectedKnobs = 20;
constexpr int kAllKnobs = 102;
constexpr double kHighest = 127.0;

std::optional<MidiAction> controlAction(int controller, int position, int channel) {
  const auto value = static_cast<float>(position / kHighest);
  if (controller == kSelector) {
    return MidiAction{.parameter = kTypeParameter,
                      .value = selectFromChannel(channelFromSelect(value))};
  }
  if (controller >= kSelectedKnobs && controller < kSelectedKnobs + kKnobsPerChannel) {
    return MidiAction{.parameter = knobIndex(channel, controller - kSelectedKnobs), .value = value};
  }
  if (controller >= kAllKnobs && controller < kAllKnobs + kNumKnobs) {
    return MidiAction{.parameter = controller - kAllKnobs + 1, .value = value};
  }
  return std::nullopt;
}

}  // namespace

std::optional<MidiAction> midiAction(std::span<const std::uint8_t> message, int channel,
                                     std::size_t presets) {
  if (message.size() < 2) return std::nullopt;
  const int kind = message[0] & 0xF0;
  if (kind == kProgramChange && message[1] < presets) {
    return MidiAction{.preset = message[1]};
  }
  if (kind == kControlChange && message.size() >= 3) {
    return controlAction(message[1], message[2], channel);
  }
  return std::nullopt;
}

}  // namespace quellard
