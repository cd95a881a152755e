// SPDX-License-Identifier: ISC
// The texts of the parameters: names, value texts and the properties record. All of them may be
// called on any thread and allocate nothing. Where a parameter has no text, or a pointer is null,
// nothing is written.
#pragma once

#include <array>

#include "params/parameter_table.h"

namespace quellard {

// Copies at most maxLen characters and puts a terminator at position maxLen, padding a shorter
// text with zeros. to: maxLen + 1 characters.
void copyText(char* to, const char* from, int maxLen);

// A number with a sign place ("-" or a space), rounded half away from zero to two decimals:
// 5 gives " 5.00", 10000 gives " 10000.0" (eight characters), beyond eight digits "Huge!".
// NaN, which the amplifier plays as 0, reads " 0.00". text: maxLen + 1 characters.
void formatValue(float value, char* text, int maxLen);

// A whole number; "Huge!" where maxLen characters cannot hold all its digits. text: maxLen + 1.
void formatInteger(std::int32_t value, char* text, int maxLen);

// "PRESENCE" ... "type" for parameters 1..19. text: 9 characters.
void writeParameterName(int index, char* text);

// The value as the player reads it: knobs on a scale of 0 to 10, the selector as a channel name.
// value: 0..1, others are formatted as they come. text: 9 characters.
void writeParameterDisplay(int index, float value, char* text);

// Names for hosts, which list all parameters together and set them in upper and lower case.
inline constexpr std::size_t kTitleSize = 24;  // with the terminator
using Title = std::array<char, kTitleSize>;

Title channelTitle(int channel);  // "Clean", "Vintage" or "Modern" for 0..2
Title controlTitle(int index);    // "Presence" ... for a knob, "Channel" for the selector
// "Clean Presence" ... "Modern Gain", "Channel"; at most 16 characters. Empty for other parameters.
Title parameterTitle(int index);

}  // namespace quellard
