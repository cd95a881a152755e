// SPDX-License-Identifier: ISC
// Runs the program gnuplot.
#pragma once

#include <string>

#include "tools/output_file.h"

namespace quellard {

// Feeds a script to gnuplot and writes the picture that it makes. Throws FileError when gnuplot is
// not installed, does not like the script, or when the picture cannot be written.
void runGnuplot(const std::string& script, OutputFile& picture);

}  // namespace quellard
