// SPDX-License-Identifier: ISC
// The command-line options for the amplifier's values, for all programs.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/common/command_line_parser.h"
#include "tools/settings/knobs.h"
#include "tools/settings/settings_text.h"

namespace quellard {

// The options as they were typed; what a knob without a channel means is decided later.
struct SettingsOptions {
  std::string program;  // "3" is the third, "" the first
  std::string preset;
  std::string channel;
  std::map<std::string, std::string> knobs;  // "gain" to "7.5"
  std::vector<std::string> assignments;      // "vintage.gain=7.5"
};

// The amplifier's values before the first sample: those of a program, changed by further values.
struct StartingPoint {
  int program = 0;                       // 0..15
  std::vector<ParameterChange> changes;  // applied after the program, in order
};

// Adds --program, --preset, --channel, an option for each of the six knobs, and --set. options must
// live until the command line is parsed.
void addSettingsOptions(CLI::App& command, SettingsOptions& options);

// Adds an option whose value is parsed later, by the functions of knobs.h, so that all error
// messages are alike. group: the heading of the help under which it stands.
CLI::Option* addValue(CLI::App& command, const char* names, std::string& value, const char* type,
                      const std::string& help, const char* group = "Options");

// The program or preset of the options, and the selected channel. Throws UsageError.
StartingPoint startFrom(const SettingsOptions& options);

// The channel that plays from this starting point on, 0..2: knob names without a channel refer to
// it. programSelector: the selector's value in the program.
int channelAt(const StartingPoint& start, float programSelector);

// Adds the knobs' values; names without a channel mean `channel`, 0..2. Throws UsageError.
void addKnobs(const SettingsOptions& options, int channel, StartingPoint& start);

// The values that the options give an amplifier that has the values `before`: a program (all of
// which have the defaults) or a preset replaces all of them, other options single ones. Throws
// UsageError.
ParameterValues settingsFrom(const SettingsOptions& options, const ParameterValues& before);

}  // namespace quellard
