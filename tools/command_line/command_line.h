// SPDX-License-Identifier: ISC
// The command line, for all programs.
#pragma once

#include <string>
#include <string_view>

#include "tools/common/command_line_parser.h"

namespace quellard {

// Writes to standard output and flushes it. Throws FileError.
void printOut(std::string_view text);

// The text of --help or --version.
std::string helpText(const CLI::App& app, const CLI::Success& asked);

// An error in the command line as one line, with a suggestion for a mistyped option or command.
std::string explanation(const CLI::App& app, const CLI::ParseError& error);

// Throws UsageError for an option with an empty value, mostly from a shell variable without a
// value. The programs take an empty value for an option that was not given.
void refuseEmptyValues(const CLI::App& app);

}  // namespace quellard
