// SPDX-License-Identifier: ISC
// A parameter's value as text, both ways, in the amplifier's own words and free of the C locale.
// Every thread may call these; none allocates.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace quellard {

inline constexpr std::size_t kValueTextSize = 9;  // with the terminator
using ValueText = std::array<char, kValueTextSize>;

// "7.50" for a knob at 0.75, "VINTAGE" for the selector at 0.5, "On" for the bypass (bypass.h) from
// 0.5 up; empty for other parameters. As the amplifier shows it, without the place that it keeps
// for a sign.
ValueText valueText(int index, float value);

// The value that reads so: 0.75 for a knob's "7.5", 0.5 for "vintage", 1 for "on". White space
// around the text and the case of words do not matter, knobs are held within 0..10. Nothing for
// other texts and other parameters.
std::optional<float> valueFromText(int index, std::string_view text);

// The value of a knob whose place on the scale of 0 to 10 a host keeps as a float: that of the
// shortest decimal which reads as this float, so that 4.39 gives the bits of "4.39", of a preset
// and of `quellard render`. The float itself divided by 10 would not, for a quarter of all settings
// with two decimals. Held within 0..10, NaN at 0.
float knobFromScale(float scale);

// The value of a parameter as formats keep it whose controls read like the amplifier's: knobs on
// their scale, the selector as a channel's number, 0..2, rounded since a slider may send any float.
float valueFromControl(int index, float control);

// The inverse: the control that gives this value, or where none does the nearest. A control that
// was worked out so gives the value it came from, so a state can be saved and loaded for ever.
float controlFromValue(int index, float value);

}  // namespace quellard
