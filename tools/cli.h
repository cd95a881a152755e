// SPDX-License-Identifier: ISC
// The command line of quellard.
#pragma once

namespace quellard {

// Runs the command and returns its exit status: 0 done, 1 trouble with a file or the plug-in,
// 2 a command line that makes no sense. Errors are one line on stderr each. Dies of the signal when
// interrupted.
int runCommand(int argc, const char* const* argv);

}  // namespace quellard
