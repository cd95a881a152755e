// SPDX-License-Identifier: ISC
// What comes with an installed program beside itself: completion for bash and a manual page, both
// made from the table of its own options, so that they name what there is.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace quellard {

using Words = std::vector<std::string>;

// The values of the options that have a known set of them, by the option's long name without its
// dashes. Values that end in '=' are followed by more.
using KnownValues = std::map<std::string, std::function<Words()>>;

// What a manual page says that the option table does not know. Empty sections are left out.
struct ManualTexts {
  std::string version;
  std::string date;                                           // of that version, as 2026-11-24
  Words description;                                          // paragraphs
  std::vector<std::pair<std::string, std::string>> files;     // path and what it holds
  std::vector<std::pair<std::string, std::string>> examples;  // command line and what it does
  Words seeAlso;                                              // "quellard(1)"
};

// The values of the options that addSettingsOptions() adds.
KnownValues settingsValues();

// Adds to a program's options, hidden from its help, --completion bash, --manual and, which
// completion asks, --values OPTION. Each prints and ends the parsing with CLI::Success. Call it
// when all others have been added.
void addProgramPages(CLI::App& app, const KnownValues& values, const ManualTexts& texts);

// The pages themselves.
std::string bashCompletion(const CLI::App& app, const KnownValues& values);
std::string manualPage(const CLI::App& app, const ManualTexts& texts);

}  // namespace quellard
