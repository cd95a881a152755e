// SPDX-License-Identifier: ISC
// Chooses the instruction set of the fast core.
#pragma once

namespace quellard::fast {

struct PackedChannel;
using Core = void (*)(PackedChannel& channel, const double* in, double* out, int n);

enum class Isa { baseline, avx2, avx512 };

// Whether this processor can run the variant. Any thread; allocates nothing.
bool available(Isa isa);

// The variant in force: the best available one, or the one that the environment variable
// QUELLARD_ISA (baseline, avx2 or avx512) or force() names; a name that is unknown or not available
// is ignored. The first call reads the variable: not for the audio thread. Later ones any thread.
Isa isaInForce();

// For tests: the variant of every later call. One that is not available changes nothing.
void force(Isa isa);

// The core of the variant in force. Any thread; allocates nothing.
Core core();

}  // namespace quellard::fast
