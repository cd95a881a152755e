// SPDX-License-Identifier: ISC
// How the subcommands of quellard speak: exit statuses, and one line for each thing that went
// wrong.
#pragma once

#include <cstdio>
#include <string>

namespace quellard {

inline constexpr int kDone = 0;
inline constexpr int kFileTrouble = 1;
inline constexpr int kWrongUsage = 2;

// One line on standard error, whatever the message holds. Returns the status.
int report(const std::string& message, int status = kDone);

// Throws FileError for standard output; errors on standard error are ignored, since they could not
// be reported.
void print(const std::string& text, std::FILE* to = stdout);

}  // namespace quellard
