// SPDX-License-Identifier: ISC
// All values of the amplifier as a text: a preset, or, with those of the rig, the state that a
// program keeps.
//
//   # Long notes for the last chorus    a comment in the first line is the description
//   channel = vintage
//   vintage.gain = 6.25                 a knob's position, 0 to 10
//   bass = 4                            a knob of the channel that the text selects
//   gate = -60                          input, gate and output in decibels; a preset ignores them
//   cab = /home/me/4x12 %231.wav        and the cabinet; %23 is '#', %25 is '%'
//   cab level = -3
//
// One parameter per line, with the names of knobs.h. Empty lines and comments from '#' on are
// ignored. Parameters that are not named have their default; of two lines for one the last counts.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "rig/rig_parameters.h"
#include "tools/settings/cabinet_choice.h"

namespace quellard {

struct SettingsText {
  std::string description;                      // may be empty
  HostedValues values = defaultHostedValues();  // without the bypass
  CabinetChoice cabinet = {};

  bool operator==(const SettingsText&) const = default;
};

// A text that gives exactly these values, with decimals as short as possible. It names all knobs of
// the selected channel, and what else differs from its default.
std::string writeSettings(const SettingsText& settings);

// name: for messages. Throws UsageError whose message begins with the name and the line number.
SettingsText parseSettings(std::string_view text, const std::string& name);

// The same from a file. Throws FileError when it cannot be read, is no ordinary file, or has more
// than 64 KiB.
SettingsText readSettings(const std::filesystem::path& file);

// Writes a complete file or none, and makes its folder if missing. Throws FileError.
void saveSettings(const std::filesystem::path& file, const SettingsText& settings);

}  // namespace quellard
