// SPDX-License-Identifier: ISC
// Standard input, output and errors.
#pragma once

namespace quellard {

// Opens closed standard streams on /dev/null, so that no file or socket gets their numbers and
// receives messages. Using such a stream is still an error. To be called before all else.
void holdStandardStreams();

// Whether somebody sits at this descriptor.
bool isTerminal(int descriptor);

}  // namespace quellard
