// SPDX-License-Identifier: ISC
// The presets that a player can name: the factory bank, and behind it the user's own, which are
// text files (settings_text.h) in the folder presets/ of the user's configuration: "My Lead.txt" is
// the preset "My Lead". Names are free of case. Not for the audio thread.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tools/settings_text.h"

namespace quellard {

struct Preset {
  std::string name;
  std::string description;  // of the user's own it may be empty
  ParameterValues values;
  bool isFactory;
};

struct PresetList {
  std::vector<Preset> presets;        // the factory bank in its order, the user's own by name
  std::vector<std::string> troubles;  // a line for each file that is no preset, or no folder
};

// The folder of the user's own; empty without a home folder. It need not exist.
std::filesystem::path presetFolder();

PresetList listPresetFiles();

// Throws UsageError for a name that nobody has, with the nearest one, and for a file with a mistake
// in it; FileError for a file that cannot be read.
Preset findPreset(std::string_view name);

// Why a name cannot be a user's preset; "" for one that can. It becomes a file's name, and is shown
// in one line.
std::string faultOfPresetName(std::string_view name);

// Whether saving under this name would replace one of the user's presets.
bool isUserPreset(std::string_view name);

// Writes a preset of the user's own. Throws UsageError for a name that cannot be one, FileError
// when it cannot be written; what was there before then stays.
void savePreset(std::string_view name, const ParameterValues& values);

// What brings a preset back, as a shell reads it: --preset 'My Lead'.
std::string presetOption(std::string_view name);

}  // namespace quellard
