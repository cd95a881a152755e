// SPDX-License-Identifier: ISC
// Ends the command without half-written files. The signals that ask a process to end (SIGINT,
// SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGXCPU) only set a flag, which is checked between blocks and
// turned into an exception. Further signals do not interrupt the clean-up.
#pragma once

namespace quellard {

// Installs the handlers. Also turns the signals for a file-size limit and a closed pipe into
// ordinary write errors. Call once, before threads start.
void watchSignals();

// Throws Interrupted when a signal has arrived. [any thread]
void throwIfInterrupted();

// Ends the process by the signal that arrived, so that a calling shell sees the cause.
[[noreturn]] void dieOfSignal();

}  // namespace quellard
