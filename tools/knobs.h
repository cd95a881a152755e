// SPDX-License-Identifier: ISC
// Reads what people write for knobs and channels: "vintage.gain" at "7.5", "channel" at "clean".
// Names are free of case, and '.', '_', '-' and a space all separate. A knob's value is on the
// scale of 0 to 10 that the amplifier shows. Every function throws UsageError with a message that
// says what was expected, for a near miss with the nearest known word.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "params/parameter_table.h"

namespace quellard {

// A value for a parameter as the plug-in takes it. parameter: 1..19. value: 0..1.
struct Setting {
  int parameter;
  float value;
};

// The whole text as a finite number; nothing otherwise.
std::optional<double> parseNumber(std::string_view text);

// The same within a range, and as a whole number. what: what the number is for, for the message.
double numberWithin(const char* what, std::string_view text, double lowest, double highest);
int integerWithin(const char* what, std::string_view text, int lowest, int highest);

// "clean", "vintage" or "modern" to 0..2.
int parseChannel(std::string_view text);

// A setting by name and value:
//   channel (or type)   clean, vintage, modern
//   vintage.gain        0..10
//   gain                0..10, the knob of the channel given here, 0..2
//   12                  0..1, the parameter of this index with the value as the plug-in keeps it
Setting parseSetting(std::string_view name, std::string_view value, int channel);

// Whether a name is one of the channel selector's: channel, type, 19.
bool namesSelector(std::string_view name);

// "NAME=VALUE" in its two halves, without the spaces around them.
std::pair<std::string, std::string> splitAssignment(std::string_view text);

// ", did you mean 'gain'?" when one of the known words is near in either case, otherwise "".
std::string suggestion(std::string_view word, const std::vector<std::string>& known);

}  // namespace quellard
