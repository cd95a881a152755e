// SPDX-License-Identifier: ISC
// Parameter values to text and back, in the amplifier's own words, independent of the C locale. Any
// thread may call these functions; none allocates.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace quellard {

inline constexpr std::size_t kValueTextSize = 9;  // with the terminator
using ValueText = std::array<char, kValueTextSize>;

// "7.50" for a knob at 0.75, "VINTAGE" for the selector at 0.5, "On" for the bypass from 0.5 up,
// "-60.0 dB" for a level and the gate, "Off" for the gate at 0; empty for other parameters. The
// amplifier's own text without the leading space that it keeps for a sign.
ValueText valueText(int index, float value);

// The value of a text: 0.75 for a knob's "7.5", 0.5 for "vintage", 1 for "on". White space around
// the text and upper or lower case do not matter; knobs are limited to 0..10. Nothing for other
// texts and other parameters.
std::optional<float> valueFromText(int index, std::string_view text);

// A parameter's value from a host's control: knobs from 0 to 10, the selector as a channel's
// number, 0..2, which is rounded since a slider may send any float, the bypass as 0 or 1, levels
// and the gate's threshold in decibels, kGateOff_dbfs for off.
float valueFromControl(int index, float control);

// The inverse: the control from which valueFromControl() gives exactly this value, or the nearest
// where there is none.
float controlFromValue(int index, float value);

}  // namespace quellard
