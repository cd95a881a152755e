// SPDX-License-Identifier: ISC
// The command quellard.
#pragma once

namespace quellard {

// Runs the command and returns its exit status: 0 for success, 1 for an error with a file or the
// plug-in, 2 for a wrong command line. Each error is one line on stderr. When interrupted by a
// signal, the process ends by it.
int runCommand(int argc, const char* const* argv);

}  // namespace quellard
