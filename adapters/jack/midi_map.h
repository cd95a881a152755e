// SPDX-License-Identifier: ISC
// What MIDI messages do, on any MIDI channel:
//
//   program change 1..     the presets: the twelve of the factory bank, then the user's own
//   controller 14          the channel: lowest third CLEAN, middle VINTAGE, highest MODERN
//   controllers 20..25     PRESENCE, BASS, MID, TREBLE, MASTER, GAIN of the selected channel
//   controllers 102..119   all eighteen knobs, in the order of the parameters
//
// MIDI leaves these controllers undefined, so that they clash with no pedal or wheel.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace quellard {

// One of the two: a preset, or a value for a parameter.
struct MidiAction {
  int preset = -1;    // 0..presets-1
  int parameter = 0;  // 1..19
  float value = 0.0F;
};

// Nothing for other messages, programs without a preset and incomplete messages.
// channel: the selected one, 0..2. presets: how many there are. [any thread] Never allocates.
std::optional<MidiAction> midiAction(std::span<const std::uint8_t> message, int channel,
                                     std::size_t presets);

}  // namespace quellard
