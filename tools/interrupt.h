// SPDX-License-Identifier: ISC
// Ctrl-C without half-written files: the first SIGINT or SIGTERM only raises a flag, the work
// notices it between two blocks and unwinds. A second one kills at once, should that hang.
#pragma once

namespace quellard {

// Installs the handlers. Also makes a file-size limit and a closed pipe ordinary write errors
// instead of signals. Call once, before threads start.
void watchSignals();

// Throws Interrupted when a signal has arrived. Any thread.
void throwIfInterrupted();

// Ends the process by the signal that arrived, so that a calling shell sees what happened.
[[noreturn]] void dieOfSignal();

}  // namespace quellard
