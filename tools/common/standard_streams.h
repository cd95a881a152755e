// SPDX-License-Identifier: ISC
// Standard input, output and errors.
#pragma once

namespace quellard {

// To be called before all else. Opens closed standard streams on /dev/null, so that no file or
// socket gets their numbers and receives messages; using such a stream is still an error. On
// Windows it also sets the console to UTF-8.
void holdStandardStreams();

// Whether it is a terminal.
bool isTerminal(int descriptor);

}  // namespace quellard
