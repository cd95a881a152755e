// SPDX-License-Identifier: ISC
// What every program does alike with its command line and its standard streams.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>

namespace quellard {

// Opens the standard streams that are closed, so that no file or socket gets the number of one and
// is written into. Whoever uses one still gets an error. To be called first of all.
void holdStandardStreams();

// Writes on standard output, at once. Throws FileError.
void printOut(std::string_view text);

// What --help or --version shows.
std::string helpText(const CLI::App& app, const CLI::Success& asked);

// A wrong command line in one line, with what a mistyped option or command may have meant.
std::string explanation(const CLI::App& app, const CLI::ParseError& error);

// Options are told from one another by an empty value: one that was given empty, mostly by a shell
// whose variable has no value, must not pass for one that was not given. Throws UsageError.
void refuseEmptyValues(const CLI::App& app);

}  // namespace quellard
