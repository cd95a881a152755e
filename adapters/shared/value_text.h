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

// The value of a parameter as formats keep it whose controls read like the amplifier's: knobs on
// their scale, the selector as a channel's number, 0..2, rounded since a slider may send any float.
float valueFromControl(int index, float control);

// The inverse: the control that gives this value, or where none does the nearest. A control that
// was worked out so gives the value it came from, so a state can be saved and loaded for ever.
float controlFromValue(int index, float value);

}  // namespace quellard
