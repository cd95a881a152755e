// SPDX-License-Identifier: ISC
// Runs the program gnuplot.
#pragma once

#include <string>

#include "tools/files/output_file.h"

namespace quellard {

// Runs a script in gnuplot and writes the picture. Throws FileError when gnuplot is not installed
// or fails, or when the picture cannot be written.
void runGnuplot(const std::string& script, OutputFile& picture);

}  // namespace quellard
