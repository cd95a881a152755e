// SPDX-License-Identifier: ISC
// Ctrl-C without half-written files: the signals that ask a process to end (SIGINT, SIGTERM,
// SIGHUP, SIGQUIT, SIGALRM, SIGXCPU) only raise a flag, the work notices it between two blocks and
// unwinds. However often one presses, the clean-up runs to its end.
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
