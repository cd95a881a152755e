// SPDX-License-Identifier: ISC
// What a MIDI message does to the amplifier, on any MIDI channel:
//
//   program change 1..     the presets, the user's own behind the twelve of the factory bank
//   controller 14          the channel: lowest third CLEAN, middle VINTAGE, highest MODERN
//   controllers 20..25     PRESENCE, BASS, MID, TREBLE, MASTER, GAIN of the selected channel
//   controllers 102..119   all eighteen knobs, in the order of the parameters
//
// These controllers are ones to which MIDI gives no meaning of its own.
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

// Nothing for other messages, programs beyond the presets, and messages that are cut short.
// channel: the selected one, 0..2. presets: how many there are. [any thread] Never allocates.
std::optional<MidiAction> midiAction(std::span<const std::uint8_t> message, int channel,
                                     std::size_t presets);

}  // namespace quellard
