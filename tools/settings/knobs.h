// SPDX-License-Identifier: ISC
// Parses parameters and values as people write them: "vintage.gain" and "7.5", "channel" and
// "clean". Upper and lower case are equal, and so are '.', '_', '-' and a space. Knobs are written
// from 0 to 10, as the amplifier shows them. The functions throw UsageError with a message that
// says what was expected, and with a suggestion for a mistyped word.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "params/parameter_table.h"

namespace quellard {

// A new value for one parameter. parameter: 1..19. value: 0..1.
struct ParameterChange {
  int parameter;
  float value;
};

// 0..2 for "clean", "vintage" and "modern".
int parseChannel(std::string_view text);
// The inverse.
std::string channelWord(int channel);

// A change, from a name and a value:
//   channel (or type)   clean, vintage, modern
//   vintage.gain        0..10
//   gain                0..10, the knob of `channel`, 0..2
//   12                  0..1, the parameter with this index and the plug-in's own value
ParameterChange parseParameterChange(std::string_view name, std::string_view value, int channel);

// Whether a name is one of the channel selector's: channel, type, 19.
bool namesSelector(std::string_view name);

// The two parts of "NAME=VALUE", without spaces around them.
std::pair<std::string, std::string> splitAssignment(std::string_view text);

}  // namespace quellard
