// SPDX-License-Identifier: ISC
// Completion for bash and a manual page, both generated from a program's options, so that they are
// always complete.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tools/common/command_line_parser.h"

namespace quellard {

using Words = std::vector<std::string>;

// The possible values of options, by the option's long name without dashes. More follows a value
// that ends in '='.
using KnownValues = std::map<std::string, std::function<Words()>>;

// The texts of a manual page beside the options. Empty sections are left out.
struct ManualTexts {
  std::string version;
  std::string date;                                           // of that version: 2026-11-24
  Words description;                                          // paragraphs
  std::vector<std::pair<std::string, std::string>> files;     // path and what it holds
  std::vector<std::pair<std::string, std::string>> examples;  // command line and what it does
  Words seeAlso;                                              // "quellard(1)"
};

// Among the files of every program.
inline constexpr std::pair<const char*, const char*> kUserPresetsFolder = {
    "~/.config/quellard/presets/",
    "The user's own presets, a text file each. Where XDG_CONFIG_HOME is set, it takes the place of "
    "~/.config."};

// The values of the options that addSettingsOptions() adds.
KnownValues settingsValues();

// Adds the options --completion bash, --manual and --values OPTION (which the completion script
// calls), hidden from the help. Each prints and ends the parsing with CLI::Success. To be called
// after all other options have been added.
void addProgramPages(CLI::App& app, const KnownValues& values, const ManualTexts& texts);

// The texts themselves.
std::string bashCompletion(const CLI::App& app, const KnownValues& values);
std::string manualPage(const CLI::App& app, const ManualTexts& texts);

}  // namespace quellard
