// SPDX-License-Identifier: ISC
// The fast core, built for avx2.
#define QUELLARD_FAST_ISA avx2
#include "channels/fast/skewed_core.h"

namespace quellard::fast {
void runAvx2(PackedChannel& channel, const double* in, double* out, int n) {
  runSkewed(channel, in, out, n);
}
}  // namespace quellard::fast
