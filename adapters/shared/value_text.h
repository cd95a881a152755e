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

// "7.50" for a knob at 0.75, "VINTAGE" for the selector at 0.5; empty for parameters other than
// 1..19. As the amplifier shows it, without the place that it keeps for a sign.
ValueText valueText(int index, float value);

// The value that reads so: 0.75 for a knob's "7.5", 0.5 for "vintage". White space around the text
// and the case of a channel's name do not matter, knobs are held within 0..10. Nothing for other
// texts, and for parameters other than 1..19.
std::optional<float> valueFromText(int index, std::string_view text);

}  // namespace quellard
