// SPDX-License-Identifier: ISC
// Chooses the instruction set of the pipeline.
#pragma once

namespace quellard::fast {

struct PackedChannel;
using PipelineFunction = void (*)(PackedChannel& channel, const double* in, double* out, int n);

// baseline: what every processor of the platform has.
enum class Isa { baseline, avx2, avx512 };

// Whether this processor has the instruction set. Any thread; allocates nothing.
bool available(Isa isa);

// The instruction set in force: the widest available one, or the one that the environment variable
// QUELLARD_ISA (baseline, avx2 or avx512) or force() names; a name that is unknown or not available
// is ignored. The first call reads the variable: not for the audio thread. Later ones any thread.
Isa isaInForce();

// For tests: the instruction set of every later call. One that is not available changes nothing.
void force(Isa isa);

// The pipeline for the instruction set in force. Any thread; allocates nothing.
PipelineFunction pipeline();

}  // namespace quellard::fast
