// SPDX-License-Identifier: ISC
// The options by which every command line sets the amplifier, and what they come to.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <vector>

#include "tools/knobs.h"
#include "tools/settings_text.h"

namespace quellard {

// The options as they were typed, before anybody knows which channel plays.
struct SettingsOptions {
  std::string program;  // "" is the first one, "3" the third
  std::string preset;
  std::string channel;
  std::map<std::string, std::string> knobs;  // "gain" to "7.5"
  std::vector<std::string> assignments;      // "vintage.gain=7.5"
};

// Where the knobs stand before the first sample.
struct StartingPoint {
  int program = 0;                // 0..15
  std::vector<Setting> settings;  // applied after the program, in order
};

// Adds --program, --preset, --channel, a --KNOB for each of the six, and --set. options outlives
// the parsing.
void addSettingsOptions(CLI::App& command, SettingsOptions& options);

// An option with a value that is read later, so that every complaint about one sounds alike.
CLI::Option* addValue(CLI::App& command, const char* names, std::string& value, const char* type,
                      const std::string& help);

// The program or preset that the options begin with, and the selector, however it is named. Throws
// UsageError.
StartingPoint startFrom(const SettingsOptions& options);

// The channel that plays from there on, 0..2: the one whose knobs the bare names mean.
// programSelector: the selector's value in the program that it begins with.
int channelAt(const StartingPoint& start, float programSelector);

// Adds the knobs, the bare names on a channel 0..2. Throws UsageError.
void turnKnobs(const SettingsOptions& options, int channel, StartingPoint& start);

// All of the above for an amplifier that stands at certain values already: a program, a fresh one
// having every knob at its default, or a preset replaces them all, everything else only what it
// names. Throws UsageError.
ParameterValues settingsFrom(const SettingsOptions& options, const ParameterValues& before);

}  // namespace quellard
