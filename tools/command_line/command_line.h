// SPDX-License-Identifier: ISC
// Command line and standard streams, for all programs.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>

namespace quellard {

// Opens closed standard streams on /dev/null, so that no file or socket gets their numbers and
// receives messages. Using such a stream is still an error. To be called before all else.
void holdStandardStreams();

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
