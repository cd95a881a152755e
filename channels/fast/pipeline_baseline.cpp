// SPDX-License-Identifier: ISC
// Compiled for what every processor of the platform has: SSE2 on x86-64, NEON on 64-bit ARM.
#define QUELLARD_FAST_ISA baseline
#include "channels/fast/pipeline.h"

namespace quellard::fast {
void runBaseline(PackedChannel& channel, const double* in, double* out, int n) {
  runPipeline(channel, in, out, n);
}
}  // namespace quellard::fast
