// SPDX-License-Identifier: ISC
// Completion and manual page of the command quellard.
#pragma once

#include <CLI/CLI.hpp>

namespace quellard {

// To be called after all options and commands have been added.
void addQuellardPages(CLI::App& app);

}  // namespace quellard
