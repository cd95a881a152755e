// SPDX-License-Identifier: ISC
// Completion and manual page of the command quellard.
#pragma once

#include "tools/common/command_line_parser.h"

namespace quellard {

// To be called after all options and commands have been added.
void addQuellardPages(CLI::App& app);

}  // namespace quellard
