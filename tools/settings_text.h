// SPDX-License-Identifier: ISC
// The whole amplifier as a text that people can write: a preset, or what a program remembers.
//
//   # Long notes for the last chorus    a comment in the first line says what it is good for
//   channel = vintage
//   vintage.gain = 6.25                 a knob at its place on the scale of 0 to 10
//   bass = 4                            the same on the channel that the text selects
//
// A setting a line, with the names of knobs.h; empty lines and what follows a '#' mean nothing.
// What is not named stands at its default, of two lines for one knob the last counts.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "params/parameter_values.h"

namespace quellard {

struct SettingsText {
  std::string description;  // may be empty
  ParameterValues values;
};

// The text that gives exactly these values, to the last bit, in decimals as short as that allows.
// The knobs of the selected channel are all named, those of the others where they were moved.
std::string writeSettings(const SettingsText& settings);

// name: of the text, for messages. Throws UsageError that begins with it and the line's number.
SettingsText parseSettings(std::string_view text, const std::string& name);

// The same from an ordinary file of at most 64 KiB; throws FileError when it is something else or
// cannot be read.
SettingsText readSettings(const std::filesystem::path& file);

// Writes a file whole or not at all, and its folder where that is missing. Throws FileError.
void saveSettings(const std::filesystem::path& file, const SettingsText& settings);

}  // namespace quellard
