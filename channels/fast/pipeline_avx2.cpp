// SPDX-License-Identifier: ISC
// Compiled with -mavx2 (channels/CMakeLists.txt); dispatch.cpp chooses it where the processor has
// that.
#define QUELLARD_FAST_ISA avx2
#include "channels/fast/pipeline.h"

namespace quellard::fast {
void runAvx2(PackedChannel& channel, const double* in, double* out, int n) {
  runPipeline(channel, in, out, n);
}
}  // namespace quellard::fast
