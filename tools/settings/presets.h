// SPDX-License-Identifier: ISC
// The presets of the factory bank and the user's own. The latter are text files (settings_text.h)
// in the folder presets/ of the user's configuration: "My Lead.txt" is the preset "My Lead". Upper
// and lower case of names are equal. Not for the audio thread.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tools/settings/settings_text.h"

namespace quellard {

struct Preset {
  std::string name;
  std::string description;  // of the user's own it may be empty
  ParameterValues values;
  bool isFactory;
};

struct PresetList {
  std::vector<Preset> presets;      // the factory bank in its order, the user's own by name
  std::vector<std::string> errors;  // one line for each file that could not be read, or the folder
};

// The folder of the user's own presets, which may not exist; empty without a home folder.
std::filesystem::path presetFolder();

PresetList listPresetFiles();

// Throws UsageError for an unknown name, with a suggestion, and for a file with a mistake in it;
// FileError for a file that cannot be read.
Preset findPreset(std::string_view name);

// Why a name is not allowed for a user's preset, "" if it is. It becomes the name of a file and
// must fit in one line.
std::string faultOfPresetName(std::string_view name);

// Whether saving under this name would replace one of the user's presets.
bool isUserPreset(std::string_view name);

// Writes a user's preset. Throws UsageError for a name that is not allowed, FileError when it
// cannot be written; then an existing preset of this name stays as it was.
void savePreset(std::string_view name, const ParameterValues& values);

// The option that loads a preset, quoted for a shell: --preset 'My Lead'.
std::string presetOption(std::string_view name);

}  // namespace quellard
